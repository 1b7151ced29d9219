// Loads the library that the first argument names and unloads it; isn't linked with it. Prints, one a line, what
// happens meanwhile: "build" and "destroy" with the place in the library of each static object that has a destructor,
// and "read" with each environment variable that is looked at. Tells on standard error when it loads and unloads.

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Object {
    void (*destroy)(void*);
    void* object;
    size_t place;
};

bool bRecording = false;
std::vector<std::string>* events;

void Destroy(void* argument) {
    const auto* object = static_cast<Object*>(argument);
    events->push_back("destroy " + std::to_string(object->place));
    object->destroy(object->object);
    delete object;
}

}  // namespace

// These two stand in for those of the system, in this program and thus in the library: the registration of a
// destructor comes right after the construction of its object.

extern "C" __attribute__((visibility("default"))) int __cxa_atexit(void (*destroy)(void*), void* object,
                                                                   void* module) noexcept {
    static const auto next = reinterpret_cast<decltype(&__cxa_atexit)>(dlsym(RTLD_NEXT, "__cxa_atexit"));
    Dl_info info;
    if (!bRecording || !dladdr(module, &info) || !strstr(info.dli_fname, "libvyn10")) {
        return next(destroy, object, module);
    }
    const auto place = static_cast<size_t>(static_cast<char*>(object) - static_cast<char*>(info.dli_fbase));
    events->push_back("build " + std::to_string(place));
    return next(Destroy, new Object{destroy, object, place}, module);
}

extern "C" __attribute__((visibility("default"))) char* secure_getenv(const char* name) noexcept {
    if (bRecording) {
        events->push_back(std::string("read ") + name);
    }
    return getenv(name);
}

// The list of schemes is never released, so that an unloaded library leaves it behind.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "detect_leaks=0";
}

int main(int argc, char** argv) {
    auto* recorded = new std::vector<std::string>;  // outlives a library that stays
    events = recorded;
    bRecording = true;
    void* library = argc > 1 ? dlopen(argv[1], RTLD_NOW) : nullptr;
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    fputs("loaded\n", stderr);
    dlclose(library);
    bRecording = false;
    void* kept = dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD);
    fputs(kept ? "kept\n" : "unloaded\n", stderr);
    if (kept) {
        dlclose(kept);  // nothing but the library itself is to hold it now
    }
    for (const std::string& event : *recorded) {
        puts(event.c_str());
    }
    return 0;
}
