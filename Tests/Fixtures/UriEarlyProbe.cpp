// Uses the URN map and the schemes before the library starts, in main, and after the library has ended. The
// hooks of a resource library are in that situation.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "VynUri.h"
#include "filename_expand.h"

namespace {

using namespace vyn;

void Show(const char* when) {
    SString map;
    SUrnResolver::EncodeUrnMap(map);
    SVector<SString> errors;
    const std::unique_ptr<std::istream> file(SUri.OpenRead(errors, "/dev/null"));
    printf("%s: k4 is %s, early is %s, %s, capabilities %d, file %s\n", when,
           SUrnResolver::IsUrnRegistered("k4") ? "known" : "unknown",
           SUrnResolver::IsUrnRegistered("early") ? "known" : "unknown", filename_expand("urn:early:x"),
           SUri.GetCapabilities(), file ? "opened" : "not opened");
    fflush(stdout);
}

void ShowAtTheEnd(int, void*) {
    Show("end");
}

// Runs before the initializers of all libraries. What it leaves to do at exit belongs to no module and thus
// comes after the destructors of the library.
void StartBeforeLibraries() {
    free(malloc(1));  // a sanitizer starts with the first allocation
    on_exit(ShowAtTheEnd, nullptr);
    SUrnResolver::RegisterUrn("early", "/");
    Show("before");
}

__attribute__((section(".preinit_array"), used)) void (*const preinit)() = StartBeforeLibraries;

}  // namespace

int main() {
    Show("main");
    return 0;
}
