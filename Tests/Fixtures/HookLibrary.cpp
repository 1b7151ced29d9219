// A library with the hooks of a resource library, which note their calls in the environment.

#include <cstdlib>

#include "Vyn.h"

extern "C" VYN_API void InitializeLibResources(HINSTANCE handle) {
    setenv("VYN_TEST_HOOK", handle ? "initialized" : "null", 1);
}

extern "C" VYN_API void UninitializeLibResources(HINSTANCE handle) {
    setenv("VYN_TEST_HOOK", handle ? "uninitialized" : "null", 1);
}
