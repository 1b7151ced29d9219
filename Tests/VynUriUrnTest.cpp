// The URN map and the resolver.

#include "Platform.h"
#include "RunProbe.h"
#include "VynExplainUrn.h"
#include "VynRes.h"

namespace vyn::test {
namespace {

// A home of its own, in which the map is read anew from an empty file. The current module has other texts under
// the numbers of the messages.
class UrnTest : public testing::Test {
protected:
    UrnTest() {
        setenv("HOME", m_home.Path().c_str(), 1);
        SUrnResolver::RegisterURNsFromOptionString("");
        for (unsigned id = 1; id <= 16; ++id) {
            m_foreign.Add(id, "foreign");
        }
    }
    void TearDown() override { EXPECT_EQ(VynGetResourceHandle(), m_module); }

    std::string MapFile() const { return m_home / "Ostrel/Halcyne/Shared/urnmap.txt"; }
    std::string WriteError() const { return "Error occured while writing to file :" + MapFile() + "\n"; }

    // The map without the predefined names, which stand together.
    static std::string Added() {
        SString map;
        SUrnResolver::EncodeUrnMap(map);
        const size_t end = map.find(';', map.find("k4zemprojects:"));
        return map.substr(0, map.find("k4:")) + (end == map.npos ? "" : map.substr(end + 1));
    }

    static std::string Resolve(const SString& urn) {
        SString path(urn);
        SUrnResolver::ResolveUrn(path, path);  // one object for both
        return path;
    }

    // One for all tests, since the environment keeps each path that was set.
    static inline TemporaryDirectory m_home;
    const HINSTANCE m_module = reinterpret_cast<HINSTANCE>(this);
    SStringTable m_foreign{m_module};
    VynDllHrscState m_current{m_module};
    Reports m_reports;
};

const char* const kNotFound =
    "The URN Name 'nosuch' was not found. Please define it in ZEM->Options->General->URNMap.\n";

std::string AlreadyDefined(const std::string& name, const std::string& target) {
    return "The URN name '" + name + "' is already defined to '" + target +
           "'. Please check environment variable ZEM_URN_MAP_FILE and ZEM->Options->General->URNMap.\n";
}

TEST(UrnMapAtLoad, HasSixNamesAndThoseOfTheVariablesFile) {
    TemporaryDirectory directory;
    const std::string own = "@/Ostrel/Halcyne/Shared/urnmap.txt", ownPath = At(directory, own);
    std::filesystem::create_directories(directory / "Ostrel/Halcyne/Shared");
    WriteText(ownPath, "old:/old\n");
    WriteText(directory / "users.txt", "a:/x\r\nb:/y/\r\nK4:/mine\nk4user:/z\n");
    mkfifo((directory / "fifo").c_str(), 0600);
    WriteText(directory / "huge", "");
    std::filesystem::resize_file(directory / "huge", 16 * 1024 * 1024 + 1);
    const auto check = [&](const auto& environment, const char* arguments, const auto& out, const auto& err) {
        const ProbeResult result = RunProbe(directory, environment, std::string("Probe urnmap ") + arguments);
        EXPECT_EQ(std::tuple(result.out, result.err, result.status),
                  std::tuple(At(directory, out), At(directory, err), 0));
    };
    const std::string k4 = "k4:" + SString(VynGetInstallationRoot()) + "/;", variable = "\nZEM_URN_MAP_FILE=";
    const std::string atHome =
        "k4companyaddins:@/Ostrel/Halcyne/Shared/CompanyAddins/;"
        "k4teamaddins:@/Ostrel/Halcyne/Shared/TeamAddins/;k4user:@/Ostrel/Halcyne/Zem/4.3/;"
        "k4useraddins:@/Ostrel/Halcyne/Zem/4.3/addins/;k4zemprojects:@/My Projects/";
    const std::string nowhere =
        k4 + "k4companyaddins:;k4teamaddins:;k4user:;k4useraddins:addins/;k4zemprojects:" + variable + "(unset)\n";
    check("HOME=@", "-", k4 + atHome + variable + "(unset)\n" + k4 + atHome + ";old:/old/" + variable + own + "\n", "");
    check("ZEM_USER_ADDINS_DIR=", "a:/x", nowhere + nowhere, "");
    for (const std::string file : {"@/missing", "/dev/zero", "@/fifo", "@/huge"}) {
        check("HOME=@ ZEM_URN_MAP_FILE=" + file, "", k4 + atHome + variable + file + "\n",
              "Failed to open '" + file + "' for read.\n");
    }
    // The option string takes the place of the user's file, for good.
    const std::string optional = k4 + atHome + ";n:/n/;o:/o/" + variable + own + "\n";
    check("HOME=@ ZEM_URN_MAP_FILE=@/users.txt", "'n:/n;o:/o' -",
          "a:/x/;b:/y/;k4:/mine/;" + atHome + variable + "@/users.txt\n" + optional + optional,
          AlreadyDefined("k4user", "/z"));
    EXPECT_EQ(ReadText(ownPath), "n:/n\no:/o\n");
}

TEST(UrnMapAtLoad, IsEmptyBeforeAndAfter) {
    TemporaryDirectory directory;
    const ProbeResult result = RunProbe(directory, "HOME=@", "Probe states");
    EXPECT_EQ(result.out,
              "before: k4 is unknown, early is known, /x, capabilities 0, file not opened, handle before\n"
              "main: k4 is known, early is unknown, urn:early:x, capabilities 131, file opened, handle own\n"
              "end: k4 is unknown, early is known, /x, capabilities 131, file opened, handle before\n");
    EXPECT_EQ(result.status, 0);
}

TEST(UrnList, EndsAtAnEmptyEntry) {
    const Rows<const char*, std::vector<SString>> rows = {{"", {}},
                                                          {"a:/x;b:/y\nc:/z", {"a:/x", "b:/y", "c:/z"}},
                                                          {"a:/x\n\nb:/y;c:/z", {"a:/x", "\nb:/y;c:/z"}},
                                                          {";", {";"}},
                                                          {"  a:/x  ; ;  b:", {"a:/x  ", "b:"}}};
    for (const auto& [text, expectedEntries] : rows) {
        std::vector<SString> entries;
        SUrnResolver::DecodeUrnMap(text, entries);
        EXPECT_EQ(entries, expectedEntries) << text;
    }
}

TEST_F(UrnTest, ReadsItsFile) {
    const std::string most(1022, 'x');
    const Rows<std::string, std::string, std::string> rows = {
        {"A:/x\r\n  b:\\y\\..\\z  \n", "a:/x/;b:/z  /;", ""},
        {"mine:c:/x\nscheme:http://h/a", "mine:c:/x/;scheme:http://h/a/", ""},
        {"mine\n:/x:y\n", ":/x:y:;mine:", ""},
        {"a:/x\na:/y\nA:/z\na:/w\n", "a:/z/;", AlreadyDefined("a", "/y") + AlreadyDefined("a", "/w")},
        {"a:/x\n\nb:/y\nc:/z\n", "\nb:/y\nc:/z\n/;a:/x/;", ""},
        {std::string("a:\0/x\0\n", 8), "a:/x/;", ""},
        {"a:/x\nb:/" + most, "a:/x/;", "File name too long: /" + most + "\n"},
        {"K4USER:/x\n", "", ""}};
    for (const auto& [file, map, messages] : rows) {
        WriteText(MapFile(), file);
        SUrnResolver::RegisterURNsWithoutOptions();
        EXPECT_EQ(std::pair(Added(), m_reports.Take()), std::pair(map, messages)) << file;
    }
    EXPECT_EQ(Resolve("urn:k4user:a"), "/x/a") << "a capital name takes the place of a predefined one";
    EXPECT_FALSE(SUrnResolver::CanUrnBeOverridden("K4USER:/x"));
    EXPECT_TRUE(SUrnResolver::CanUrnBeOverridden(":k4"));
}

TEST_F(UrnTest, AppendsAnEntryToItsFile) {
    WriteText(MapFile(), "a:/x\nopen:/o");
    std::string file = "a:/x\nopen:/o\n";
    const Rows<const char*, const char*, const char*> rows = {
        {"N", "/n", "N:/n\n"}, {"a", "/z", "a:/z\n"}, {"x:y", "/x", ""}, {"x", "/x;y", ""}, {"x\n", "/x", ""}};
    for (const auto& [name, target, added] : rows) {
        m_reports.Take();
        SUrnResolver::RegisterURNAndSaveURNMapFile(name, target);
        EXPECT_EQ(ReadText(MapFile()), file += added) << name;
        EXPECT_EQ(m_reports.Take() == WriteError(), !*added) << name;
    }
    EXPECT_EQ(Added(), "a:/x/;n:/n/;open:/o/");
}

TEST_F(UrnTest, KeepsItsFileWhenTheDiskIsFull) {
    const std::string lines = "old:/old\nolder:/older\n";
    WriteText(MapFile(), lines);
    SUrnResolver::RegisterURNsWithoutOptions();
    SUrnResolver::RegisterUrn("memory", "urn:x");
    {
        const FullDisk full(10);
        SUrnResolver::RegisterURNAndSaveURNMapFile("a", "/x");
        EXPECT_EQ(Added(), "memory:urn:x/;old:/old/;older:/older/") << "the map stays as it is";
        SUrnResolver::RegisterURNsFromOptionString("a:/x;b:/y;c:/z");
    }
    EXPECT_EQ(m_reports.Take(), WriteError() + WriteError());
    EXPECT_EQ(Added(), "old:/old/;older:/older/") << "the map is read anew";
    EXPECT_EQ(ReadText(MapFile()), lines);
}

TEST_F(UrnTest, TellsOfAFileThatItCantUse) {
    const std::string unread = "Failed to open '" + MapFile() + "' for read.\n";
    std::filesystem::remove(MapFile());
    SUrnResolver::RegisterURNsWithoutOptions();
    EXPECT_EQ(m_reports.Take(), unread);
    SUrnResolver::RegisterURNAndSaveURNMapFile("a", "/x");
    EXPECT_EQ(m_reports.Take() + Added(), "a:/x/;") << "the first entry makes the file";
    std::filesystem::remove(MapFile());
    std::filesystem::create_directory(MapFile());
    SUrnResolver::RegisterURNsFromOptionString("a:/x");
    EXPECT_EQ(m_reports.Take() + Added(), "Can not open the file: " + MapFile() + "\n" + unread) << "and read anew";
    std::filesystem::remove(MapFile());
}

TEST_F(UrnTest, ChecksATargetAndTakesItAllTheSame) {
    std::filesystem::create_directory(m_home / "dir");
    WriteText(m_home / "file", "");
    std::filesystem::current_path(m_home.Path());
    const auto missing = [](const std::string& name, const std::string& target) {
        return "URN '" + name + "', target location not found: '" + target + "'. Error :'No such file or directory'.\n";
    };
    const Rows<const char*, const char*, bool, const char*, std::string> rows = {
        {"n1", "@/dir/", true, "@/dir/", ""},
        {"n2", "@/none", true, "@/none/", missing("n2", "@/none")},
        {"n3", "dir", true, "dir/", "URN 'n3', target location must be an absolute path: 'dir'.\n"},
        {"n4", "@/file/", true, "@/file/", ""},
        {"n5", "c:/none", true, "c:/none/", ""},
        {"n1", "/x", false, "@/dir/", AlreadyDefined("n1", "@/dir/")},
        {"n6", "", true, "", missing("n6", "")},
        {"%1%2%3", "%3/%s", true, "%3/%s/", missing("%1%2%3", "%3/%s")}};
    for (const auto& [name, target, added, stored, message] : rows) {
        EXPECT_EQ(SUrnResolver::RegisterUrn(name, At(m_home, target)), added) << name;
        EXPECT_EQ(m_reports.Take(), At(m_home, message)) << name;
        EXPECT_EQ(Resolve("urn:" + SString(name) + ":"), At(m_home, stored)) << name;
    }
    EXPECT_FALSE(SUrnResolver::RegisterUrn("n:x", "/x"));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(SUrnResolver::RegisterUrn("n7", "/" + std::string(1022, 'x')));
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_FALSE(SUrnResolver::IsUrnRegistered("n:x") || SUrnResolver::IsUrnRegistered("n7"));
    m_reports.Take();
    EXPECT_TRUE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "dir/", true));
    EXPECT_FALSE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "file", true));
    EXPECT_FALSE(SUrnResolver::DoesUrnMappedExist("n:" + m_home / "none", false));
    EXPECT_EQ(m_reports.Take(), "");
}

TEST_F(UrnTest, ResolvesAUrn) {
    SUrnResolver::RegisterURNsFromOptionString("mine:/home/mine;rel:a/../b;empty");
    const std::string most(1023, 'x');
    const Rows<std::string, int, std::string> rows = {{"urn:MINE:a/b:c", 0, "/home/mine/a/b:c"},
                                                      {"urn:mine:../b\\c", 0, "/home/mine/../b/c"},
                                                      {"urn:mine:/a/../b", 0, "/home/mine//b"},
                                                      {"urn:rel:x", 0, "a/../b/x"},
                                                      {"urn:empty:f", 0, "f"},
                                                      {"/a/../b", 1, "/a/../b"},
                                                      {"URN:mine:a", 1, "URN:mine:a"},
                                                      {"urn:mine", 2, "urn:mine"},
                                                      {"urn:NoSuch:x", 3, "urn:NoSuch:x"},
                                                      {"urn:mine:" + most, 0, "/home/mine/" + most},
                                                      {"urn:mine:x" + most, 2, "urn:mine:x" + most}};
    for (const auto& [urn, expectedStatus, expectedPath] : rows) {
        SString path("?");
        SUrnResolver::SURNStatus status;
        EXPECT_EQ(SUrnResolver::ResolveUrn(urn, path, status), expectedStatus < 2) << urn;
        EXPECT_EQ(std::tuple(path, status), std::tuple(expectedPath, expectedStatus)) << urn;
        EXPECT_EQ(m_reports.Take(), expectedStatus == 3 ? kNotFound : "") << urn;
    }
    EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(UrnTest, CreatesAUrnOfTheFirstNameThatFits) {
    SUrnResolver::RegisterURNsFromOptionString("z:/p;inner:/p/q;empty;drive:c:/x;cwd:/usr/local;aside:local");
    std::filesystem::current_path("/usr/local");
    const Rows<const char*, std::vector<const char*>> rows = {
        {"urn:inner:a.txt", {"/p/q/a.txt"}},
        {"urn:z:b", {"/p/a/../b", "\\p\\b", "urn:z:b"}},
        {"urn:z:", {"/p/"}},
        {"urn:cwd:local/a", {"local/a"}},
        {"urn:drive:y", {"c:\\x\\y"}},
        {"", {"/p", "/p/..a", "//server/a", "reqix:/p/a", "ql:/p/a", ""}}};
    for (const auto& [expected, paths] : rows) {
        for (const char* path : paths) {
            SString urn("?");
            SUrnResolver::CreateUrn(path, urn);
            EXPECT_EQ(urn, *expected ? expected : path);
        }
    }
}

TEST_F(UrnTest, StoresThePathOfADocument) {
    SUrnResolver::RegisterURNsFromOptionString("lib:/lib/parts");
    std::filesystem::current_path("/usr");
    const std::string tooLong = "/" + std::string(1024, 'x'), fits = "/" + std::string(1000, 'x');
    const std::string deep = "/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/d/";
    const Rows<std::string, std::string, std::string, std::string> rows = {
        {"/p/doc.x", "/p/sub/a", "sub/a", "/p/sub/a"},
        {"/p/doc.x", "/p/doc.x/../b", "b", "/p/b"},
        {"/lib/parts/doc", "/lib/parts/a", "a", "/lib/parts/a"},
        {"/p/doc.x", "/lib/parts/a", "urn:lib:a", "urn:lib:a"},
        {"/p/doc.x", "/p/", "", "/p/"},
        {"/lib/parts/doc", "/lib/parts/", "urn:lib:", "urn:lib:"},
        {"/p/doc.x", "a", "../usr/a", "/usr/a"},
        {"doc.x", "/usr/a", "a", "/usr/a"},
        {"doc.x", "/p/a", "/p/a", "/p/a"},  // no way up from a document that isn't absolute
        {"c:\\p\\doc.x", "c:\\p\\a", "a", "c:/p/a"},
        {"/usr/doc.x", "c:/p/a", "c:/p/a", "c:/p/a"},
        {"/p/doc.x", "urn:lib:b", "urn:lib:b", "urn:lib:b"},
        {"/p/doc.x", tooLong, tooLong, tooLong},
        {tooLong, "/p/a", "/p/a", "/p/a"},
        {deep + "doc.x", fits, fits, fits}};
    for (const auto& [base, path, stored, absolute] : rows) {
        SString result("?");
        SUrnResolver::CreateRelativePath(base, path, result);
        EXPECT_EQ(result, stored) << base << " " << path;
        SUrnResolver::CreateAbsolutePath(base, result, result);
        EXPECT_EQ(result, (base[0] == 'c' ? "/usr/" : "") + absolute) << base << " " << path;
    }
}

TEST_F(UrnTest, ExplainsEachEntryOfAName) {
    const std::string user = VynGetUserDir(), tooLong(1023, 'x');
    WriteText(MapFile(), "a:/x\na:/y\nA:/z\nk4user:/u\nlong:" + tooLong + "\n");
    SUrnResolver::RegisterURNsWithoutOptions();
    SUrnResolver::RegisterUrn("a", "/w");
    SUrnResolver::RegisterUrn("B", "urn:");
    m_reports.Take();
    const Rows<const char*, int, std::string, std::vector<std::string>> rows = {
        {"urn:A:f", 0, "/z/f", {"1 a /x 2", "1 a /y 1", "1 A /z 0", "2 a /w 1"}},
        {"urn:b:", 0, "urn:/", {"2 B urn: 0"}},
        {"urn:k4user:f", 0, Resolve("urn:k4user:f"), {"0 k4user " + user + " 0", "1 k4user /u 1"}},
        {"urn:long:f", 3, "urn:long:f", {"1 long " + tooLong + " 3"}},
        {"urn:none:f", 3, "urn:none:f", {}},
        {"urn:a", 2, "urn:a", {}}};
    for (const auto& [urn, status, path, expectedEntries] : rows) {
        const SUrnExplanation explanation = ExplainUrn(urn);
        EXPECT_EQ(std::tuple(explanation.status, explanation.path), std::tuple(status, path)) << urn;
        std::vector<std::string> entries;
        for (const SUrnEntry& entry : explanation.entries) {
            EXPECT_EQ(entry.file, entry.source == eUrnFile ? MapFile() : "") << urn;
            entries.push_back(std::to_string(entry.source) + " " + entry.name + " " + entry.target + " " +
                              std::to_string(entry.fate));
        }
        EXPECT_EQ(entries, expectedEntries) << urn;
    }
    EXPECT_EQ(m_reports.Take(), "");
}

TEST_F(UrnTest, ResolvesBeneathTheTarget) {
    const std::string root = m_home / "beneath";
    std::filesystem::create_directories(root + "/sub/deep");
    std::filesystem::create_directories(root + "er");
    const Rows<std::string, std::string> links = {
        {"in", "./sub/deep"}, {"out", m_home.Path()}, {"gone", "../nowhere"}, {"loop", "loop"}, {"back", root}};
    for (const auto& [name, to] : links) {
        std::filesystem::create_symlink(to, root + "/" + name);
    }
    SUrnResolver::RegisterURNsFromOptionString("r:" + root + ";link:" + root + "/in;empty;all:/;rel:sub");
    std::filesystem::current_path(root);
    const std::pair<int, std::vector<const char*>> rows[] = {
        {0,
         {"urn:r:", "urn:r:sub/new/x", "urn:r:sub/../sub", "urn:r:../beneath", "urn:r:in/..", "urn:r:out/beneath/sub",
          "urn:r:back/sub", "urn:link:x", "urn:all:etc/..", "urn:rel:x"}},
        {EXDEV,
         {"urn:r:..", "urn:r:none/../..", "urn:r:../beneather", "urn:r:in/../../..", "urn:r:out", "urn:r:gone",
          "urn:link:..", "urn:rel:../x"}},
        {EINVAL, {"urn:empty:x", "urn:r", "/x"}},
        {ENOENT, {"urn:nosuch:x"}},
        {ELOOP, {"urn:r:loop/x"}}};
    for (const auto& [error, urns] : rows) {
        for (const char* urn : urns) {
            SString path(urn);
            EXPECT_EQ(ResolveUrnBeneath(path, path), error == 0) << urn;
            EXPECT_EQ(errno, error) << urn;
            EXPECT_EQ(path, error == 0 ? Resolve(urn) : urn);
        }
    }
}

TEST_F(UrnTest, KeepsTheCurrentModuleWhileAThreadOpens) {
    SVector<SString> errors;
    std::atomic<bool> opened{false};
    std::thread other([&] {
        while (errors.size() < 5000) {
            SUri.OpenRead(errors, "/none");
            SUri.OpenWrite(errors, "/none/x");
        }
        opened = true;
    });
    while (!opened && VynGetResourceHandle() == m_module) {
    }
    EXPECT_TRUE(opened);
    other.join();
    EXPECT_EQ(errors[4998] + errors[4999], "Failed to open '/none' for read.Failed to open '/none/x' for write.");
}

}  // namespace
}  // namespace vyn::test
