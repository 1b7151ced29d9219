// Step 3: tells what it did, and what it couldn't do, in the language of the user.
//
//     Messages FILE...

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "Sheet.h"
#include "Texts.h"

int main(int argc, char** argv) {
    const Settings settings;
    Sheet sheet(DataPath("house.styles"));
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        std::ifstream document(argv[i]);
        if (!document) {
            Tell(eCantRead, argv[i]);
            status = 1;
            continue;
        }
        const std::vector<Paragraph> paragraphs = ReadParagraphs(document);
        std::string text;
        for (const Paragraph& paragraph : paragraphs) {
            text += Format(paragraph, sheet, settings);
        }
        fputs(text.c_str(), stdout);
        Tell(eSummary, argv[i], paragraphs.size(), std::count(text.begin(), text.end(), '\n'));
    }
    return status;
}
