#include "VynIntegration.h"

#include <gtest/gtest.h>

namespace vyn::test {

TEST(ReqixUri, LosesAllItsParameters) {
    const struct {
        const char* uri;
        const char* expected;
    } rows[] = {{"reqix:abc?view=1", "reqix:abc"},
                {"reqix:a?b?c", "reqix:a"},
                {"reqix:abc", "reqix:abc"},
                {"reqix:?x", "reqix:"},
                {"other:abc?view=1", "other:abc?view=1"},
                {"REQIX:abc?x", "REQIX:abc?x"},
                {"", ""},
                {nullptr, ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(RemoveFromREQIXUriOptionalParameters(row.uri), row.expected);
    }
}

}  // namespace vyn::test
