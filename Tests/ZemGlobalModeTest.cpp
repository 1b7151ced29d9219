#include "ZemGlobalMode.h"

#include <gtest/gtest.h>

#include <climits>

namespace vyn::gmode {

// Read before any test runs.
const EZemGlobalMode modeAtStart = GetZemGlobalMode();

TEST(GlobalMode, KeepsAnyNumberOfTheTool) {
    EXPECT_EQ(modeAtStart, 0);
    for (int mode : {7, -1, INT_MAX, INT_MIN, 0}) {
        SetZemGlobalMode(static_cast<EZemGlobalMode>(mode));
        EXPECT_EQ(GetZemGlobalMode(), mode);
    }
}

}  // namespace vyn::gmode
