#include "VynTclName.h"

#include <gtest/gtest.h>

namespace vyn::test {

TEST(LegalTclName, ReplacesWhatTclTreatsSpecially) {
    struct {
        SString name, legal;
    } rows[] = {
        {"{}\\/[]\"'$;: ", "____________"},
        {"\xC3\xB6-(m)\t\n#%&", "\xC3\xB6-(m)\t\n#%&"},
        {std::string("a\0 b", 4), std::string("a\0_b", 4)},
    };
    for (const auto& row : rows) {
        SString legal = "old text";
        VynGetLegalTclName(row.name, legal);
        EXPECT_EQ(legal, row.legal) << row.name;
        SString same = row.name;
        VynGetLegalTclName(same, same);
        EXPECT_EQ(same, row.legal) << row.name << " in place";
    }
}

}  // namespace vyn::test
