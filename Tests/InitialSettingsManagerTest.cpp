#include "InitialSettingsManager.h"

#include <sys/file.h>

#include "TestSupport.h"
#include "VynOptionTables.h"

namespace vyn::test {

// Gives each test a user and a set of shared directories of its own.
class PredefinedFiles : public testing::Test {
protected:
    PredefinedFiles() {
        setenv("HOME", m_directory.Path().c_str(), 1);
        setenv("ZROOT", m_allUsers.c_str(), 1);
        std::filesystem::create_directories(m_user);
        std::filesystem::create_directories(m_shared);
    }
    // The files of the stack as the text of their paths, with the two directories as U and S.
    std::string Stack(const COptionManager& manager) {
        std::string text;
        for (void* pos = manager.GetFirstFilePosition(); pos;) {
            std::string path = manager.GetNextFile(pos)->GetPathName();
            for (const auto& [directory, letter] :
                 {std::pair(m_user, "U"), std::pair(m_shared, "S"), std::pair(m_directory.Path(), "D")}) {
                if (path.compare(0, directory.size(), directory) == 0) {
                    path.replace(0, directory.size(), letter);
                }
            }
            text += path + " ";
        }
        return text;
    }
    void WriteList(const std::string& list) {
        WriteText(m_shared + "/init.zop", "[Initial/Predefined]\"OptionFiles\"=\"" + list + "\"");
    }

    TemporaryDirectory m_directory;
    const std::string m_allUsers = m_directory / "all";
    const std::string m_user = m_directory / "Ostrel/Halcyne/Shared";
    const std::string m_shared = m_allUsers + "/tools/Shared";
};

TEST_F(PredefinedFiles, AreMadeEmptyWhereThereAreNone) {
    Manager manager;
    manager.LoadPredefinedOptionFiles();
    EXPECT_EQ(Stack(manager), "U/user.zop S/company.zop ");
    EXPECT_TRUE(std::filesystem::exists(m_shared + "/init.zop"));
    EXPECT_TRUE(std::filesystem::exists(m_shared + "/company.zop"));
    EXPECT_EQ(manager.IsPredefinedOptionFilesLoaded(), 1);
    manager.SetValue("Editor", "Name", "mine");
    manager.SaveAllFiles();
    EXPECT_EQ(ReadText(m_user + "/user.zop"), "\n[Editor]\n\n\"Name\"=\"mine\" \n");
}

TEST_F(PredefinedFiles, ComeFromTheListInTheirOrder) {
    const std::string absolute = m_directory / "abs.zop";
    const struct {
        std::string list;
        std::string stack;
    } rows[] = {
        {absolute + ";b.zop;" + absolute, "D/abs.zop S/b.zop D/abs.zop "},
        {"a.zop;" + absolute + ";sub/c.zop", "U/a.zop D/abs.zop "},  // the folder of the last one isn't there
        {";;a.zop;;b.zop;", "U/a.zop S/b.zop "},
        {"", ""},
        {std::string(1024, 'x'), ""},
    };
    for (const auto& row : rows) {
        WriteList(row.list);
        Manager manager;
        errno = 0;
        manager.LoadPredefinedOptionFiles();
        EXPECT_EQ(Stack(manager), row.stack) << row.list;
        EXPECT_EQ(errno == ERANGE, row.list.size() >= 1024) << row.list;
    }
}

TEST_F(PredefinedFiles, MalformedOnesGiveWayToEmptyOnes) {
    WriteText(m_shared + "/init.zop", "[Initial/Predefined] nonsense");
    WriteText(m_user + "/user.zop", "[Editor]\"Name\"=\"lost\" stray");
    WriteText(m_user + "/user.zop.bad", "lost before");
    Manager manager;
    manager.LoadPredefinedOptionFiles();
    EXPECT_EQ(Stack(manager), "U/user.zop S/company.zop ");
    EXPECT_EQ(ReadText(m_user + "/user.zop.bad2"), "[Editor]\"Name\"=\"lost\" stray") << "nothing is lost";
    EXPECT_EQ(ReadText(m_user + "/user.zop.bad"), "lost before");
    EXPECT_EQ(ReadText(m_shared + "/init.zop"), "[Initial/Predefined] nonsense");
}

TEST_F(PredefinedFiles, LeaveAloneWhatIsNotTheUsersOrCannotBeRead) {
    const std::string profile = m_directory / ".profile";
    WriteText(profile, "alias l=ls");
    const std::string beside = m_user + "2/x.zop";
    std::filesystem::create_directory(m_user + "2");
    for (const std::string& path : {beside, m_shared + "/company.zop"}) {
        WriteText(path, "[Editor] stray");
    }
    std::filesystem::create_directory(m_user + "/dir.zop");
    WriteList("dir.zop;" + m_user + "/../../../.profile;company.zop;" + beside);
    Manager manager;
    manager.LoadPredefinedOptionFiles();
    EXPECT_EQ(Stack(manager), "");
    EXPECT_EQ(ReadText(profile), "alias l=ls");
    for (const std::string& path : {beside, m_shared + "/company.zop"}) {
        EXPECT_EQ(ReadText(path), "[Editor] stray") << path;
    }
    EXPECT_TRUE(std::filesystem::is_directory(m_user + "/dir.zop"));
}

TEST_F(PredefinedFiles, StayWhenAnotherProcessMendsThem) {
    WriteText(m_user + "/user.zop", "[Editor] stray");
    const int directory = open(m_user.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    std::thread other([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        WriteText(m_user + "/user.zop", "[Editor]\"Name\"=\"n\"");
        close(directory);
    });
    Manager().LoadPredefinedOptionFiles();
    other.join();
    EXPECT_EQ(ReadText(m_user + "/user.zop"), "[Editor]\"Name\"=\"n\"");
    EXPECT_FALSE(std::filesystem::exists(m_user + "/user.zop.bad"));
}

TEST_F(PredefinedFiles, NeedTheUsersDirectory) {
    unsetenv("HOME");
    Manager manager;
    manager.LoadPredefinedOptionFiles();
    EXPECT_EQ(manager.GetFileCount(), 0);
    EXPECT_FALSE(std::filesystem::exists(m_shared + "/init.zop"));
}

TEST_F(PredefinedFiles, LieInTheCurrentDirectoryWithoutASharedOne) {
    unsetenv("ZROOT");
    const std::string before = std::filesystem::current_path().string();
    std::filesystem::current_path(m_directory.Path());
    Manager manager;
    manager.LoadPredefinedOptionFiles();
    std::filesystem::current_path(before);
    EXPECT_EQ(Stack(manager), "U/user.zop company.zop ");
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
