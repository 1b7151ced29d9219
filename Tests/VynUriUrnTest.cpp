// The URN map and the resolver.

#include <gtest/gtest.h>

#include "Platform.h"
#include "RunProbe.h"
#include "SPathName.h"
#include "VynErrOut.h"
#include "VynRes.h"
#include "VynUri.h"
#include "ZemAPICommon.h"
#include "filename_expand.h"

namespace vyn {
namespace {

using namespace test;

// Gathers what arrives on vynerr.
class Messages : public k4::IMessageOutputHandler {
public:
    Messages() { vynerr.PushOutput(this); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;
    ~Messages() override { vynerr.PopOutput(); }

    bool OnMessage(const std::string& text) override {
        m_text += text;
        m_current = VynGetResourceHandle();
        return true;
    }
    void OnFlush() override {}

    std::string Take() { return std::move(m_text); }

    HINSTANCE m_current = nullptr;  // the resource handle at the last message

private:
    std::string m_text;
};

// A home of its own, in which the map is read anew from an empty file.
class UrnTest : public testing::Test {
protected:
    UrnTest() {
        setenv("HOME", m_home.Path().c_str(), 1);
        SUrnResolver::RegisterURNsFromOptionString("");
    }

    std::string MapFile() const { return m_home / "Ostrel/Halcyne/Shared/urnmap.txt"; }

    // The map without the predefined names.
    static std::string Added() {
        SString text;
        SUrnResolver::EncodeUrnMap(text);
        std::vector<SString> entries;
        SUrnResolver::DecodeUrnMap(text, entries);
        std::string added;
        for (const SString& entry : entries) {
            if (SUrnResolver::CanUrnBeOverridden(entry)) {
                added += entry + ";";
            }
        }
        return added;
    }

    static std::string Resolve(const SString& urn) {
        SString path;
        SUrnResolver::ResolveUrn(urn, path);
        return path;
    }

    static std::string Create(const SString& path) {
        SString urn("?");
        SUrnResolver::CreateUrn(path, urn);
        return urn;
    }

    static TemporaryDirectory
        m_home;  // one for all tests, since the environment keeps each path that was set
    Messages m_messages;
};

TemporaryDirectory UrnTest::m_home;

std::string AlreadyDefined(const std::string& name, const std::string& target) {
    return "The URN name '" + name + "' is already defined to '" + target +
           "'. Please check environment variable ZEM_URN_MAP_FILE and ZEM->Options->General->URNMap.\n";
}

TEST(UrnMapAtLoad, HasSixNamesAndThoseOfTheVariablesFile) {
    TemporaryDirectory directory;
    const SString root(VynGetInstallationRoot());
    const std::string atHome =
        "k4companyaddins:@/Ostrel/Halcyne/Shared/CompanyAddins/;"
        "k4teamaddins:@/Ostrel/Halcyne/Shared/TeamAddins/;k4user:@/Ostrel/Halcyne/Zem/4.3/;"
        "k4useraddins:@/Ostrel/Halcyne/Zem/4.3/addins/;k4zemprojects:@/My Projects/";
    const std::string nowhere = "k4companyaddins:;k4teamaddins:;k4user:;k4useraddins:addins/;k4zemprojects:";
    const std::string unset = "\nZEM_URN_MAP_FILE=(unset)\n";
    const std::string own = "\nZEM_URN_MAP_FILE=@/Ostrel/Halcyne/Shared/urnmap.txt\n";
    const std::string users = "\nZEM_URN_MAP_FILE=@/users.txt\n";
    const std::string k4 = "k4:" + root + "/;";
    std::filesystem::create_directories(directory / "Ostrel/Halcyne/Shared");
    const struct {
        const char* environment;
        const char* arguments;
        std::string out, err;
    } rows[] = {
        {"HOME=@", "-", k4 + atHome + unset + k4 + atHome + ";old:/old/" + own, ""},
        {"HOME=@ ZEM_URN_MAP_FILE=@/users.txt", "", "a:/x/;b:/y/;k4:/mine/;" + atHome + users,
         AlreadyDefined("k4user", "/z")},
        {"HOME=@ ZEM_URN_MAP_FILE=@/missing.txt", "", k4 + atHome + "\nZEM_URN_MAP_FILE=@/missing.txt\n",
         "Failed to open '@/missing.txt' for read.\n"},
        {"ZEM_USER_ADDINS_DIR=", "- a:/x", k4 + nowhere + unset + k4 + nowhere + unset + k4 + nowhere + unset,
         ""},
        // The option string takes the place of the user's file, for good.
        {"HOME=@ ZEM_URN_MAP_FILE=@/users.txt", "'n:/n;o:/o' -",
         "a:/x/;b:/y/;k4:/mine/;" + atHome + users + k4 + atHome + ";n:/n/;o:/o/" + own + k4 + atHome +
             ";n:/n/;o:/o/" + own,
         AlreadyDefined("k4user", "/z")},
    };
    for (const auto& row : rows) {
        WriteText(directory / "Ostrel/Halcyne/Shared/urnmap.txt", "old:/old\n");
        WriteText(directory / "users.txt", "a:/x\r\nb:/y/\r\nK4:/mine\nk4user:/z\n");
        const ProbeResult result =
            RunProbe(directory, row.environment, std::string("UrnMapProbe ") + row.arguments);
        EXPECT_EQ(result.out, At(directory, row.out)) << row.environment;
        EXPECT_EQ(result.err, At(directory, row.err)) << row.environment;
        EXPECT_EQ(result.status, 0) << row.environment;
    }
    EXPECT_EQ(ReadText(directory / "Ostrel/Halcyne/Shared/urnmap.txt"), "n:/n\no:/o\n");
}

TEST(UrnMapAtLoad, IsEmptyBeforeAndAfter) {
    TemporaryDirectory directory;
    const ProbeResult result = RunProbe(directory, "HOME=@", "UriEarlyProbe");
    EXPECT_EQ(result.out,
              "before: k4 is unknown, early is known, /x, capabilities 0, file not opened\n"
              "main: k4 is known, early is unknown, urn:early:x, capabilities 131, file opened\n"
              "end: k4 is unknown, early is known, /x, capabilities 131, file opened\n");
    EXPECT_EQ(result.err,
              "The URN Name 'early' was not found. Please define it in ZEM->Options->General->URNMap.\n");
    EXPECT_EQ(result.status, 0);
}

TEST(UrnList, EndsAtAnEmptyEntry) {
    const struct {
        const char* text;
        std::vector<SString> entries;
    } rows[] = {{"", {}},
                {"a:/x", {"a:/x"}},
                {"a:/x;b:/y\nc:/z", {"a:/x", "b:/y", "c:/z"}},
                {"a:/x;", {"a:/x"}},
                {"a:/x\n\nb:/y;c:/z", {"a:/x", "\nb:/y;c:/z"}},
                {";a:/x", {";a:/x"}},
                {";", {";"}},
                {" ;a:/x", {"a:/x"}},
                {"  a:/x  ; ;  b:", {"a:/x  ", "b:"}},
                {"\ta:/x\r\n ", {"\ta:/x\r"}}};
    for (const auto& row : rows) {
        std::vector<SString> entries{"kept"};
        SUrnResolver::DecodeUrnMap(row.text, entries);
        EXPECT_EQ(entries.front(), "kept");
        entries.erase(entries.begin());
        EXPECT_EQ(entries, row.entries) << row.text;
    }
}

TEST_F(UrnTest, ReadsItsFile) {
    const struct {
        std::string file, map, messages;
    } rows[] = {
        {"a:/x\nb:/y/\n", "a:/x/;b:/y/;", ""},
        {"A:/x\r\n  b:\\y\\..\\z  \n", "a:/x/;b:/z  /;", ""},
        {"mine:c:/x\nscheme:http://h/a", "mine:c:/x/;scheme:http://h/a/;", ""},
        {"mine\n:/x:y\n", ":/x:y:;mine:;", ""},
        {"a:/x\na:/y\nA:/z\na:/w\n", "a:/z/;", AlreadyDefined("a", "/y") + AlreadyDefined("a", "/w")},
        {"k4user:/x\n", "", AlreadyDefined("k4user", "/x")},
        {"a:/x\n\nb:/y\nc:/z\n", "\nb:/y\nc:/z\n/;a:/x/;", ""},
        {std::string("a:\0/x\0\n", 8), "a:/x/;", ""},
        {"a:" + std::string(1100, 'x'), "a:;", ""},
    };
    for (const auto& row : rows) {
        WriteText(MapFile(), row.file);
        SUrnResolver::RegisterURNsWithoutOptions();
        SString map;
        SUrnResolver::EncodeUrnMap(map);
        const bool split = row.map[0] == '\n';  // what holds a separator can't be decoded again
        EXPECT_EQ(split ? map.substr(0, row.map.size()) : Added(), row.map) << row.file;
        EXPECT_EQ(m_messages.Take(), row.messages) << row.file;
    }
}

TEST_F(UrnTest, GivesALowerCaseNameToEachPredefinedDirectory) {
    WriteText(MapFile(), "K4USER:/x\n");
    SUrnResolver::RegisterURNsWithoutOptions();
    EXPECT_EQ(Resolve("urn:k4user:a"), "/x/a") << "replaced, with no message";
    EXPECT_EQ(m_messages.Take(), "");
    SUrnResolver::RegisterURNsFromOptionString("");
    EXPECT_EQ(Resolve("urn:K4User:a"), SString(VynGetUserDir()) + "/a");
    EXPECT_FALSE(SUrnResolver::IsUrnRegistered("K4USER"));
    for (const char* name :
         {"k4", "k4user", "k4useraddins", "k4teamaddins", "k4companyaddins", "k4zemprojects"}) {
        EXPECT_TRUE(SUrnResolver::IsUrnRegistered(name)) << name;
        SString upper(name);
        upper.MakeUpper();
        EXPECT_FALSE(SUrnResolver::CanUrnBeOverridden(upper + ":/x")) << name;
        EXPECT_FALSE(SUrnResolver::CanUrnBeOverridden(name)) << name;
    }
    EXPECT_TRUE(SUrnResolver::CanUrnBeOverridden("mine:/x"));
    EXPECT_TRUE(SUrnResolver::CanUrnBeOverridden(":k4"));
}

TEST_F(UrnTest, AppendsAnEntryToItsFile) {
    SUrnResolver::RegisterURNsFromOptionString("  b:/y  ;a:/x");
    SUrnResolver::RegisterURNAndSaveURNMapFile("N", "/n");
    SUrnResolver::RegisterURNAndSaveURNMapFile("a", "/z");
    EXPECT_EQ(ReadText(MapFile()), "b:/y  \na:/x\nN:/n\na:/z\n");
    EXPECT_EQ(Added(), "a:/x/;b:/y  /;n:/n/;");
    EXPECT_EQ(m_messages.Take(), AlreadyDefined("a", "/z"));
    SUrnResolver::RegisterURNsFromOptionString("c:/z");
    EXPECT_EQ(ReadText(MapFile()), "c:/z\n");
    EXPECT_EQ(Added(), "c:/z/;");
}

TEST_F(UrnTest, TellsOfAFileThatCantBeWritten) {
    SUrnResolver::RegisterUrn("memory", "urn:x");
    std::filesystem::remove(MapFile());
    std::filesystem::create_symlink("/dev/full", MapFile());
    const std::string full = "Error occured while writing to file :" + MapFile() + "\n";
    SUrnResolver::RegisterURNAndSaveURNMapFile("a", "/x");
    EXPECT_EQ(m_messages.Take(), full);
    EXPECT_EQ(Added(), "memory:urn:x/;") << "the map stays as it is";
    std::filesystem::remove(MapFile());
    std::filesystem::create_directory(MapFile());
    const std::string closed = "Can not open the file: " + MapFile() + "\n";
    SUrnResolver::RegisterURNAndSaveURNMapFile("a", "/x");
    EXPECT_EQ(m_messages.Take(), closed);
    EXPECT_EQ(Added(), "memory:urn:x/;") << "the map stays as it is";
    SUrnResolver::RegisterURNsFromOptionString("a:/x");
    EXPECT_EQ(m_messages.Take(), closed);
    EXPECT_EQ(Added(), "") << "the map is read anew";
    std::filesystem::remove(MapFile());
}

TEST_F(UrnTest, ChecksATargetAndTakesItAllTheSame) {
    WriteText(m_home / "file", "");
    std::filesystem::create_directory(m_home / "dir");
    std::filesystem::current_path(m_home.Path());
    const std::string missing = "target location not found: '@/none'. Error :'No such file or directory'.\n";
    const struct {
        const char* name;
        const char* target;
        bool added;
        const char* stored;
        std::string message;
    } rows[] = {
        {"n1", "@/dir/", true, "@/dir/", ""},
        {"n2", "@/none", true, "@/none/", "URN 'n2', " + missing},
        {"n3", "dir", true, "dir/", "URN 'n3', target location must be an absolute path: 'dir'.\n"},
        {"n4", "@/file", true, "@/file/", ""},
        {"n5", "c:/none", true, "c:/none/", ""},
        {"n1", "/x", false, "@/dir/", AlreadyDefined("n1", "@/dir/")},
        {"N1", "@/none", true, "@/none/", "URN 'N1', " + missing},
        {"n6", "", true, "",
         "URN 'n6', target location not found: ''. Error :'No such file or directory'.\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SUrnResolver::RegisterUrn(row.name, At(m_home, row.target)), row.added) << row.name;
        EXPECT_EQ(m_messages.Take(), At(m_home, row.message)) << row.name;
        EXPECT_EQ(Resolve("urn:" + SString(row.name) + ":"), At(m_home, row.stored)) << row.name;
    }
    EXPECT_TRUE(SUrnResolver::DoesUrnTargetExist("n", "/", true));
    EXPECT_TRUE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "dir/", false));
    EXPECT_FALSE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "none", false));
    EXPECT_EQ(m_messages.Take(), "");
    EXPECT_FALSE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "none/", true));
    EXPECT_EQ(m_messages.Take(), At(m_home,
                                    "URN 'n', target location not found: '@/none/'. Error :'No such "
                                    "file or directory'.\n"));
}

TEST_F(UrnTest, ResolvesAUrn) {
    SUrnResolver::RegisterURNsFromOptionString("mine:/home/mine;rel:a/../b;empty;drive:c:/x\nhttp:http://h");
    const struct {
        const char* urn;
        bool result;
        int status;
        const char* path;
    } rows[] = {
        {"urn:MINE:a/b.txt", true, 0, "/home/mine/a/b.txt"},
        {"urn:mine:", true, 0, "/home/mine/"},
        {"urn:mine:a:b", true, 0, "/home/mine/a:b"},
        {"urn:mine:a/../b", true, 0, "/home/mine/a/../b"},
        {"urn:mine:../b\\c", true, 0, "/home/mine/../b/c"},
        {"urn:mine:/a/../b", true, 0, "/home/mine//b"},
        {"urn:rel:x", true, 0, "a/../b/x"},
        {"urn:empty:f", true, 0, "f"},
        {"urn:drive:f", true, 0, "c:/x/f"},
        {"urn:http:f", true, 0, "http://h/f"},
        {"/a/../b", true, 1, "/a/../b"},
        {"c:/a", true, 1, "c:/a"},
        {"URN:mine:a", true, 1, "URN:mine:a"},
        {"", true, 1, ""},
        {"urn:mine", false, 2, "urn:mine"},
        {"urn:", false, 2, "urn:"},
        {"urn:NoSuch:x", false, 3, "urn:NoSuch:x"},
        {"urn::x", false, 3, "urn::x"},
    };
    for (const auto& row : rows) {
        SString path("?");
        SUrnResolver::SURNStatus status;
        EXPECT_EQ(SUrnResolver::ResolveUrn(row.urn, path, status), row.result) << row.urn;
        EXPECT_EQ(path, row.path) << row.urn;
        EXPECT_EQ(status, row.status) << row.urn;
        const std::string name = std::string(row.urn) == "urn::x" ? "" : "nosuch";
        EXPECT_EQ(m_messages.Take(),
                  row.status == 3
                      ? "The URN Name '" + name +
                            "' was not found. Please define it in ZEM->Options->General->URNMap.\n"
                      : "")
            << row.urn;
    }
    SString same("urn:mine:a");
    EXPECT_TRUE(SUrnResolver::ResolveUrn(same, same)) << "one object for both";
    EXPECT_EQ(same, "/home/mine/a");
}

TEST_F(UrnTest, CreatesAUrnOfTheFirstNameThatFits) {
    SUrnResolver::RegisterURNsFromOptionString(
        "z:/p;inner:/p/q;b:rel;empty;drive:c:/x;http:http://h;cwd:/usr/local");
    std::filesystem::current_path("/usr");
    const std::string longText = "/p/" + std::string(1100, 'x');
    const struct {
        std::string path, urn;
    } rows[] = {
        {"/p/q/a.txt", "urn:inner:a.txt"},  // by the order of the names
        {"/p/a/../b", "urn:z:b"},
        {"\\p\\a", "urn:z:a"},
        {"/p/", "urn:z:"},
        {"/p", "/p"},
        {"/pq/a", "/pq/a"},
        {"/p/..a", "/p/..a"},
        {"local/a", "urn:cwd:a"},
        {"../p/a", "../p/a"},
        {"c:\\x\\y", "urn:drive:y"},
        {"http://h/a?b", "urn:http:a?b"},
        {"/rel/a", "/rel/a"},
        {"urn:z:a", "urn:z:a"},
        {"reqix:/p/a", "reqix:/p/a"},
        {"ql:/p/a", "ql:/p/a"},
        {"", ""},
        {longText, longText},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Create(row.path), row.urn) << row.path;
    }
}

TEST_F(UrnTest, StoresThePathOfADocument) {
    SUrnResolver::RegisterURNsFromOptionString("lib:/lib/parts");
    std::filesystem::current_path("/usr");
    const std::string longText(1100, 'x');
    const struct {
        std::string base, path, stored, absolute;
    } rows[] = {
        {"/p/doc.x", "/p/sub/a", "sub/a", "/p/sub/a"},
        {"/p/doc.x", "/p/doc.x/../b", "b", "/p/b"},
        {"/p/doc.x", "/p/doc.x", "doc.x", "/p/doc.x"},
        {"/lib/parts/doc", "/lib/parts/a", "a", "/lib/parts/a"},
        {"/p/doc.x", "/lib/parts/a", "urn:lib:a", "urn:lib:a"},
        {"/lib/parts/doc", "/lib/parts/", "urn:lib:", "urn:lib:"},
        {"/p/q/doc.x", "/p/r/a", "../r/a", "/p/r/a"},
        {"/p/doc.x", "/p/", "", "/p/"},
        {"/p/doc.x", "a", "../usr/a", "/usr/a"},
        {"doc.x", "/usr/a", "a", "/usr/a"},
        {"doc.x", "/p/a", "/p/a", "/p/a"},  // no way up from a document that isn't absolute
        {"c:\\p\\doc.x", "c:\\p\\a", "a", "c:/p/a"},
        {"/usr/doc.x", "c:/p/a", "c:/p/a", "c:/p/a"},
        {"/p/doc.x", "urn:lib:b", "urn:lib:b", "urn:lib:b"},
        {"/p/doc.x", "reqix:1", "reqix:1", "reqix:1"},
        {"/p/doc.x", "ql:1", "ql:1", "ql:1"},
    };
    for (const auto& row : rows) {
        SString result("?");
        SUrnResolver::CreateRelativePath(row.base, row.path, result);
        EXPECT_EQ(result, row.stored) << row.base << " " << row.path;
        SUrnResolver::CreateAbsolutePath(row.base, result, result);
        const bool drive = row.base[0] == 'c';
        EXPECT_EQ(result, drive ? "/usr/" + row.absolute : row.absolute) << row.base << " " << row.path;
    }
    SString result("?");
    SUrnResolver::CreateRelativePath("/p/doc.x", longText, result);
    EXPECT_EQ(result, longText);
}

// All paths of one to three steps from `start`.
std::vector<std::string> PathsFrom(const std::string& start) {
    const std::vector<std::string> steps{"a", "b.c", "..", "\xC3\xBC x"};
    std::vector<std::string> paths{start};
    size_t first = 0;
    for (int length = 1; length <= 3; ++length) {
        const size_t end = paths.size();
        for (; first < end; ++first) {
            const std::string path = paths[first];
            const bool needsSeparator = !path.empty() && path.back() != '/';
            for (const std::string& step : steps) {
                paths.push_back(path + (needsSeparator ? "/" : "") + step);
            }
        }
    }
    paths.erase(paths.begin());
    return paths;
}

// The file that a path names, told without the library's help.
std::string File(const std::string& path) {
    std::string file = std::filesystem::absolute(path).lexically_normal();
    if (file.back() == '/') {
        file.pop_back();
    }
    return file;
}

TEST_F(UrnTest, BringsEachFileBack) {
    // Deep enough that no path climbs to the root, which has no text in normal form.
    std::filesystem::create_directories(m_home / "a/b/work");
    std::filesystem::current_path(m_home / "a/b/work");
    const std::string work = std::filesystem::current_path();
    SUrnResolver::RegisterURNsFromOptionString("m:" + work + "/one;n:" + work + "/one/two;d:c:/d/e");
    size_t urns = 0;
    size_t files = 0;
    for (const std::string& start : {work + "/one/x", work + "/one/two", work + "/", std::string(),
                                     std::string(".."), std::string("c:/d/e/f/g")}) {
        for (const std::string& path : PathsFrom(start)) {
            ++files;
            const std::string urn = Create(path);
            urns += VynIsAUrn(urn.c_str());
            EXPECT_EQ(File(Resolve(urn)), File(path)) << path << " as " << urn;
            for (const std::string& base : {work + "/doc", work + "/one/doc", work + "/one/two/q/doc",
                                            std::string("/elsewhere/doc"), std::string("c:/d/doc")}) {
                SString stored;
                SString absolute;
                SUrnResolver::CreateRelativePath(base, path, stored);
                SUrnResolver::CreateAbsolutePath(base, stored, absolute);
                EXPECT_EQ(File(Resolve(absolute)), File(path)) << path << " as " << stored << " in " << base;
            }
        }
    }
    EXPECT_EQ(files, 6u * 84);
    EXPECT_GT(urns, files / 3);
}

TEST_F(UrnTest, ExpandsInPaths) {
    SUrnResolver::RegisterURNsFromOptionString("mine:/m;long:/" + std::string(1000, 'x'));
    EXPECT_STREQ(filename_expand("urn:mine:$(HOME)/~"), "/m/$(HOME)/~");
    EXPECT_STREQ(filename_expand(filename_expand("urn:mine:x")), "/m/x");
    EXPECT_STREQ(filename_expand("c:/$(HOME)"), "c:/$(HOME)");
    EXPECT_STREQ(filename_expand("http://$(HOME)"), "http://$(HOME)");
    EXPECT_EQ(m_messages.Take(), "");
    EXPECT_EQ(filename_expand("urn:nosuch:$(HOME)"), "urn:nosuch:" + m_home.Path());
    EXPECT_NE(m_messages.Take(), "");
    EXPECT_EQ(filename_expand("urn:bad$(HOME)"), "urn:bad" + m_home.Path());
    EXPECT_STREQ(filename_expand("kept"), "kept");
    errno = 0;
    EXPECT_STREQ(filename_expand("urn:long:0123456789012345678901"), "kept") << "1024 bytes";
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    EXPECT_EQ(strlen(filename_expand("urn:long:012345678901234567890")), 1023u);
    EXPECT_EQ(errno, 0);
    SPathName path("urn:mine:a");
    path.MakeAbsolutePath();
    EXPECT_EQ(path, "/m/a");
}

TEST_F(UrnTest, SpeaksByItsOwnTable) {
    char anything;
    const auto module = reinterpret_cast<HINSTANCE>(&anything);
    SStringTable foreign(module);
    for (unsigned id = 1; id <= 16; ++id) {
        foreign.Add(id, "foreign");
    }
    VynDllHrscState current(module);
    std::filesystem::current_path(m_home.Path());
    SString path;
    SVector<SString> errors;
    std::filesystem::remove(MapFile());
    SUrnResolver::RegisterURNsWithoutOptions();
    EXPECT_EQ(m_messages.Take(), "Failed to open '" + MapFile() + "' for read.\n");
    SUrnResolver::RegisterUrn("rel", "Ostrel");
    EXPECT_EQ(m_messages.Take(), "URN 'rel', target location must be an absolute path: 'Ostrel'.\n");
    SUrnResolver::ResolveUrn("urn:nosuch:", path);
    EXPECT_EQ(m_messages.Take(),
              "The URN Name 'nosuch' was not found. Please define it in ZEM->Options->General->URNMap.\n");
    SUrnResolver::RegisterUrn("rel", "/");
    EXPECT_EQ(m_messages.Take(), AlreadyDefined("rel", "Ostrel/"));
    SUrnResolver::DoesUrnTargetExist("n", "/none", true);
    EXPECT_EQ(m_messages.Take(),
              "URN 'n', target location not found: '/none'. Error :'No such file or directory'.\n");
    EXPECT_EQ(m_messages.m_current, VynhDllInstance);
    EXPECT_EQ(SUri.OpenRead(errors, "/none"), nullptr);
    EXPECT_EQ(SUri.OpenWrite(errors, "/none/x"), nullptr);
    EXPECT_EQ(errors,
              (SVector<SString>{"Failed to open '/none' for read.", "Failed to open '/none/x' for write."}));
    EXPECT_EQ(VynGetResourceHandle(), module);
}

}  // namespace
}  // namespace vyn
