#include "VynFileItem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TestSupport.h"
#include "VynUri.h"

namespace vyn {
namespace {

using namespace test;

// What permissions forbid shows to everybody but the superuser, whose rights the object lays down.
class AsOrdinaryUser {
public:
    AsOrdinaryUser() : m_bChanged(geteuid() == 0 && seteuid(65534) == 0) {}
    AsOrdinaryUser(const AsOrdinaryUser&) = delete;
    AsOrdinaryUser& operator=(const AsOrdinaryUser&) = delete;
    ~AsOrdinaryUser() {
        if (m_bChanged) {
            EXPECT_EQ(seteuid(0), 0);
        }
    }

private:
    bool m_bChanged;
};

std::string Names(const std::vector<VynFileItem>& items) {
    std::string names;
    for (const VynFileItem& item : items) {
        names += item.GetName() + " ";
    }
    return names;
}

unsigned ModeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    return info.st_mode & 07777;
}

class Tree : public testing::Test {
protected:
    Tree() {
        chmod(m_directory.Path().c_str(), 0755);
        for (const char* name : {"b.txt", "a.txt", ".hidden", "with blank.c"}) {
            WriteText(m_directory / name, name);
        }
        std::filesystem::create_directory(m_directory / "sub");
        std::filesystem::create_symlink("sub", m_directory / "link");
        std::filesystem::create_symlink("nowhere", m_directory / "dangling");
    }

    SString In(const std::string& name) const { return m_directory / name; }

    TemporaryDirectory m_directory;
};

TEST_F(Tree, ShowsWhatAPathNames) {
    const struct {
        const char* name;
        int type;
    } rows[] = {{"a.txt", 0}, {"sub", 1}, {"link", 1}, {"", 1}, {"dangling", 3}, {"none", 3}};
    for (const auto& row : rows) {
        EXPECT_EQ(VynFileItem(In(row.name)).GetFileType(), row.type) << row.name;
    }
    EXPECT_EQ(VynFileItem("/dev/null").GetFileType(), 3);
    EXPECT_EQ(VynFileItem("/x/../a/b.c").GetFullPath(), "/a/b.c");
    EXPECT_EQ(VynFileItem("/x/../a/b.c").GetName(), "b.c");
}

TEST_F(Tree, ListsADirectoryWithoutHiddenNames) {
    std::vector<VynFileItem> items{VynFileItem("before"), VynFileItem(In(""))};
    items[1].GetFilesList(items);
    EXPECT_EQ(Names(items), "a.txt b.txt dangling link sub with blank.c ");
    EXPECT_EQ(items[0], VynFileItem(In("a.txt")));
    testing::internal::CaptureStderr();
    for (const char* name : {"a.txt", "sub", "none"}) {
        items.emplace_back("before");
        VynFileItem(In(name)).GetFilesList(items);
        EXPECT_EQ(Names(items), "") << name;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Tree, GathersTheMatchesOfPatterns) {
    ASSERT_TRUE(SUrnResolver::RegisterUrn("fileitem", m_directory.Path()));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_directory.Path());
    std::vector<VynFileItem> items;
    std::string names;
    testing::internal::CaptureStderr();
    for (const auto& [pattern, added] :
         {std::pair(In("b*"), "b.txt "), std::pair(In("none*"), ""), std::pair(In("[a-c].txt"), "a.txt "),
          std::pair(In("sub/../?.txt"), ""), std::pair(In(".*"), ".hidden "),
          std::pair(SString("urn:fileitem:w*"), "with blank.c "), std::pair(SString("[al]*"), "link ")}) {
        VynFileItem("").GetFiles(pattern, items);
        EXPECT_EQ(Names(items), names += added) << pattern;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    std::filesystem::current_path(before);
}

TEST_F(Tree, ReportsADirectoryThatCantBeRead) {
    chmod(In("sub").c_str(), 0);
    std::vector<VynFileItem> items{VynFileItem("before")};
    testing::internal::CaptureStderr();
    {
        const AsOrdinaryUser user;
        VynFileItem("").GetFiles(In("sub/*"), items);
        VynFileItem("").GetFiles(In("none/*"), items);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Permission denied: " + In("sub/*") + "\nNo such file or directory: " + In("none/*") + "\n");
    EXPECT_EQ(Names(items), "before ");
}

TEST_F(Tree, TellsWhichPathsAreTooLong) {
    SPathName directory(m_directory.Path().c_str());
    while (directory.size() < 1000) {
        directory.AddPathElement(std::string(std::min<size_t>(200, 1001 - directory.size()), 'd').c_str());
    }
    const std::string longName(50, 'f');
    std::filesystem::create_directories(directory + "/" + longName);
    WriteText(directory + "/a", "");
    SPathName beyond(directory);
    beyond += "/" + longName;
    const std::string relative(1022, 'x');
    const struct {
        SPathName directory, pattern;
        const char* names;
        std::string report;
    } rows[] = {{directory, "", "a ", directory + "/*"},
                {beyond, "", "", beyond},
                {"", beyond, "", beyond},
                {"", relative.c_str(), "", relative}};
    for (const auto& row : rows) {
        std::vector<VynFileItem> items;
        testing::internal::CaptureStderr();
        errno = 0;
        if (row.pattern.empty()) {
            VynFileItem(row.directory).GetFilesList(items);
        } else {
            VynFileItem("").GetFiles(row.pattern, items);
        }
        EXPECT_EQ(errno, ENAMETOOLONG) << row.report;
        EXPECT_EQ(Names(items), row.names) << row.report;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "File name too long: " + row.report + "\n");
    }
}

TEST_F(Tree, CopiesTheBytesOfAFile) {
    const SString from = In("from"), to = In("to");
    WriteText(to, "what was there is longer than the first copies");
    for (size_t size : {0, 1, 65536, 65537, 1000000}) {
        const std::string bytes = std::string(size / 2, 'x') + std::string(size - size / 2, '\0');
        WriteText(from, bytes);
        EXPECT_TRUE(VynCopyFile(from, to));
        EXPECT_TRUE(ReadText(to) == bytes) << size;
    }
}

TEST_F(Tree, LeavesAFileThatIsCopiedOntoItself) {
    std::filesystem::create_symlink("a.txt", m_directory / "symbolic");
    std::filesystem::create_hard_link(m_directory / "a.txt", m_directory / "hard");
    for (const char* name : {"a.txt", "symbolic", "hard", "sub/../a.txt"}) {
        EXPECT_TRUE(VynCopyFile(In("a.txt"), In(name))) << name;
        EXPECT_TRUE(VynCopyFile(In(name), In("a.txt"))) << name;
        EXPECT_EQ(ReadText(In("a.txt")), "a.txt") << name;
    }
    EXPECT_EQ(std::filesystem::hard_link_count(m_directory / "a.txt"), 2u) << "it isn't even replaced";
    EXPECT_TRUE(VynCopyFile(In("b.txt"), In("symbolic")));
    EXPECT_TRUE(std::filesystem::is_symlink(m_directory / "symbolic"));
    EXPECT_EQ(ReadText(In("a.txt")), "b.txt");
}

TEST_F(Tree, FailsToCopyWhatCantBeReadOrWritten) {
    const SString file = In("a.txt"), to = In("to"), old = In("old");
    WriteText(old, "old");
    const struct {
        SString from, to;
    } rows[] = {{In("none"), to},  {file, In("none/to")}, {In("sub"), to},  {file, "/dev/full"},
                {file, In("sub")}, {In("big"), to},       {In("big"), old}, {"/dev/null", In("read-only")},
                {In("secret"), to}};
    WriteText(In("big"), std::string(100000, 'x'));
    WriteText(In("read-only"), "read-only");
    WriteText(In("secret"), "secret");
    chmod(In("read-only").c_str(), 0444);
    chmod(In("secret").c_str(), 0);
    chmod(m_directory.Path().c_str(), 0777);
    chmod(old.c_str(), 0666);
    {
        const AsOrdinaryUser user;
        const FullDisk full(50000);
        for (const auto& row : rows) {
            errno = 0;
            EXPECT_FALSE(VynCopyFile(row.from, row.to)) << row.from << " to " << row.to;
            EXPECT_NE(errno, 0);
            EXPECT_FALSE(std::filesystem::exists(to.c_str())) << row.from;
        }
    }
    EXPECT_EQ(ReadText(old), "old");
    EXPECT_EQ(ReadText(In("read-only")), "read-only");
    EXPECT_TRUE(VynCopyFile(file, "/dev/null"));
    EXPECT_FALSE(std::filesystem::is_regular_file("/dev/null"));
}

TEST_F(Tree, ChangesThePermissionOfTheOwnerAlone) {
    const SString file = In("a.txt"), late = In("late");
    const unsigned rows[][3] = {{0644, 0444, 0644}, {0466, 0466, 0666}, {04722, 04522, 04722}, {0, 0, 0200}};
    for (const auto& [mode, readOnly, writable] : rows) {
        chmod(file.c_str(), mode);
        {
            const SUnsetReadOnly guard(file);
            EXPECT_TRUE(guard);
            EXPECT_EQ(ModeOf(file), readOnly) << std::oct << mode;
        }
        EXPECT_EQ(ModeOf(file), mode) << "the guard puts the old permissions back";
        EXPECT_TRUE(VynSetReadOnly(file, true));
        EXPECT_EQ(ModeOf(file), readOnly) << std::oct << mode;
        EXPECT_TRUE(VynSetReadOnly(file, false));
        EXPECT_EQ(ModeOf(file), writable) << std::oct << mode;
    }
    EXPECT_FALSE(VynSetReadOnly(late, true));
    {
        const SUnsetReadOnly missing(late);
        EXPECT_FALSE(missing);
        WriteText(late, "");
        chmod(late.c_str(), 0640);
    }
    EXPECT_EQ(ModeOf(late), 0640u) << "a guard that failed has nothing to put back";
}

}  // namespace
}  // namespace vyn
