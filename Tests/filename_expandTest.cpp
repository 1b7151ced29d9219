#include "filename_expand.h"

#include <pwd.h>

#include "TestSupport.h"
#include "VynUri.h"

using namespace vyn::test;

// The result with errno behind it, where one was left.
std::string Expand(const std::string& text) {
    errno = 0;
    const std::string result = filename_expand(text.c_str());
    return result + (errno == ERANGE ? " ERANGE" : "");
}

TEST(FilenameExpand, ReplacesUrnsReferencesAndALeadingTilde) {
    const passwd* user = getpwuid(geteuid());
    const std::string home = user->pw_dir, most(1023, 'x'), fitting = most.substr(home.size() + 1);
    setenv("VYN_X", "12", 1);
    setenv("VYN_NESTED", "$(VYN_X)$", 1);
    setenv("VYN_HOME", "~", 1);
    unsetenv("VYN_Y");
    Reports reports;  // of targets that aren't there, and of an unknown name
    vyn::SUrnResolver::RegisterUrn("expand", "/m");
    vyn::SUrnResolver::RegisterUrn("long", "/" + most.substr(23));
    const std::pair<std::string, std::string> rows[] = {
        {"a$(VYN_X)$(VYN_X)", "a1212"},
        {"$(VYN_X", "12"},
        {"$(VYN_Y", "$(VYN_Y)"},
        {"$(VYN_NESTED)(VYN_X)", "$(VYN_X)$(VYN_X)"},
        {"$(VYN_HOME)/a", home + "/a"},
        {"~/x/~", home + "/x/~"},
        {std::string("~") + user->pw_name + "/x", home + "/x"},
        {most + "y", most},
        {most.substr(2) + "$(VYN_X)", most.substr(2) + "12"},
        {most.substr(1) + "$(VYN_X)$", most.substr(1) + "$ ERANGE"},
        {most.substr(1) + "$a", most.substr(1) + "$"},
        {most.substr(4) + "$(VYN_Y)", most.substr(4) + "$() ERANGE"},
        {"urn:expand:$(VYN_X)/~", "/m/$(VYN_X)/~"},
        {"http://$(VYN_X)", "http://$(VYN_X)"},
        {"urn:long:y" + most.substr(1002), "http://$(VYN_X) ERANGE"},  // the text before stays
        {"urn:long:" + most.substr(1002), "/" + most.substr(23) + "/" + most.substr(1002)},
        {"urn:nosuch:$(VYN_X)", "urn:nosuch:12"},
        {"~/" + fitting, home + "/" + fitting},
        {"~/x" + fitting, "~/x" + fitting + " ERANGE"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Expand(text), expected) << text.substr(0, 20);
    }
    for (const auto& same : {std::string("${VYN_X}"),
                             {"$()"},
                             {"a$"},
                             {"$$(VYN_X)"},
                             {"~nosuchuser/x"},
                             {"a/~"},
                             "~" + std::string(300, 'n') + "/x"}) {
        EXPECT_EQ(Expand(same), same);
    }
    EXPECT_STREQ(filename_expand(filename_expand("$(VYN_NESTED)/tail")), "12$/tail") << "its own result";
}

TEST(FullPathName, PutsTheCurrentDirectoryInFront) {
    const auto start = std::filesystem::current_path();
    EXPECT_EQ(TakeOver(full_path_name("/a/../b")), "/a/../b");
    EXPECT_EQ(TakeOver(full_path_name("../x")), start.string() + "/../x");
    {
        const TemporaryDirectory gone;
        std::filesystem::current_path(gone.Path());
    }
    EXPECT_EQ(ErrorOutputOf([] { EXPECT_EQ(TakeOver(full_path_name("x")), "./x"); }).find("getcwd: "), 0u);
    std::filesystem::current_path(start);
}

TEST(RelativePath, LeadsFromTheDirectoryOfTheBase) {
    const Rows<const char*, const char*, const char*> rows = {{"/p/r", "/p/q/f", "../r"},
                                                              {"/p/q/", "/p/q/f", ""},
                                                              {"/p/q", "/p/q/f", "../q"},
                                                              {"/p/ab", "/p/ac/f", "../ab"},
                                                              {"/p\\a", "\\p\\b\\f", "../a"},
                                                              {"a", "/p/f", "a"},
                                                              {"//s1/a/b", "//s2/a/f", "//s1/a/b"},
                                                              {"//s1/a/b", "//s1/a/f", "b"},
                                                              {"//s1\\a", "/p/f", "//s1/a"},
                                                              {"c:/a", "/p/f", "c:/a"},
                                                              {"a\\b", "f", "a\\b"}};
    for (const auto& [path, base, expected] : rows) {
        EXPECT_EQ(TakeOver(get_rel_path(path, base)), expected) << path << " from " << base;
    }
    EXPECT_EQ(get_rel_path(nullptr, "/a"), nullptr);
}

TEST(RelativePath, LeavesOutPiecesBeyond1024Bytes) {
    std::string deep = "/", up;
    for (int i = 0; i < 342; ++i) {
        deep += "d/";
        up += i < 341 ? "../" : "";
    }
    const std::string name(1024, 'n');
    // 341 steps up are 1023 bytes: the step after that and the longer name fall out, the short one fits.
    const Rows<std::string, std::string, std::string, int> rows = {
        {"/xy", deep + "f", up, ERANGE}, {name, "/f", name, 0},          {"/x", deep + "f", up + "x", ERANGE},
        {"/" + name, "/f", name, 0},     {name + "n", "/f", "", ERANGE},
    };
    for (const auto& [path, base, expected, error] : rows) {
        errno = 0;
        EXPECT_EQ(TakeOver(get_rel_path(path.c_str(), base.c_str())), expected);
        EXPECT_EQ(errno, error) << path << " from " << base;
    }
}

TEST(NameFunctions, LookAtTheLastElement) {
    using Text = const char*;
    const Rows<Text, Text, Text, Text> rows = {
        {"", nullptr, "", ""},    {"a/", nullptr, "a/", ""},        {"a/b.c.d", ".d", "a/b.c", "b.c"},
        {"a/.x", ".x", "a/", ""}, {"a.b/c", nullptr, "a.b/c", "c"}, {"a\\b.c\\d", ".c\\d", "a\\b", "a\\b"}};
    for (const auto& [expectedText, suffix, rest, base] : rows) {
        std::string text(expectedText);
        EXPECT_STREQ(name_suffix(&text[0]), suffix) << expectedText;
        EXPECT_EQ(text, expectedText) << "unchanged";
        EXPECT_STREQ(name_unsuffix(&text[0]), rest) << expectedText;
        text = expectedText;
        EXPECT_STREQ(name_base(&text[0]), base) << expectedText;
        EXPECT_STREQ(text.c_str(), rest) << expectedText;
    }
}
