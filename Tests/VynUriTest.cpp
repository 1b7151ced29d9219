#include "VynUri.h"

#include "TestSupport.h"

namespace vyn::test {
namespace {
TEST(UriText, HasASchemeOfLettersAndDigits) {
    const Rows<const char*, bool> rows = {{"a:", true},   {"c:\\x", true},  {"a1:x", true},   {"http://h", true},
                                          {"Z9z:", true}, {"a", false},     {"", false},      {":", false},
                                          {"1a:", false}, {"a-b:x", false}, {"a+b:x", false}, {"\xC3\xA9:", false},
                                          {"ab", false},  {"a/b:c", false}, {"a b:", false}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(VynIsAUri(text), expected) << text;
    }
}

TEST(UriText, TellsTheKindByItsExactPrefix) {
    const Rows<const char*, bool, bool, bool> rows = {
        {"urn:k4:x", true, false, false}, {"urn:", true, false, false},    {"URN:x", false, false, false},
        {"urn", false, false, false},     {"reqix:1", false, true, false}, {"Reqix:1", false, false, false},
        {"ql:", false, false, true},      {"qlx:", false, false, false},   {"", false, false, false},
        {nullptr, false, false, false}};
    for (const auto& [text, urn, reqix, ql] : rows) {
        EXPECT_EQ(std::tuple(VynIsAUrn(text), VynIsAReqixUri(text), VynIsAQLUri(text)), std::tuple(urn, reqix, ql))
            << (text ? text : "null");
    }
}

}  // namespace
}  // namespace vyn::test
