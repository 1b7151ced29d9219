// The order in which the static objects of the whole library are built and destroyed, seen from outside.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <sstream>
#include <vector>

#include "Platform.h"
#include "RunProbe.h"

namespace vyn::test {

// What is built, or read from the environment meanwhile, in the order of Src/Text/InitOrder_p.h. An object without
// a destructor leaves no trace but what it reads.
const char* const order[] = {"mapWrapperJavaObjects",
                             "mapCppWrapperObjectCreators",
                             "manageDll",
                             "_dhs",
                             "_hrd",
                             "read VYN_ERR_OUT",
                             "globalErr",
                             "globalOut",
                             "m_mapOptionFiles",
                             "pathVynAbsoluteArgv0",
                             "m_listStyleKind",
                             "m_listMarkers",
                             "read QZD_TRACE",
                             "read ZEM_URN_MAP_FILE",
                             "g_URNMapHandler",
                             "base64_chars",
                             "resourceManagerDestroyer"};

bool Names(const std::string& symbol, const std::string& object) {
    return symbol.find(std::to_string(object.size()) + object) != std::string::npos;
}

// The symbols of a library by their place. Those of objects inside a function and of the standard library,
// which are in no order, are empty, as are the storages of the streams, whose destructors do nothing.
std::map<size_t, std::string> Symbols(const std::string& library) {
    std::map<size_t, std::string> symbols;
    int status;
    std::istringstream listing(RunCommand(VYN_NM " --defined-only " + library, status));
    size_t place = 0;
    char kind = 0;
    std::string name;
    while (listing >> std::hex >> place >> kind >> name) {
        const bool ordered = name.compare(0, 3, "_ZZ") != 0 && name.compare(0, 4, "_ZSt") != 0 &&
                             !Names(name, "storageErr") && !Names(name, "storageOut");
        symbols[place] = ordered ? name : "";
    }
    return symbols;
}

void ExpectOrder(const std::string& library) {
    const std::map<size_t, std::string> symbols = Symbols(library);
    const bool hasJavaBridge = std::any_of(symbols.begin(), symbols.end(), [](const auto& symbol) {
        return Names(symbol.second, "mapWrapperJavaObjects");
    });
    std::vector<std::string> expected(std::begin(order), std::end(order));
    if (!hasJavaBridge) {
        expected.erase(expected.begin(), expected.begin() + 2);
    }

    TemporaryDirectory directory;
    const ProbeResult result = RunProbe(directory, "HOME=@", "LoadProbe " + library);
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "loaded\nunloaded\n");
    std::vector<std::string> built;
    std::vector<std::string> destroyed;
    std::istringstream events(result.out);
    for (std::string event, detail; events >> event >> detail;) {
        if (event == "read") {
            const std::string step = "read " + detail;
            if (std::find(std::begin(order), std::end(order), step) != std::end(order)) {
                built.push_back(step);
            }
            continue;
        }
        const auto symbol = symbols.find(std::stoul(detail));
        ASSERT_NE(symbol, symbols.end()) << event << " " << detail;
        if (symbol->second.empty()) {
            continue;
        }
        const auto step = std::find_if(std::begin(order), std::end(order),
                                       [&](const char* object) { return Names(symbol->second, object); });
        const std::string name = step == std::end(order) ? symbol->second : *step;
        (event == "build" ? built : destroyed).push_back(name);
    }
    EXPECT_EQ(built, expected);
    const auto isRead = [](const std::string& step) { return step.compare(0, 5, "read ") == 0; };
    expected.erase(std::remove_if(expected.begin(), expected.end(), isRead), expected.end());
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(destroyed, expected);
}

TEST(StartOrder, IsKeptAndReversedAtUnload) {
    ExpectOrder(SString(VynGetInstallationBin()) + "/libvyn10.so");
}

#ifdef VYN_LTO_LIBRARY
TEST(StartOrder, IsKeptByLinkTimeOptimisation) {
    ExpectOrder(VYN_LTO_LIBRARY);
}
#endif

}  // namespace vyn::test
