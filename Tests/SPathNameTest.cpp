#include "SPathName.h"

#include "TestSupport.h"

namespace vyn::test {
namespace fs = std::filesystem;
const std::string start = fs::current_path().string();

TEST(PathName, KeepsTextInNormalForm) {
    const Rows<const char*, const char*, int, const char*, const char*> rows = {
        {"/a/b/../c", "/a/c", 1, "/a", "c"},
        {"a/../b", "a/../b", 0, "a/..", "b"},
        {"c:\\x", "c:/x", 1, "c:/", "x"},
        {"/", "/", 1, "/", ""},
        {"x", "x", 0, "", "x"},
        {"urn:k4user:a/../b", "/b", 1, "/", "b"},
        {"/a/..", "", 0, "", ""},
        {"/a/../../../x", "/x", 1, "/", "x"},
        {"/a//../b", "/a/b", 1, "/a", "b"},
        {"/a/b/./../c", "/a/c", 1, "/a", "c"},
        {"/a/.b/..c/...", "/a/.b/..c/...", 1, "/a/.b/..c", "..."},
        {"/a/.", "/a/.", 1, "/a", "."},
        {nullptr, "", 0, "", ""}};
    for (const auto& [text, stored, absolute, directory, tail] : rows) {
        const SString name(text);
        SPathName path("other");
        path = name;
        EXPECT_EQ(std::tuple(std::string(path), path.IsAbsolutePath(), std::string(path.GetTail())),
                  std::tuple(stored, absolute, tail))
            << name;
        EXPECT_EQ(SPathName(text), path) << name;
        EXPECT_TRUE(SPathName(directory) == path.GetDirectory()) << name;
    }
    char text[] = "a/./b/../c";
    EXPECT_EQ(WexPathCanonicalize(text, text), 1);
    EXPECT_STREQ(text, "a/c");
    EXPECT_EQ(WexPathCanonicalize(text, text), 0);
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

TEST(Suffix, BelongsToTheLastElement) {
    for (const auto& [text, suffix] : {std::pair("/a.b/c.cpp", ".cpp"), {"/a.b/c", ""}}) {
        SPathName path(text);
        EXPECT_EQ(GetExtentionFromPath(SString(path + "?x=1.2")), suffix) << text;
        EXPECT_EQ(path.GetSuffix() == nullptr, !*suffix) << text;
        EXPECT_EQ(TakeOver(path.GetBaseName()), "c") << text;
        path.AddSuffix(SString(".txt"));
        EXPECT_EQ(path, std::string("/a.b/c") + (*suffix ? suffix : ".txt"));
        path.SubSuffix();
        EXPECT_EQ(path, "/a.b/c");
    }
}

TEST(PathElement, IsAppendedBehindOneSeparator) {
    const Rows<const char*, const char*, const char*> rows = {
        {"/x", "", "/x/"},    {"/x", "/y", "/x/y"}, {"/x/", "//y", "/x//y"}, {"", "/y", "/y"},
        {"", "", ""},         {"/a/b", "..", "/a"}, {"a/b", "..", "a/b/.."}, {"http://h", "./p", "http://h/p"},
        {"a", "b\\", "a/b\\"}};
    for (const auto& [expectedPath, element, expected] : rows) {
        SPathName path(expectedPath);
        path.AddPathElement(SString(element));
        EXPECT_STREQ(path.c_str(), expected) << expectedPath << " + " << element;
    }
    SPathName twice("long enough to lie on the heap, and to move there");
    const std::string once(twice);
    twice.AddPathElement(twice.c_str());
    EXPECT_STREQ(twice.c_str(), (once + "/" + once).c_str());
}

TEST(PathName, HasAtMost1023Bytes) {
    const std::string most(1023, 'x');
    errno = 0;
    SPathName path(most);
    path = path.substr(2);
    path.AddPathElement("x");
    EXPECT_EQ(path, most.substr(2) + "/x");
    EXPECT_EQ(errno, 0);
    path.AddPathElement("");
    EXPECT_EQ(path, most.substr(2) + "/x") << "there is no room for the separator";
    EXPECT_EQ(errno, ENAMETOOLONG);
    path = (most + "x").c_str();
    EXPECT_STREQ(path.c_str(), "");
    EXPECT_EQ(errno, EINVAL);
}

TEST(AbsolutePath, StartsFromTheCurrentDirectory) {
    setenv("VYN_X", "d", 1);
    const Rows<const char*, std::string> rows = {{"", ""}, {"$(VYN_X)/./x", start + "/d/x"}, {"c:/x", start + "/c:/x"}};
    for (const auto& [text, expected] : rows) {
        SPathName path(text), based(text);
        path.MakeAbsolutePath();
        based.MakeAbsolutePath(SPathName());
        EXPECT_EQ(std::tuple(path, based), std::tuple(expected, expected)) << text;
    }
    SPathName path("$(VYN_X)/..");
    path.MakeExpandPath();
    EXPECT_STREQ(path.c_str(), "d/..");
    path = "/p/q/r";
    path.MakeRelativePath(SPathName("/p/q"));
    EXPECT_EQ(path, "q/r") << "the last element of the base counts as a file";
}

TEST(AbsolutePath, StartsFromTheDirectoryOfTheBase) {
    setenv("VYN_X", "d", 1);
    setenv("VYN_ABSOLUTE", "/abs", 1);
    const std::string deep = "/" + std::string(1000, 'b') + "/", name(21, 'x');
    const Rows<std::string, std::string, std::string, int> rows = {
        {"", "/p/q", "/p/", 0},       {name + "x", deep, deep, ERANGE},
        {"/z", "/p/q.txt", "/z", 0},  {"x", "$(VYN_X)/q", start + "/d/x", 0},
        {"x", "/p/q.txt", "/p/x", 0}, {"$(VYN_ABSOLUTE)/x", "/p/q", "/abs/x", 0},
        {"../x", "/p/q/", "/p/x", 0}, {"$(VYN_X)/x", "/p/q", "/p/$(VYN_X)/x", 0},
        {name, deep, deep + name, 0}, {"x", std::string(1020, 'b'), "x", ERANGE}};
    for (const auto& [text, base, expected, error] : rows) {
        SPathName path(text.c_str());
        errno = 0;
        path.MakeAbsolutePath(SPathName(base.c_str()));
        EXPECT_EQ(std::tuple(errno, path), std::tuple(error, expected)) << text << " at " << base;
    }
}

TEST(CreateDirectory, MakesParentsFromTheSecondSeparatorOn) {
    const TemporaryDirectory directory;
    fs::current_path(directory.Path());
    std::ofstream("file") << "x";
    const Rows<std::string, int, const char*, const char*> rows = {{directory / "x/y/z/", 1, "x/y/z", "a"},
                                                                   {"a/b", 0, ".", "a"},
                                                                   {"a", 1, "a", "a/b"},
                                                                   {"a/b/c", 1, "a/b/c", "c:"},
                                                                   {"a", 1, "a", "c:"},
                                                                   {"file", 0, "a", "c:"},
                                                                   {"", 0, "a", "c:"},
                                                                   {"c:/", 0, "a", "c:"}};
    for (const auto& [path, result, made, notMade] : rows) {
        errno = 0;
        EXPECT_EQ(SPathName(path.c_str()).CreateDirectoryA(), result) << path;
        EXPECT_EQ(!result && errno == EEXIST, path == "file");
        EXPECT_TRUE(fs::is_directory(made)) << path;
        EXPECT_FALSE(fs::exists(notMade)) << path;
    }
    fs::create_directory("c:");
    EXPECT_EQ(SPathName("c:").CreateDirectoryA(), 1);
    EXPECT_EQ(SPathName("c:/x/y").CreateDirectoryA(), 1);
    EXPECT_TRUE(fs::is_directory("c:/x/y"));
    fs::current_path(start);
}

}  // namespace vyn::test
