// Compares the language in the library that the first argument names with the English table, which is compiled in.
// Fails, with a line for each text that differs, when the placeholders do.

#include <dlfcn.h>

#include <cstdio>

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
    for (const vyn::VynMessage* tables : {vynMessages, messages}) {
        for (const vyn::VynMessage* message = tables; message->text; ++message) {
            table.Add(message->id, message->text);
        }
    }
    vyn::SVector<vyn::SString> findings;
    const int count = vyn::VynCheckTranslation(vynMessages, handle, findings);
    for (const vyn::SString& finding : findings) {
        std::fprintf(stderr, "%s: error: message %s\n", argv[1], finding.c_str());
    }
    return count ? 1 : 0;
}
