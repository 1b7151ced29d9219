#include "VynTclName.h"

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(LegalTclName, ReplacesWhatTclTreatsSpecially) {
    struct {
        SString name;
        SString legal;
    } rows[] = {
        {"", ""},
        {"plain_Name-1.2", "plain_Name-1.2"},
        {"a b/c", "a_b_c"},
        {"$x", "_x"},
        {"{}\\/[]\"'$;: ", "____________"},
        {"tail;", "tail_"},
        {"Gr\xC3\xB6\xC3\x9F"
         "e (m)",
         "Gr\xC3\xB6\xC3\x9F"
         "e_(m)"},
        {"tab\tnew\nline#%&", "tab\tnew\nline#%&"},
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

}  // namespace
}  // namespace vyn
