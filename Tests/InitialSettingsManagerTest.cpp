#include "InitialSettingsManager.h"

#include <sys/file.h>

#include "TestSupport.h"
#include "VynOptionTables.h"

namespace vyn::test {

const std::string kUser = "Ostrel/Halcyne/Shared/", kShared = "all/tools/Shared/";
const std::string kBoth = kUser + "user.zop " + kShared + "company.zop ";

// Gives each test a user, shared directories and a current directory of its own.
class PredefinedFiles : public testing::Test {
protected:
    PredefinedFiles() {
        setenv("HOME", m_directory.Path().c_str(), 1);
        setenv("ZROOT", (m_directory / "all").c_str(), 1);
        std::filesystem::create_directories(m_user);
        std::filesystem::create_directories(m_shared);
        std::filesystem::current_path(m_directory.Path());
    }
    // Loads the files into a new manager. Gives the paths of the stack, from the current directory.
    std::string Load() {
        m_manager = std::make_unique<Manager>();
        m_manager->LoadPredefinedOptionFiles();
        std::string text;
        for (void* pos = m_manager->GetFirstFilePosition(); pos;) {
            text += std::filesystem::proximate(m_manager->GetNextFile(pos)->GetPathName()).string() + " ";
        }
        return text;
    }
    void WriteList(const std::string& list) {
        WriteText(m_shared + "/init.zop", "[Initial/Predefined]\"OptionFiles\"=\"" + list + "\"");
    }

    TemporaryDirectory m_directory;
    const std::string m_user = m_directory / "Ostrel/Halcyne/Shared";
    const std::string m_shared = m_directory / "all/tools/Shared";
    std::unique_ptr<Manager> m_manager;
};

TEST_F(PredefinedFiles, AreMadeEmptyWhereThereAreNone) {
    EXPECT_EQ(Load(), kBoth);
    EXPECT_TRUE(std::filesystem::exists(m_shared + "/init.zop"));
    EXPECT_EQ(m_manager->IsPredefinedOptionFilesLoaded(), 1);
    m_manager->SetValue("Editor", "Name", "mine");
    m_manager->SaveAllFiles();
    EXPECT_EQ(ReadText(m_user + "/user.zop"), "\n[Editor]\n\n\"Name\"=\"mine\" \n");
}

TEST_F(PredefinedFiles, ComeFromTheListInTheirOrder) {
    const std::string absolute = m_directory / "abs.zop";
    const Rows<std::string, std::string> rows = {
        {absolute + ";b.zop;" + absolute, "abs.zop " + kShared + "b.zop abs.zop "},
        {"a.zop;" + absolute + ";sub/c.zop", kUser + "a.zop abs.zop "},  // the folder of the last one isn't there
        {";;a.zop;;b.zop;", kUser + "a.zop " + kShared + "b.zop "},
        {"", ""},
        {std::string(1024, 'x'), ""}};
    for (const auto& [list, stack] : rows) {
        WriteList(list);
        errno = 0;
        EXPECT_EQ(Load(), stack) << list;
        EXPECT_EQ(errno == ERANGE, list.size() >= 1024) << list;
    }
}

TEST_F(PredefinedFiles, MalformedOnesGiveWayToEmptyOnes) {
    WriteText(m_shared + "/init.zop", "[Initial/Predefined] nonsense");
    WriteText(m_user + "/user.zop", "[Editor]\"Name\"=\"lost\" stray");
    WriteText(m_user + "/user.zop.bad", "lost before");
    EXPECT_EQ(Load(), kBoth);
    EXPECT_EQ(ReadText(m_user + "/user.zop.bad2"), "[Editor]\"Name\"=\"lost\" stray") << "nothing is lost";
    EXPECT_EQ(ReadText(m_user + "/user.zop.bad"), "lost before");
    EXPECT_EQ(ReadText(m_shared + "/init.zop"), "[Initial/Predefined] nonsense");
}

TEST_F(PredefinedFiles, LeaveAloneWhatIsNotTheUsersOrCannotBeRead) {
    const std::string beside = m_user + "2/x.zop", company = m_shared + "/company.zop", link = m_user + "/link.zop";
    std::filesystem::create_directory(m_user + "2");
    std::filesystem::create_directory(m_user + "/dir.zop");
    std::filesystem::create_symlink(beside, link);
    for (const std::string& path : {beside, company}) {
        WriteText(path, "[Editor] stray");
    }
    WriteList("dir.zop;company.zop;" + beside + ";" + link);
    EXPECT_EQ(Load(), "");
    for (const std::string& path : {beside, company, link}) {
        EXPECT_EQ(ReadText(path), "[Editor] stray") << path;
    }
    EXPECT_TRUE(std::filesystem::is_directory(m_user + "/dir.zop"));
}

TEST_F(PredefinedFiles, StayWhenAnotherProcessMendsThem) {
    const std::string path = m_user + "/user.zop", mended = m_user + "/mended";
    WriteText(path, "[Editor] stray");
    WriteText(mended, "[Editor]\"Name\"=\"n\"");
    const int directory = open(m_user.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    const Interruptions mend([&] {
        rename(mended.c_str(), path.c_str());
        close(directory);
    });
    Load();
    EXPECT_EQ(ReadText(path), "[Editor]\"Name\"=\"n\"");
    EXPECT_FALSE(std::filesystem::exists(path + ".bad"));
}

TEST_F(PredefinedFiles, NeedTheUsersDirectory) {
    unsetenv("HOME");
    EXPECT_EQ(Load(), "");
    EXPECT_FALSE(std::filesystem::exists(m_shared + "/init.zop"));
}

TEST_F(PredefinedFiles, LieInTheCurrentDirectoryWithoutASharedOne) {
    unsetenv("ZROOT");
    EXPECT_EQ(Load(), kUser + "user.zop company.zop ");
    SPathName path("unchanged");
    GetInitialOptionsPath(path);
    EXPECT_EQ(path, "unchanged");
}

TEST_F(PredefinedFiles, AreAddedByTheVirtualOperation) {
    struct Recorder : Manager {
        COptionFile* AddOptionFile(SPathName path) override {
            names += std::string(path.GetTail()) + " ";
            return nullptr;
        }
        std::string names;
    };
    WriteText(m_user + "/user.zop", "[Editor]");
    Recorder manager;
    manager.LoadPredefinedOptionFiles();
    EXPECT_EQ(manager.names, "user.zop company.zop company.zop ") << "one is tried again when empty";
    EXPECT_EQ(ReadText(m_user + "/user.zop"), "[Editor]") << "a sound one isn't set aside";
}

TEST(OptionDescriptionList, FitsWithOneHit) {
    Manager manager;
    COptionDescriptionList list;
    EXPECT_EQ(list.IsCompatibleWith(&manager), 1);
    list.AddTail(new COptionDescription("Editor", "None"));
    EXPECT_EQ(list.IsCompatibleWith(&manager), 0);
    list.AddTail(new COptionDescription("Editor/Text", "Font"));
    EXPECT_EQ(list.IsCompatibleWith(&manager), 1);
    EXPECT_EQ(list.FindOption("Editor/Text/Font"), 1);
    EXPECT_EQ(list.FindOption("editor/Text/Font"), 0);
    list.Empty();
    EXPECT_EQ(list.GetCount(), 0);
}

}  // namespace vyn::test
