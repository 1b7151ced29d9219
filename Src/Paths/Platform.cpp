#include "Platform.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "Messages/SourceReport_p.h"
#include "StudioProduct.h"
#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"

namespace vyn {

int nVynArgc = 0;
const char** ppszVynArgv = nullptr;
VYN_INIT(VYN_INIT_ARGV0) SPathName pathVynAbsoluteArgv0;

namespace {

// Sets `path` to the value of a variable; false when it is unset.
bool GetDirectoryFromEnvironment(const char* variable, SPathName& path) {
    const char* value = detail::Environment(variable);
    if (!value) {
        return false;
    }
    path = value;
    return true;
}

// The same where directories are made below: without a usable value these would come into being at the root or in
// the working directory.
bool GetBaseFromEnvironment(const char* variable, SPathName& path) {
    SPathName base;
    if (!GetDirectoryFromEnvironment(variable, base) || base.IsEmpty()) {
        return false;
    }
    path = base;
    return true;
}

// Where the data directories of the tools start; on this platform the user's own directory.
bool GetApplicationDataDirectory(SPathName& path) {
    return VynGetUserPersonalDirectory(path);
}

// `kept` is set from the first time on that `base` with `element` isn't empty.
const char* KeepDirectory(SString& kept, const char* base, const char* element) {
    if (kept.IsEmpty()) {
        SPathName path(base);
        path.AddPathElement(element);
        kept = path;
    }
    return kept.c_str();
}

// Assigns the variable's value, else `sharedElement` below the shared data. Without either `path` stays.
void AssignAddinsDir(SPathName& path, const char* variable, const char* sharedElement) {
    if (GetDirectoryFromEnvironment(variable, path)) {
        return;
    }
    SPathName shared;
    if (VynGetSharedDataDirectory(shared)) {
        shared.AddPathElement(sharedElement);
        path = shared;
    }
}

// Calls a hook `void (HINSTANCE)` of a library that may have none of that name.
void CallResourceHook(HINSTANCE handle, const char* name) {
    auto hook = reinterpret_cast<void (*)(HINSTANCE)>(VynGetProcAddress(handle, name));
    if (hook) {
        hook(handle);
    }
}

}  // namespace

void VynSaveMainArguments(int argc, const char** argv) {
    if (argc <= 0 || !argv || !argv[0]) {
        detail::SourceReport() << "Internal error." << endl << flush;
        return;
    }
    nVynArgc = argc;
    ppszVynArgv = argv;
    pathVynAbsoluteArgv0 = argv[0];
}

void VynGetMainArguments(int& argc, const char**& argv) {
    argc = nVynArgc;
    argv = ppszVynArgv;
}

const char* TMPVynGetAbsoluteArgv0() {
    return pathVynAbsoluteArgv0.c_str();
}

SPathName VynGetTemporaryFilePath(const SString& prefix, const SString& suffix) {
    char* name = tempnam(nullptr, prefix.c_str());
    if (!name) {
        return SPathName();
    }
    const SString base(name);
    free(name);

    const long now = static_cast<long>(time(nullptr));
    for (int attempt = 0; attempt < 500; ++attempt) {
        SString candidate;
        candidate.Format("%s%ld%d%s", base.c_str(), now, rand(), suffix.c_str());
        FILE* existing = fopen(candidate.c_str(), "re");
        if (!existing) {
            return SPathName(candidate);
        }
        fclose(existing);
    }
    return SPathName();
}

void VynGetDynamicLinkLibraryName(SString& name) {
    name.MakeLower();
    name = "lib" + name + ".so";
}

HINSTANCE VynLoadDynamicLinkLibrary(const char* path) {
    return static_cast<HINSTANCE>(dlopen(path, RTLD_NOW | RTLD_GLOBAL));
}

void* VynGetProcAddress(HINSTANCE handle, const char* symbol) {
    return dlsym(handle, symbol);
}

unsigned long VynGetLastError() {
    return static_cast<unsigned long>(errno);
}

HINSTANCE VynLoadLibrary(const char* path) {
    HINSTANCE handle = VynLoadDynamicLinkLibrary(path);
    if (handle) {
        CallResourceHook(handle, "InitializeLibResources");
    }
    return handle;
}

void VynFreeLibrary(HINSTANCE handle) {
    if (!handle) {
        return;
    }
    CallResourceHook(handle, "UninitializeLibResources");
    dlclose(handle);
}

const char* VynGetModuleFileName() {
    const char* name = detail::Environment("DRAVMOOR_INSTALLATION");
    return name ? name : "";
}

// The texts behind the results from here on are never destroyed: globals of a tool may hold them to their very end.

const char* VynGetInstallationBin() {
    static auto& bin = *new SString;
    if (!bin.IsEmpty()) {
        return bin.c_str();
    }
    // The static lies in this library, so that its address tells the library's own file.
    static const char place = 0;
    Dl_info info;
    if (!dladdr(&place, &info) || !info.dli_fname) {
        return bin.c_str();
    }
    bin = SPathName(info.dli_fname).GetDirectory();
    if (bin == ".") {
        char directory[1024];
        if (getcwd(directory, sizeof directory)) {
            bin = directory;
        }
    }
    return bin.c_str();
}

const char* VynGetInstallationDirectory() {
    return VynGetInstallationBin();
}

const char* VynGetInstallationRoot() {
    static auto& root = *new SString;
    return KeepDirectory(root, VynGetInstallationBin(), "..");
}

const char* VynGetInstallationEtc() {
    static auto& etc = *new SString;
    return KeepDirectory(etc, VynGetInstallationRoot(), "etc");
}

const char* VynGetInstallationLib() {
    static auto& lib = *new SString;
    return KeepDirectory(lib, VynGetInstallationRoot(), "lib");
}

const char* VynGetInstallationInclude() {
    static auto& include = *new SString;
    return KeepDirectory(include, VynGetInstallationRoot(), "include");
}

bool VynGetUserPersonalDirectory(SPathName& path) {
    return GetBaseFromEnvironment("HOME", path);
}

const char* VynGetUserDir() {
    static auto& userDir = *new SPathName;
    if (GetApplicationDataDirectory(userDir)) {
        // Normal path form makes this one element per word: Zem/4.3.
        const SPathName toolPath(StudioProduct::GetRegistryToolName() + "\\" +
                                 StudioProduct::GetRegistryToolVersion('.'));
        userDir.AddPathElement(StudioProduct::GetCompanyNamePath());
        userDir.AddPathElement(toolPath);
        userDir.CreateDirectoryA();
    }
    return userDir.c_str();
}

const char* VynGetUserAddinsDir() {
    static auto& addinsDir = *new SPathName;
    if (!GetDirectoryFromEnvironment("ZEM_USER_ADDINS_DIR", addinsDir)) {
        addinsDir = VynGetUserDir();
    }
    addinsDir.AddPathElement("addins");
    return addinsDir.c_str();
}

const char* VynGetTeamAddinsDir() {
    static auto& addinsDir = *new SPathName;
    AssignAddinsDir(addinsDir, "ZEM_TEAM_ADDINS_DIR", "TeamAddins");
    return addinsDir.c_str();
}

const char* VynGetCompanyAddinsDir() {
    static auto& addinsDir = *new SPathName;
    AssignAddinsDir(addinsDir, "ZEM_COMPANY_ADDINS_DIR", "CompanyAddins");
    return addinsDir.c_str();
}

bool VynGetSharedDataDirectory(SPathName& path) {
    if (!GetApplicationDataDirectory(path)) {
        return false;
    }
    path.AddPathElement(StudioProduct::GetCompanyNamePath());
    path.AddPathElement("Shared");
    path.CreateDirectoryA();
    return true;
}

bool VynGetAllUsersSharedDataDirectory(SPathName& path) {
    if (!GetBaseFromEnvironment("ZROOT", path)) {
        return false;
    }
    path.AddPathElement("tools/Shared");
    path.CreateDirectoryA();
    return true;
}

}  // namespace vyn
