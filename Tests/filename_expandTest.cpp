#include "filename_expand.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "TestSupport.h"

using vyn::test::TakeOver;

namespace {

// The result with errno behind it, where one was left.
std::string Expand(const std::string& text) {
    errno = 0;
    const std::string result = filename_expand(text.c_str());
    return result + (errno == ERANGE ? " ERANGE" : "");
}

TEST(FilenameExpand, ReplacesReferencesAndALeadingTilde) {
    const passwd* user = getpwuid(geteuid());
    const std::string home = user->pw_dir, most(1023, 'x'), fitting = most.substr(home.size() + 1),
                      longName(300, 'n');
    setenv("VYN_X", "12", 1);
    setenv("VYN_NESTED", "$(VYN_X)$", 1);
    setenv("VYN_HOME", "~", 1);
    unsetenv("VYN_Y");
    const std::pair<std::string, std::string> rows[] = {
        {"a$(VYN_X)$(VYN_X)", "a1212"},
        {"${VYN_X}", "${VYN_X}"},
        {"$(VYN_X", "12"},
        {"$(VYN_Y", "$(VYN_Y)"},
        {"$()", "$()"},
        {"a$", "a$"},
        {"$$(VYN_X)", "$$(VYN_X)"},
        {"$(VYN_NESTED)(VYN_X)", "$(VYN_X)$(VYN_X)"},
        {"$(VYN_HOME)/a", home + "/a"},
        {"~/x/~", home + "/x/~"},
        {std::string("~") + user->pw_name + "/x", home + "/x"},
        {"~nosuchuser/x", "~nosuchuser/x"},
        {"~" + longName + "/x", "~" + longName + "/x"},
        {"a/~", "a/~"},
        {most + "y", most},
        {most.substr(2) + "$(VYN_X)", most.substr(2) + "12"},
        {most.substr(1) + "$(VYN_X)$", most.substr(1) + "$ ERANGE"},
        {most.substr(1) + "$a", most.substr(1) + "$"},
        {most.substr(4) + "$(VYN_Y)", most.substr(4) + "$() ERANGE"},
        {"~/" + fitting, home + "/" + fitting},
        {"~/x" + fitting, "~/x" + fitting + " ERANGE"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Expand(text), expected) << text.substr(0, 20);
    }
    EXPECT_STREQ(filename_expand(filename_expand("$(VYN_NESTED)/tail")), "12$/tail") << "its own result";
}

TEST(FullPathName, PutsTheCurrentDirectoryInFront) {
    const auto start = std::filesystem::current_path();
    EXPECT_EQ(TakeOver(full_path_name("/a/../b")), "/a/../b");
    EXPECT_EQ(TakeOver(full_path_name("../x")), start.string() + "/../x");
    {
        const vyn::test::TemporaryDirectory gone;
        std::filesystem::current_path(gone.Path());
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(TakeOver(full_path_name("x")), "./x");
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("getcwd: "), 0u);
    std::filesystem::current_path(start);
}

TEST(RelativePath, LeadsFromTheDirectoryOfTheBase) {
    const struct {
        const char *path, *base, *expected;
    } rows[] = {{"/p/r", "/p/q/f", "../r"},
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
    for (const auto& row : rows) {
        EXPECT_EQ(TakeOver(get_rel_path(row.path, row.base)), row.expected)
            << row.path << " from " << row.base;
    }
    EXPECT_EQ(get_rel_path(nullptr, "/a"), nullptr);
}

TEST(RelativePath, LeavesOutPiecesBeyond1024Bytes) {
    std::string deep = "/";
    for (int i = 0; i < 342; ++i) {
        deep += "d/";
    }
    const std::string name(1024, 'n');
    errno = 0;
    EXPECT_EQ(TakeOver(get_rel_path(name.c_str(), "/f")), name);
    EXPECT_EQ(TakeOver(get_rel_path(("/" + name).c_str(), "/f")), name);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(TakeOver(get_rel_path((name + "n").c_str(), "/f")), "");
    EXPECT_EQ(errno, ERANGE);

    // 341 steps up are 1023 bytes: the step after that and the longer name fall out, the short one fits.
    errno = 0;
    const std::string up = TakeOver(get_rel_path("/x", (deep + "f").c_str()));
    EXPECT_EQ(up.size(), 1024u);
    EXPECT_EQ(up.substr(1017), "../../x");
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(TakeOver(get_rel_path("/xy", (deep + "f").c_str())).size(), 1023u);
}

TEST(NameFunctions, LookAtTheLastElement) {
    const struct {
        const char *text, *suffix, *rest, *base;
    } rows[] = {{"a/b.c.d", ".d", "a/b.c", "b.c"},
                {"a.b/c", nullptr, "a.b/c", "c"},
                {"a/", nullptr, "a/", ""},
                {"a/.x", ".x", "a/", ""},
                {"", nullptr, "", ""},
                {"a\\b.c\\d", ".c\\d", "a\\b", "a\\b"}};
    for (const auto& row : rows) {
        std::string text(row.text);
        EXPECT_STREQ(name_suffix(&text[0]), row.suffix) << row.text;
        EXPECT_EQ(text, row.text) << "unchanged";
        EXPECT_STREQ(name_unsuffix(&text[0]), row.rest) << row.text;
        text = row.text;
        EXPECT_STREQ(name_base(&text[0]), row.base) << row.text;
        EXPECT_STREQ(text.c_str(), row.rest) << row.text;
    }
}

}  // namespace
