#include "VynPattern.h"

#include "Platform.h"
#include "VynRes.h"

#include "TestSupport.h"

namespace vyn::test {

TEST(Pattern, MatchesTheWholeText) {
    const std::string stars = std::string(200, '*') + "b";
    using Pairs = Rows<const char*, const char*>;
    const Pairs matching = {
        {"", ""},         {"*.txt", "a.txt"},           {"*", ""},        {nullptr, nullptr},
        {"a{", "a{"},     {"a*b*c", "a.*b..c"},         {"\\*", "\\x"},   {stars.c_str(), "xb"},
        {"a{2}", "aa"},   {"?[](|)+^$.", "?[](|)+^$."}, {"a\\b", "a\\b"}, {"*\xC3\xA4{2}", "x\xC3\xA4\xC3\xA4"},
        {"*.txt", ".txt"}};
    const Pairs differing = {{"*.txt", "a.txt~"}, {"*.txt", "atxt"}, {"a", "ba"},    {"a", "a\n"},
                             {"a*c", "a\nc"},     {"", "a"},         {"a?c", "abc"}, {"[ab]", "a"},
                             {"a|b", "a"},        {"(a)", "a"},      {"a+", "aa"},   {"^a$", "a"},
                             {"\\d", "1"},        {"a{2}", "a{2}"},  {"*", "\xFF"},  {stars.c_str(), "x"}};
    for (const Pairs* pairs : {&matching, &differing}) {
        for (const auto& [pattern, text] : *pairs) {
            SString error("before");
            EXPECT_EQ(VynGlob::IsAMatch(pattern, text, error), pairs == &matching)
                << SString(pattern) << " and " << SString(text);
            EXPECT_EQ(error, "");
            EXPECT_TRUE(VynGlob::IsGlobValid(pattern, error));
        }
    }
}

TEST(Pattern, TellsWhenTheMatcherGaveUp) {
    std::string deep;
    for (int i = 0; i < 5000; ++i) {
        deep += "*a";
    }
    for (const std::string& pattern : {deep.substr(0, 40) + "b", deep}) {
        SString error;
        EXPECT_FALSE(VynGlob::IsAMatch(pattern.c_str(), std::string(6000, 'a').c_str(), error));
        EXPECT_NE(error, "");
        EXPECT_TRUE(VynGlob::IsGlobValid(pattern.c_str(), error));
    }
}

// The message about `pattern` from both operations, up to the text of the matcher, whose wording is not ours.
SString ErrorOf(const char* pattern) {
    SString error, other;
    EXPECT_FALSE(VynGlob::IsGlobValid(pattern, error)) << pattern;
    EXPECT_FALSE(VynGlob::IsAMatch(pattern, pattern, other)) << pattern;
    EXPECT_EQ(error, other);
    const size_t end = error.find('\n');
    EXPECT_LT(end, error.length() - 1) << "the matcher's text follows";
    return SString(error.substr(0, end));
}

TEST(Pattern, TellsWhatIsWrongInTheUsersLanguage) {
    VynDllHrscState current(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ErrorOf("a.{65536}"), "The filter 'a.{65536}' is invalid.");
    EXPECT_EQ(ErrorOf("a{3,2}%3"), "The filter 'a{3,2}%3' is invalid.");
    EXPECT_EQ(ErrorOf("\xC3("), "The filter '\xC3(' is invalid.");

    const HINSTANCE own = VynhDllInstance;
    const SString german = SString(VynGetInstallationRoot()) + "/locale/de/VYN10_R.DLL";
    VynhDllInstance = VynLoadLibrary(german.c_str());
    ASSERT_NE(VynhDllInstance, nullptr);
    EXPECT_EQ(ErrorOf("a{3,2}"), "Der Filter 'a{3,2}' ist ungültig.");
    VynUnregisterStringTable(VynhDllInstance);
    VynFreeLibrary(VynhDllInstance);
    VynhDllInstance = own;

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(VynGetResourceHandle(), nullptr) << "the former handle is current again";
}

}  // namespace vyn::test
