#include "VynFileItem.h"

#include "TestSupport.h"
#include "VynUri.h"

namespace vyn::test {

// What permissions forbid shows to everybody but the superuser, whose rights the object lays down.
struct AsOrdinaryUser {
    AsOrdinaryUser() : m_bChanged(geteuid() == 0 && seteuid(65534) == 0) {}
    ~AsOrdinaryUser() { EXPECT_EQ(m_bChanged ? seteuid(0) : 0, 0); }
    const bool m_bChanged;
};

std::string Names(const std::vector<VynFileItem>& items) {
    std::string names;
    for (const VynFileItem& item : items) {
        names += item.GetName() + " ";
    }
    return names;
}

unsigned ModeOf(const std::string& path) {
    return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

class Tree : public testing::Test {
protected:
    Tree() {
        std::filesystem::current_path(m_directory.Path());
        chmod(".", 0755);
        for (const char* name : {"b.txt", "a.txt", ".hidden", "with blank.c"}) {
            WriteText(name, name);
        }
        std::filesystem::create_directory("sub");
        std::filesystem::create_symlink("sub", "link");
        std::filesystem::create_symlink("nowhere", "dangling");
    }
    void TearDown() override { EXPECT_EQ(m_reports.text, ""); }

    SString In(const std::string& name) const { return m_directory / name; }

    TemporaryDirectory m_directory;
    Reports m_reports;
};

TEST_F(Tree, ShowsWhatAPathNames) {
    const Rows<const char*, int> rows = {{"a.txt", 0},    {"sub", 1},  {"link", 1},     {".", 1},
                                         {"dangling", 3}, {"none", 3}, {"/dev/null", 3}};
    for (const auto& [name, type] : rows) {
        EXPECT_EQ(VynFileItem(name).GetFileType(), type) << name;
    }
    EXPECT_EQ(VynFileItem("/x/../a/b.c").GetFullPath(), "/a/b.c");
    EXPECT_EQ(VynFileItem("/x/../a/b.c").GetName(), "b.c");
}

TEST_F(Tree, ListsADirectoryWithoutHiddenNames) {
    std::vector<VynFileItem> items{VynFileItem("before"), VynFileItem(In(""))};
    items[1].GetFilesList(items);
    EXPECT_EQ(Names(items), "a.txt b.txt dangling link sub with blank.c ");
    EXPECT_EQ(items[0], VynFileItem(In("a.txt")));
    for (const char* name : {"a.txt", "sub", "none"}) {
        items.emplace_back("before");
        VynFileItem(name).GetFilesList(items);
        EXPECT_EQ(Names(items), "") << name;
    }
}

TEST_F(Tree, GathersTheMatchesOfPatterns) {
    SUrnResolver::RegisterUrn("fileitem", m_directory.Path());
    std::vector<VynFileItem> items;
    std::string names;
    const Rows<SPathName, const char*> rows = {{"b*", "b.txt "},        {"none*", ""},
                                               {"[a-c].txt", "a.txt "}, {"sub/../?.txt", ""},
                                               {".*", ".hidden "},      {"urn:fileitem:w*", "with blank.c "},
                                               {"[al]*", "link "}};
    for (const auto& [pattern, added] : rows) {
        VynFileItem("").GetFiles(pattern, items);
        EXPECT_EQ(Names(items), names += added) << pattern;
    }
}

TEST_F(Tree, ReportsWhatItCantListOrName) {
    SPathName longest(m_directory.Path().c_str());
    while (longest.size() < 1000) {
        longest.AddPathElement(std::string(std::min<size_t>(200, 1001 - longest.size()), 'd').c_str());
    }
    const std::string name(1021 - longest.size(), 'g');
    const SPathName edge((longest + "/" + name).c_str());
    const std::string relative(1022, 'x');
    SPathName beyond(longest);
    beyond += "/" + std::string(50, 'f');
    std::filesystem::create_directories(beyond.c_str());
    std::filesystem::create_directory(edge.c_str());
    chmod("sub", 0);
    const AsOrdinaryUser user;
    // A directory to list, or a pattern; what it gives, and what is told.
    const Rows<SPathName, SPathName, std::string, int, std::string> rows = {
        {In("sub").c_str(), "", "", EACCES, In("sub/*")},
        {"", In("none/*").c_str(), "", ENOENT, In("none/*")},
        {longest, "", name + " ", ENAMETOOLONG, longest + "/*"},
        {edge, "", "", ENAMETOOLONG, edge},
        {"", beyond, "", ENAMETOOLONG, beyond},
        {"", relative.c_str(), "", ENAMETOOLONG, relative}};
    for (const auto& [directory, pattern, names, error, report] : rows) {
        std::vector<VynFileItem> items;
        errno = 0;
        pattern.empty() ? VynFileItem(directory).GetFilesList(items) : VynFileItem("").GetFiles(pattern, items);
        EXPECT_EQ(std::tuple(errno, Names(items)), std::tuple(error, names)) << report;
        EXPECT_EQ(m_reports.Take(), std::string(strerror(error)) + ": " + report + "\n");
    }
}

TEST_F(Tree, CopiesTheBytesOfAFile) {
    WriteText("to", "what was there is longer than the first copies");
    for (size_t size : {0, 1, 65536, 65537, 1000000}) {
        const std::string bytes = std::string(size / 2, 'x') + std::string(size - size / 2, '\0');
        WriteText("from", bytes);
        EXPECT_TRUE(VynCopyFile("from", "to"));
        EXPECT_TRUE(ReadText("to") == bytes) << size;
    }
}

TEST_F(Tree, LeavesAFileThatIsCopiedOntoItself) {
    std::filesystem::create_symlink("a.txt", "symbolic");
    std::filesystem::create_hard_link("a.txt", "hard");
    for (const char* name : {"a.txt", "symbolic", "hard", "sub/../a.txt"}) {
        EXPECT_TRUE(VynCopyFile("a.txt", name)) << name;
        EXPECT_TRUE(VynCopyFile(name, "a.txt")) << name;
        EXPECT_EQ(ReadText("a.txt"), "a.txt") << name;
    }
    EXPECT_EQ(std::filesystem::hard_link_count("a.txt"), 2u) << "it isn't even replaced";
    EXPECT_TRUE(VynCopyFile("b.txt", "symbolic"));
    EXPECT_TRUE(std::filesystem::is_symlink("symbolic"));
    EXPECT_EQ(ReadText("a.txt"), "b.txt");
}

TEST_F(Tree, FailsToCopyWhatCantBeReadOrWritten) {
    const Rows<const char*, const char*, int> rows = {
        {"none", "to", ENOENT},   {"a.txt", "none/to", ENOENT},       {"sub", "to", EISDIR},
        {"a.txt", "sub", EISDIR}, {"a.txt", "/dev/full", ENOSPC},     {"a.txt", "to", EFBIG},
        {"a.txt", "old", EFBIG},  {"/dev/null", "read-only", EACCES}, {"secret", "to", EACCES}};
    for (const auto& [name, mode] : {std::pair("old", 0666), {"read-only", 0444}, {"secret", 0}}) {
        WriteText(name, name);
        chmod(name, mode);
    }
    chmod(".", 0777);
    {
        const AsOrdinaryUser user;
        const FullDisk full(3);
        for (const auto& [from, target, error] : rows) {
            EXPECT_FALSE(VynCopyFile(from, target)) << from << " to " << target;
            EXPECT_EQ(errno, error) << from << " to " << target;
            EXPECT_FALSE(std::filesystem::exists("to")) << from;
        }
    }
    EXPECT_EQ(ReadText("old") + ReadText("read-only"), "oldread-only");
    EXPECT_TRUE(VynCopyFile("a.txt", "/dev/null"));
    EXPECT_FALSE(std::filesystem::is_regular_file("/dev/null"));
}

TEST_F(Tree, ChangesThePermissionOfTheOwnerAlone) {
    const unsigned rows[][3] = {{0644, 0444, 0644}, {0466, 0466, 0666}, {04722, 04522, 04722}, {0, 0, 0200}};
    for (const auto& [mode, readOnly, writable] : rows) {
        chmod("a.txt", mode);
        {
            const SUnsetReadOnly guard("a.txt");
            EXPECT_TRUE(guard);
            EXPECT_EQ(ModeOf("a.txt"), readOnly) << std::oct << mode;
        }
        EXPECT_EQ(ModeOf("a.txt"), mode) << "the guard puts the old permissions back";
        EXPECT_TRUE(VynSetReadOnly("a.txt", true));
        EXPECT_EQ(ModeOf("a.txt"), readOnly) << std::oct << mode;
        EXPECT_TRUE(VynSetReadOnly("a.txt", false));
        EXPECT_EQ(ModeOf("a.txt"), writable) << std::oct << mode;
    }
    EXPECT_FALSE(VynSetReadOnly("late", true));
    {
        const SUnsetReadOnly missing("late");
        EXPECT_FALSE(missing);
        WriteText("late", "");
        chmod("late", 0640);
    }
    EXPECT_EQ(ModeOf("late"), 0640u) << "a guard that failed has nothing to put back";
}

}  // namespace vyn::test
