// Prints the URN map as it is after the library has loaded and after each of the arguments: "-" calls
// RegisterURNsWithoutOptions, any other one RegisterURNsFromOptionString.

#include <cstdio>
#include <cstring>

#include "VynUri.h"

namespace {

void Show() {
    vyn::SString map;
    vyn::SUrnResolver::EncodeUrnMap(map);
    const char* variable = vyn::VynGetEnvironmentVariable(vyn::SString("ZEM_URN_MAP_FILE"));
    printf("%s\nZEM_URN_MAP_FILE=%s\n", map.c_str(), variable ? variable : "(unset)");
}

}  // namespace

int main(int argc, char** argv) {
    Show();
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-") == 0) {
            vyn::SUrnResolver::RegisterURNsWithoutOptions();
        } else {
            vyn::SUrnResolver::RegisterURNsFromOptionString(argv[i]);
        }
        Show();
    }
    return 0;
}
