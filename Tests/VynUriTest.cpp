#include "VynUri.h"

#include <gtest/gtest.h>

namespace vyn {
namespace {

TEST(UriText, HasASchemeOfLettersAndDigits) {
    const struct {
        const char* text;
        bool expected;
    } rows[] = {{"a:", true},     {"c:\\x", true},      {"a1:x", true}, {"http://h", true}, {"Z9z:", true},
                {"a", false},     {"", false},          {":", false},   {"1a:", false},     {"a-b:x", false},
                {"a+b:x", false}, {"\xC3\xA9:", false}, {"ab", false},  {"a/b:c", false},   {"a b:", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(VynIsAUri(row.text), row.expected) << row.text;
    }
}

TEST(UriText, TellsTheKindByItsExactPrefix) {
    const struct {
        const char* text;
        bool urn, reqix, ql;
    } rows[] = {{"urn:k4:x", true, false, false}, {"urn:", true, false, false},
                {"URN:x", false, false, false},   {"urn", false, false, false},
                {"reqix:1", false, true, false},  {"Reqix:1", false, false, false},
                {"ql:", false, false, true},      {"qlx:", false, false, false},
                {"", false, false, false},        {nullptr, false, false, false}};
    for (const auto& row : rows) {
        const char* name = row.text ? row.text : "null";
        EXPECT_EQ(VynIsAUrn(row.text), row.urn) << name;
        EXPECT_EQ(VynIsAReqixUri(row.text), row.reqix) << name;
        EXPECT_EQ(VynIsAQLUri(row.text), row.ql) << name;
    }
}

}  // namespace
}  // namespace vyn
