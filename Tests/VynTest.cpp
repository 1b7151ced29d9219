#include "Vyn.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vyn::test {

// The flag is remembered by the process, so each case runs in a child.
void AssertWith(const char* atFirst, const char* later) {
    for (const char* value : {atFirst, later}) {
        value ? setenv("QZD_ASSERT", value, 1) : unsetenv("QZD_ASSERT");
        vyn_assert("a < b", "x.cpp", 12);
    }
    exit(0);
}

TEST(SoftAssertion, ReportsWhenTheVariableIsThereAtTheFirstCall) {
    const testing::ExitedWithCode success(0);
    EXPECT_EXIT(AssertWith(nullptr, "1"), success, "^$");
    EXPECT_EXIT(AssertWith("", nullptr), success,
                "^Assertion failed: a < b, file x.cpp, line 12\nAssertion failed: a < b, file x.cpp, line 12\n$");
}

TEST(SmallHelpers, GiveTextsThatFit) {
    EXPECT_STREQ(vyn_strerror(ENOENT), strerror(ENOENT));
    EXPECT_STRNE(vyn_strerror(-1), "");
    char buffer[] = "????????";
    EXPECT_EQ(xq_sprintf_s(buffer, 5, "%d-%s", 12, "long"), 7);
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("12-l\0???\0", 9));
}

}  // namespace vyn::test
