// Prints one line per argument: what the library answers to the question of that name.

#include <cstdio>
#include <cstring>

#include "Platform.h"
#include "VynRes.h"

using namespace vyn;

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

const struct {
    const char* name;
    SString (*answer)();
} questions[] = {
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
    {"personal", Directory<VynGetUserPersonalDirectory>},
    {"shared", Directory<VynGetSharedDataDirectory>},
    {"allusers", Directory<VynGetAllUsersSharedDataDirectory>},
    {"projects", Directory<VynGetDefaultUserProjectPath>},
    {"string9", String9},
    {"own", [] { return SString(VynGetResourceHandle() == VynhDllInstance ? "own" : "other"); }},
};

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        for (const auto& question : questions) {
            if (strcmp(question.name, argv[i]) == 0) {
                puts(question.answer().c_str());
            }
        }
    }
    return 0;
}
