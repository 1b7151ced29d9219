#include "SPathName.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "TestSupport.h"

namespace vyn {
namespace {

namespace fs = std::filesystem;
using test::TakeOver;

std::string CurrentDirectory() {
    return fs::current_path().string();
}

TEST(PathName, KeepsTextInNormalForm) {
    const struct {
        const char *text, *stored;
        int absolute;
        const char *directory, *tail;
    } rows[] = {
        {"/a/b/../c", "/a/c", 1, "/a", "c"},
        {"a/../b", "a/../b", 0, "a/..", "b"},
        {"c:\\x", "c:/x", 1, "c:/", "x"},
        {"c:/", "c:/", 1, "c:/", ""},
        {"/x", "/x", 1, "/", "x"},
        {"/", "/", 1, "/", ""},
        {"x", "x", 0, "", "x"},
        {"urn:k4user:a/../b", "/b", 1, "/", "b"},
        {"scheme://h/a/./b", "scheme://h/a/b", 1, "scheme://h/a", "b"},
        {"/..", "", 0, "", ""},
        {"c:/../b", "/b", 1, "/", "b"},
        {nullptr, "", 0, "", ""},
    };
    for (const auto& row : rows) {
        SPathName path(row.text);
        const char* name = row.text ? row.text : "null";
        EXPECT_STREQ(path.c_str(), row.stored) << name;
        EXPECT_EQ(path.IsAbsolutePath(), row.absolute) << name;
        EXPECT_EQ(path.GetDirectory(), row.directory) << name;
        EXPECT_STREQ(path.GetTail(), row.tail) << name;
        EXPECT_TRUE(SPathName(row.directory) == path.GetDirectory()) << name;
        path = "other";
        path = SString(row.text);
        EXPECT_STREQ(path.c_str(), row.stored) << name;
    }
}

TEST(PathName, RefusesTextOf1024Bytes) {
    SPathName path;
    errno = 0;
    path = std::string(1023, 'x').c_str();
    EXPECT_EQ(path.GetLength(), 1023u);
    EXPECT_EQ(errno, 0);
    path = std::string(1024, 'x').c_str();
    EXPECT_EQ(path.GetLength(), 0u);
    EXPECT_EQ(errno, EINVAL);
}

TEST(PathName, ComparesWithTextInNormalForm) {
    SPathName path("a");
    path.AddPathElement("b\\c");
    EXPECT_STREQ(path.c_str(), "a/b\\c") << "an element is appended as it stands";
    SPathName copy;
    copy = path;
    EXPECT_TRUE(copy == path) << "a copy isn't brought into normal form";
    EXPECT_EQ(TakeOver(copy.GetUnixPath()), "a/b/c");
    EXPECT_EQ(TakeOver(copy.GetWinPath()), "a\\b\\c");
    EXPECT_TRUE(SPathName("/a/b") == "\\a\\x\\..\\b");
    EXPECT_TRUE(SString("\\a\\b") == SPathName("/a/b"));
    EXPECT_FALSE(SPathName("/a/b") != SString("\\a\\b"));
    EXPECT_FALSE(std::string("\\a\\b") != SPathName("/a/b"));
    EXPECT_FALSE(SPathName("/a") == static_cast<const char*>(nullptr));
}

TEST(Canonicalize, TakesStepsOut) {
    const struct {
        const char *in, *out;
        int removed;
    } rows[] = {
        {"", "", 0},
        {"/a/..", "", 1},
        {"/a/../../../x", "/x", 1},
        {"/a//../b", "/a/b", 1},
        {"/a/b/./../c", "/a/c", 1},
        {"/a/.b/..c/...", "/a/.b/..c/...", 0},
    };
    for (const auto& row : rows) {
        std::string text(row.in);
        std::string out(text.size() + 1, '?');
        EXPECT_EQ(WexPathCanonicalize(&out[0], row.in), row.removed) << row.in;
        EXPECT_STREQ(out.c_str(), row.out) << row.in;
        WexPathCanonicalize(&text[0], &text[0]);
        EXPECT_STREQ(text.c_str(), row.out) << row.in << " in place";
    }
}

TEST(Suffix, BelongsToTheLastElement) {
    const struct {
        const char *text, *suffix, *base, *without, *withTxt;
    } rows[] = {
        {"a.cpp", ".cpp", "a", "a", "a.cpp"},
        {"/a.b/c", nullptr, "c", "/a.b/c", "/a.b/c.txt"},
        {"c.", ".", "c", "c", "c."},
        {"/a/.profile", ".profile", "", "/a/", "/a/.profile"},
    };
    for (const auto& row : rows) {
        SPathName path(row.text);
        EXPECT_STREQ(path.GetSuffix(), row.suffix) << row.text;
        EXPECT_EQ(TakeOver(path.GetBaseName()), row.base) << row.text;
        EXPECT_STREQ(path.c_str(), row.text) << "the base name is a copy";
        path.AddSuffix(SString(".txt"));
        EXPECT_STREQ(path.c_str(), row.withTxt);
        path = row.text;
        path.SubSuffix();
        EXPECT_STREQ(path.c_str(), row.without);
    }
    EXPECT_EQ(GetExtentionFromPath("scheme://h/a.b?x=1.2"), ".b");
    EXPECT_EQ(GetExtentionFromPath("?a.b"), "");
}

TEST(PathElement, IsAppendedBehindOneSeparator) {
    const struct {
        const char *path, *element, *expected;
    } rows[] = {
        {"/x", "", "/x/"},    {"/x", "/y", "/x/y"},    {"/x/", "//y", "/x//y"},           {"", "/y", "/y"},
        {"/a/b", "..", "/a"}, {"a/b", "..", "a/b/.."}, {"http://h", "./p", "http://h/p"}, {"/a", "..", ""},
    };
    for (const auto& row : rows) {
        SPathName path(row.path);
        path.AddPathElement(SString(row.element));
        EXPECT_STREQ(path.c_str(), row.expected) << row.path << " + " << row.element;
    }
    SPathName path("/x");
    path.AddPathElement("a\\");
    path.AddPathElement("b");
    EXPECT_STREQ(path.c_str(), "/x/a\\b");
    const std::string most(1023, 'x');
    errno = 0;
    path = most.substr(2);
    path.AddPathElement("x");
    EXPECT_EQ(path.size(), 1023u);
    EXPECT_EQ(errno, 0);
    path.AddPathElement("");
    EXPECT_EQ(path, most.substr(2) + "/x") << "there is no room for the separator";
    EXPECT_EQ(errno, ENAMETOOLONG);
    SPathName twice("long enough to lie on the heap, and to move there");
    const std::string once(twice);
    twice.AddPathElement(twice.c_str());
    EXPECT_STREQ(twice.c_str(), (once + "/" + once).c_str());
}

TEST(PathName, ExpandsReferences) {
    setenv("VYN_X", "c:\\a", 1);
    SPathName path("$(VYN_X)/../b");
    path.MakeExpandPath();
    EXPECT_STREQ(path.c_str(), "c:/b");
}

TEST(AbsolutePath, StartsFromTheCurrentDirectory) {
    setenv("VYN_X", "d", 1);
    const struct {
        const char* text;
        std::string expected;
    } rows[] = {
        {"", ""},
        {"$(VYN_X)/./x", CurrentDirectory() + "/d/x"},
        {"c:/x", CurrentDirectory() + "/c:/x"},
    };
    for (const auto& row : rows) {
        SPathName path(row.text);
        path.MakeAbsolutePath();
        EXPECT_EQ(path, row.expected) << row.text;
        path = row.text;
        path.MakeAbsolutePath(SPathName());
        EXPECT_EQ(path, row.expected) << row.text << " with an empty base";
    }
}

TEST(AbsolutePath, StartsFromTheDirectoryOfTheBase) {
    setenv("VYN_X", "d", 1);
    setenv("VYN_ABSOLUTE", "/abs", 1);
    const struct {
        const char *text, *base;
        std::string expected;
    } rows[] = {
        {"x", "/p/q.txt", "/p/x"},
        {"../x", "/p/q/", "/p/x"},
        {"/z", "/p/q.txt", "/z"},
        {"$(VYN_ABSOLUTE)/x", "/p/q", "/abs/x"},
        {"$(VYN_X)/x", "/p/q", "/p/$(VYN_X)/x"},
        {"x", "$(VYN_X)/q", CurrentDirectory() + "/d/x"},
        {"", "/p/q", "/p/"},
    };
    for (const auto& row : rows) {
        SPathName path(row.text);
        path.MakeAbsolutePath(SPathName(row.base));
        EXPECT_EQ(path, row.expected) << row.text << " at " << row.base;
    }
}

TEST(AbsolutePath, LeavesOutWhatDoesNotFit) {
    const std::string longBase = "/" + std::string(1000, 'b') + "/";
    const std::string name(21, 'x');
    SPathName path(name.c_str());
    errno = 0;
    path.MakeAbsolutePath(SPathName(longBase.c_str()));
    EXPECT_EQ(path, longBase + name) << "1023 bytes";
    EXPECT_EQ(errno, 0);
    path = (name + "x").c_str();
    path.MakeAbsolutePath(SPathName(longBase.c_str()));
    EXPECT_EQ(path, longBase);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    path = "x";
    path.MakeAbsolutePath(SPathName(std::string(1020, 'b').c_str()));
    EXPECT_EQ(path, std::string("x")) << "the full path of the base is too long";
    EXPECT_EQ(errno, ERANGE);
}

TEST(RelativePath, CountsTheLastElementOfTheBaseAsAFile) {
    SPathName path("/p/q/r");
    path.MakeRelativePath(SPathName("/p/q"));
    EXPECT_EQ(path, "q/r");
}

// A directory of its own that is the current one.
class CreateDirectory : public testing::Test {
protected:
    CreateDirectory() { fs::current_path(m_directory.Path()); }
    ~CreateDirectory() override { fs::current_path(m_start); }

    const fs::path m_start = fs::current_path();
    const test::TemporaryDirectory m_directory;
};

TEST_F(CreateDirectory, MakesParentsFromTheSecondSeparatorOn) {
    const SPathName absolute((m_directory / "x/y/z/").c_str());
    EXPECT_EQ(absolute.CreateDirectoryA(), 1);
    EXPECT_TRUE(fs::is_directory("x/y/z"));
    EXPECT_EQ(absolute, m_directory / "x/y/z/") << "the text stays";
    EXPECT_EQ(SPathName("a/b").CreateDirectoryA(), 0);
    EXPECT_EQ(SPathName("a/b/c").CreateDirectoryA(), 0);
    EXPECT_FALSE(fs::exists("a")) << "the first element of a relative path isn't created";
    EXPECT_EQ(SPathName("a").CreateDirectoryA(), 1);
    EXPECT_EQ(SPathName("a/b/c").CreateDirectoryA(), 1);
    EXPECT_TRUE(fs::is_directory("a/b/c"));
    EXPECT_EQ(SPathName("a").CreateDirectoryA(), 1) << "it is there";

    std::ofstream("file") << "x";
    EXPECT_EQ(SPathName("file").CreateDirectoryA(), 0);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(SPathName().CreateDirectoryA(), 0);
}

TEST_F(CreateDirectory, MakesNoDrive) {
    EXPECT_EQ(SPathName("c:/").CreateDirectoryA(), 0);
    EXPECT_FALSE(fs::exists("c:"));
    fs::create_directory("c:");
    EXPECT_EQ(SPathName("c:").CreateDirectoryA(), 1);
    EXPECT_EQ(SPathName("c:/x/y").CreateDirectoryA(), 1);
    EXPECT_TRUE(fs::is_directory("c:/x/y"));
}

}  // namespace
}  // namespace vyn
