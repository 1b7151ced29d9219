// The program that tests start to see the library from outside: Probe [COMMAND [ARGUMENT...]]. The commands stand in
// the table at the end.

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "Platform.h"
#include "VynEncoding.h"
#include "VynPattern.h"
#include "VynRes.h"
#include "VynUri.h"
#include "filename_expand.h"

using namespace vyn;

// Takes the place of the system's function for the library too: with VYN_TEST_RAISED this process counts as one that
// runs with more rights than whoever started it.
extern "C" VYN_API char* secure_getenv(const char* name) noexcept {
    return getenv("VYN_TEST_RAISED") ? nullptr : getenv(name);
}

// With VYN_TEST_NO_LIBRARIES no library can be opened.
extern "C" VYN_API void* dlopen(const char* path, int mode) noexcept {
    static const auto next = reinterpret_cast<decltype(&dlopen)>(dlsym(RTLD_NEXT, "dlopen"));
    return getenv("VYN_TEST_NO_LIBRARIES") ? nullptr : next(path, mode);
}

namespace {

template <bool (*GetDirectory)(SPathName&)>
SString Directory() {
    SPathName path("unset");
    return GetDirectory(path) ? path : SPathName("false " + path);
}

template <const char* (*Function)()>
SString Text() {
    return Function();
}

SString String9() {
    SString text;
    return VynLoadString(VynhDllInstance, 9, text) ? text : SString("none");
}

SString Filter() {
    SString error;
    return VynGlob::IsAMatch("a*", "abc", error) ? SString("matches") : error;
}

SString Wide() {
    errno = 0;
    const UTF8String text(WString("\u00e4"));
    return errno == ELIBACC && text.empty() ? SString("no library") : SString(text);
}

const std::map<std::string, SString (*)()> questions = {
    {"bin", Text<VynGetInstallationBin>},
    {"directory", Text<VynGetInstallationDirectory>},
    {"root", Text<VynGetInstallationRoot>},
    {"etc", Text<VynGetInstallationEtc>},
    {"lib", Text<VynGetInstallationLib>},
    {"include", Text<VynGetInstallationInclude>},
    {"module", Text<VynGetModuleFileName>},
    {"locale", Text<VynGetLocale>},
    {"localedir", Text<VynGetLocaleDir>},
    {"englishdir", Text<VynGetDefaultLocaleDir>},
    {"user", Text<VynGetUserDir>},
    {"useraddins", Text<VynGetUserAddinsDir>},
    {"teamaddins", Text<VynGetTeamAddinsDir>},
    {"companyaddins", Text<VynGetCompanyAddinsDir>},
    {"shared", Directory<VynGetSharedDataDirectory>},
    {"allusers", Directory<VynGetAllUsersSharedDataDirectory>},
    {"projects", Directory<VynGetDefaultUserProjectPath>},
    {"string9", String9},
    {"filter", Filter},
    {"wide", Wide},
    {"own", [] { return SString(VynGetResourceHandle() == VynhDllInstance ? "own" : "other"); }},
};

// Prints one line per argument: what the library answers to the question of that name.
void Ask(char** arguments) {
    for (; *arguments; ++arguments) {
        puts(questions.at(*arguments)().c_str());
    }
}

// Prints the open descriptors of this process with their access, as "0:r 1:w 2:w", on one line.
void ShowDescriptors() {
    std::set<int> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        open.insert(std::stoi(entry.path().filename()));
    }
    const char* separator = "";
    for (const int fd : open) {
        const int flags = fcntl(fd, F_GETFL);
        if (flags >= 0) {  // not that of the directory, which is closed
            const int access = flags & O_ACCMODE;
            printf("%s%d:%c", separator, fd, access == O_RDONLY ? 'r' : access == O_WRONLY ? 'w' : 'b');
            separator = " ";
        }
    }
}

// A global object of a tool, which prints texts that it was given by the library as it goes.
struct Witness {
    ~Witness() {
        for (const char* text : texts) {
            puts(text ? text : "none");
        }
    }
    std::vector<const char*> texts;
} witness;

void ShowTextsAtTheEnd(char**) {
    witness.texts = {VynGetInstallationRoot(),         VynGetInstallationEtc(),  VynGetInstallationLib(),
                     VynGetInstallationInclude(),      VynGetDefaultLocaleDir(), VynGetUserAddinsDir(),
                     VynGetEnvironmentVariable("HOME")};
}

void ShowUrnMap() {
    SString map;
    SUrnResolver::EncodeUrnMap(map);
    const char* variable = getenv("ZEM_URN_MAP_FILE");
    printf("%s\nZEM_URN_MAP_FILE=%s\n", map.c_str(), variable ? variable : "(unset)");
}

// Prints the URN map as it is after the library has loaded and after each of the arguments: "-" calls
// RegisterURNsWithoutOptions, any other one RegisterURNsFromOptionString.
void ChangeUrnMap(char** arguments) {
    ShowUrnMap();
    for (; *arguments; ++arguments) {
        strcmp(*arguments, "-") == 0 ? SUrnResolver::RegisterURNsWithoutOptions()
                                     : SUrnResolver::RegisterURNsFromOptionString(*arguments);
        ShowUrnMap();
    }
}

char before;  // its address is the resource handle that is current before the library starts
const HINSTANCE handleBefore = reinterpret_cast<HINSTANCE>(&before);

// Uses the URN map and the schemes, and tells whose resource handle is current: before the library starts, in main, and
// after the library has ended. The hooks of a resource library are in that situation.
void ShowState(const char* when) {
    SString map;
    SUrnResolver::EncodeUrnMap(map);
    SVector<SString> errors;
    const std::unique_ptr<std::istream> file(SUri.OpenRead(errors, "/dev/null"));
    const HINSTANCE handle = VynGetResourceHandle();
    printf("%s: k4 is %s, early is %s, %s, capabilities %d, file %s, handle %s\n", when,
           SUrnResolver::IsUrnRegistered("k4") ? "known" : "unknown",
           SUrnResolver::IsUrnRegistered("early") ? "known" : "unknown", filename_expand("urn:early:x"),
           SUri.GetCapabilities(), file ? "opened" : "not opened",
           handle == handleBefore      ? "before"
           : handle == VynhDllInstance ? "own"
                                       : "other");
    fflush(stdout);
}

// Runs before the initializers of all libraries. What it leaves to do at exit belongs to no module and thus comes
// after the destructors of the library.
void StartBeforeLibraries(int argc, char** argv, char**) {
    if (argc < 2 || strcmp(argv[1], "states") != 0) {
        return;
    }
    free(malloc(1));  // a sanitizer starts with the first allocation
    VynSetResourceHandle(handleBefore);
    on_exit([](int, void*) { ShowState("end"); }, nullptr);
    SUrnResolver::RegisterUrn("early", "/");
    ShowState("before");
}

__attribute__((section(".preinit_array"), used)) void (*const preinit)(int, char**, char**) = StartBeforeLibraries;

const std::map<std::string, void (*)(char** arguments)> commands = {
    {"ask", Ask},
    {"states", [](char**) { ShowState("main"); }},
    {"texts", ShowTextsAtTheEnd},
    {"urnmap", ChangeUrnMap},
};

}  // namespace

int main(int argc, char** argv) {
    argc == 1 ? ShowDescriptors() : commands.at(argv[1])(argv + 2);
}
