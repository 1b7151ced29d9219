// Shows the current resource handle before the library starts, in main, and after the library has ended.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "VynRes.h"

namespace {

char before;  // its address is the handle that is current before the library starts

vyn::HINSTANCE Before() {
    return reinterpret_cast<vyn::HINSTANCE>(&before);
}

void ShowAtTheEnd(int, void*) {
    puts(vyn::VynGetResourceHandle() == Before() ? "end: restored" : "end: lost");
    fflush(stdout);
}

// Runs before the initializers of all libraries. What it leaves to do at exit belongs to no module and thus
// comes after the destructors of the library.
void StartBeforeLibraries() {
    vyn::VynSetResourceHandle(Before());
    on_exit(ShowAtTheEnd, nullptr);
}

__attribute__((section(".preinit_array"), used)) void (*const preinit)() = StartBeforeLibraries;

}  // namespace

int main() {
    puts(vyn::VynGetResourceHandle() == vyn::VynhDllInstance ? "main: own" : "main: other");
    return 0;
}
