// Step 1: wraps text to the width that the options say.
//
//     Options [PAGE/NAME=VALUE...] FILE...

#include <cstdio>
#include <cstring>
#include <fstream>

#include "Settings.h"
#include "Wrap.h"

namespace {

void Print(std::istream& document, const Settings& settings) {
    const std::string margin(static_cast<size_t>(settings.Margin()), ' ');
    for (const Paragraph& paragraph : ReadParagraphs(document)) {
        for (const std::string& line : Wrap(paragraph.text, settings.Width())) {
            printf("%s%s\n", margin.c_str(), line.c_str());
        }
        printf("\n");
    }
    printf("%s%s\n", margin.c_str(), settings.Footer().c_str());
}

}  // namespace

int main(int argc, char** argv) {
    Settings settings;
    for (int i = 1; i < argc; ++i) {
        if (!strchr(argv[i], '=')) {
            std::ifstream document(argv[i]);
            Print(document, settings);
            continue;
        }
        const vyn::ChangeAnswer answer = settings.Assign(argv[i]);
        if (answer.obstacle == vyn::eFixedBelow) {
            printf("%s: fixed in %s, line %d\n", argv[i], answer.file.c_str(), answer.line);
        }
    }
    return settings.Save();
}
