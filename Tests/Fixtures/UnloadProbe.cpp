// Loads the library that the first argument names, unloads it, and tells on standard error when.

#include <dlfcn.h>

#include <iostream>

// The list of schemes is never released, so that an unloaded library leaves it behind.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}

int main(int argc, char** argv) {
    void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (!library) {
        return 1;
    }
    std::cerr << "loaded\n";
    dlclose(library);
    void* kept = dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD);
    std::cerr << (kept ? "kept\n" : "unloaded\n");
    if (kept) {
        dlclose(kept);  // nothing but the library itself is to hold it now
    }
    return 0;
}
