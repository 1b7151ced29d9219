// Step 4: a document with all that it refers to.
//
//     Documents DOCUMENT [FILE...]
//
// For each further file it prints the reference by which the document names it.

#include <cstdio>

#include "Documents.h"
#include "Sheet.h"

int main(int argc, char** argv) {
    RegisterTexts();
    const Settings settings;
    Sheet sheet(DataPath("house.styles"));
    std::vector<Paragraph> paragraphs;
    if (argc < 2 || !ReadDocument(argv[1], paragraphs)) {
        return 1;
    }
    for (const Paragraph& paragraph : paragraphs) {
        printf("%s\n", Format(paragraph, sheet, settings).c_str());
    }
    for (int i = 2; i < argc; ++i) {
        vyn::SString reference;
        vyn::SUrnResolver::CreateRelativePath(argv[1], argv[i], reference);
        printf("@%s\n", reference.c_str());
    }
    return 0;
}
