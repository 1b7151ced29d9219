// Step 2: each paragraph in the style that its first line names.
//
//     Styles FILE...

#include <cstdio>
#include <fstream>

#include "Sheet.h"

int main(int argc, char** argv) {
    const Settings settings;
    Sheet sheet(DataPath("house.styles"));
    for (int i = 1; i < argc; ++i) {
        std::ifstream document(argv[i]);
        for (const Paragraph& paragraph : ReadParagraphs(document)) {
            printf("%s\n", Format(paragraph, sheet, settings).c_str());
        }
    }
    return 0;
}
