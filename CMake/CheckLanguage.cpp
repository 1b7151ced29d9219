// Compares the language in the library that the first argument names with the English table, which is compiled in.
// Fails, with a line for each, when placeholders differ, and for a number that English hasn't or that stands twice.

#include <dlfcn.h>

#include <cstdio>
#include <set>

#include "VynToolMessages.h"

int main(int argc, char** argv) {
    void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    const auto* messages = library ? static_cast<const vyn::VynMessage*>(dlsym(library, "vynMessages")) : nullptr;
    if (!messages) {
        std::fprintf(stderr, "%s\n", argc > 1 ? dlerror() : "no library is named");
        return 1;
    }
    // English stands in for a text that the language hasn't, as it does in the tool.
    char module;
    const auto handle = reinterpret_cast<vyn::HINSTANCE>(&module);
    vyn::SStringTable table(handle);
    vyn::SVector<vyn::SString> findings;
    std::set<unsigned> english;
    std::set<unsigned> translated;
    for (const vyn::VynMessage* message = vynMessages; message->text; ++message) {
        table.Add(message->id, message->text);
        english.insert(message->id);
    }
    for (const vyn::VynMessage* message = messages; message->text; ++message) {
        table.Add(message->id, message->text);
        const bool isKnown = english.count(message->id) > 0;
        if (!translated.insert(message->id).second || !isKnown) {
            findings.push_back(std::to_string(message->id) + (isKnown ? " stands twice" : " isn't there in English"));
        }
    }
    vyn::VynCheckTranslation(vynMessages, handle, findings);
    for (const vyn::SString& finding : findings) {
        std::fprintf(stderr, "%s: error: message %s\n", argv[1], finding.c_str());
    }
    return findings.empty() ? 0 : 1;
}
