// What a save promises while the system fails: after it, whatever happened, the path holds the old text or the new
// one, whole; the result says which; memory still holds what was set, and the next save that succeeds writes it.

#include "Faults/FaultyCalls.h"
#include "TestSupport.h"
#include "VynOptionTables.h"
#include "VynStyle.h"
#include "VynUri.h"

namespace vyn::test {
namespace fs = std::filesystem;

constexpr int kUnknown = -1;  // the status of a save that tells none
const std::string kNone = "(none)";

const COption optPara[] = {{"Font", 1, "Sans", 0, 0}, {"Size", 2, "10", 0, 0}};

// What a tool has in memory.
struct Tool {
    explicit Tool(const std::string& name) : path(name) { file.SetPathName(path.c_str()); }

    std::string path;  // of the file
    Manager manager;
    COptionFile file{&manager};
    CRgFile plain{nullptr};
    CStyleKind kind{"Para", optPara, 2};
    CStyle body{"Body", &kind, "Doc", 0, nullptr};

    void ChangeOption() {
        file.Load(path.c_str());
        file.Load(path.c_str());  // once more, as ReloadAllFiles does
        file.SetValue("Editor", "Wrap", "false");
        file.SetModifiedFlag(1);
    }
    int SaveOption() { return file.Save(nullptr); }
    void ChangePlain() { plain.SetValue("Editor", "Wrap", "false"); }
    int SavePlain() { return plain.Save(path.c_str()); }
    void ChangeStyle() { body.SetValue(body.GetMgrCategory()->GetPath(), "Size", "12"); }
    int SaveStyle() {
        void* pos = body.GetFirstFilePosition();
        return body.GetNextFile(pos)->SaveAs(path.c_str());
    }
    void ChangeNothing() {}
    // The start of a tool and a change of its user's file, which is left out when it can't be read.
    int SavePredefined() {
        Manager tool;
        tool.LoadPredefinedOptionFiles();
        COptionFile* user = tool.GetFile(path.c_str());
        return user ? user->SetValue("Editor", "Wrap", "false"), user->Save(nullptr) : kUnknown;
    }
    int SaveUrnMap() { return SUrnResolver::RegisterURNsFromOptionString("new:/new/"), kUnknown; }
    int SaveUrn() {
        SUrnResolver::RegisterURNsWithoutOptions();
        if (!SUrnResolver::IsUrnRegistered("new")) {
            SUrnResolver::RegisterURNAndSaveURNMapFile("new", "/new/");
        }
        return kUnknown;
    }
};

#define OTHERS                                 \
    "\"Name\"=\"mine\" \n\"Unknown\"=\"u\" \n" \
    "\n[Editor/Text] (by=me)\n\n\"Font\"=\"Serif\" \n\n[Other/Tool]\n\n\"x\"=\"1\" \n"
#define NOTE "\n[Doc/Styles/Note/Para] (Para=Note)\n\n\"Size\"=\"8\" \n"
#define BODY "\n[Doc/Styles/Body/Para] (Para=Body)\n\n\"Size\"=12 \n"
const char kOldOptions[] = "\n[Editor]\n\n\"Wrap\"=\"true\" \n" OTHERS;
const char kNewOptions[] = "\n[Editor]\n\n\"Wrap\"=\"false\" \n" OTHERS;
const char kNewFile[] = "\n[Editor]\n\n\"Wrap\"=\"false\" \n";

const char kUser[] = "Ostrel/Halcyne/Shared/user.zop", kMap[] = "Ostrel/Halcyne/Shared/urnmap.txt";

const struct Row {
    const char* name;
    const char* file;  // below the directory, which is that of the user and of all users too
    std::string before, after;
    void (Tool::*change)();
    int (Tool::*save)();
} rows[] = {
    {"OptionFile", "a.zop", kOldOptions, kNewOptions, &Tool::ChangeOption, &Tool::SaveOption},
    {"NewOptionFile", "a.zop", kNone, kNewFile, &Tool::ChangeOption, &Tool::SaveOption},
    {"PlainFile", "a.rg", kOldOptions, kNewFile, &Tool::ChangePlain, &Tool::SavePlain},
    {"NewPlainFile", "a.rg", kNone, kNewFile, &Tool::ChangePlain, &Tool::SavePlain},
    {"StyleFile", "a.styles", NOTE, NOTE BODY, &Tool::ChangeStyle, &Tool::SaveStyle},
    {"PredefinedFile", kUser, kOldOptions, kNewOptions, &Tool::ChangeNothing, &Tool::SavePredefined},
    {"UrnMap", kMap, "old:/old/\n", "new:/new/\n", &Tool::ChangeNothing, &Tool::SaveUrnMap},
    {"UrnMapEntry", kMap, "old:/old/\n", "old:/old/\nnew:/new/\n", &Tool::ChangeNothing, &Tool::SaveUrn},
};

std::ostream& operator<<(std::ostream& stream, const Row& row) {
    return stream << row.name;
}

// The errors of each call, and whether the call may fail for good: a call that is to be tried again mustn't.
const struct {
    Call call;
    int error;
    bool forGood;
} faults[] = {
    {Call::Open, ENOSPC, true}, {Call::Open, EMFILE, true},   {Call::Open, EIO, true},      {Call::Open, EINTR, false},
    {Call::Read, EIO, true},    {Call::Read, EINTR, false},   {Call::Read, kShort, true},   {Call::Write, ENOSPC, true},
    {Call::Write, EIO, true},   {Call::Write, EINTR, false},  {Call::Write, kShort, true},  {Call::Sync, EIO, true},
    {Call::Sync, ENOSPC, true}, {Call::Sync, EINTR, false},   {Call::Rename, EIO, true},    {Call::Rename, EXDEV, true},
    {Call::Close, EIO, true},   {Call::Close, EINTR, false},  {Call::Unlink, EIO, true},    {Call::Lock, EINTR, false},
    {Call::Lock, ENOLCK, true}, {Call::Lock, EAGAIN, true},   {Call::Look, EIO, true},      {Call::Look, EACCES, true},
    {Call::Mark, EPERM, true},  {Call::Resize, ENOSPC, true}, {Call::Resize, EINTR, false},
};

std::string Text(const std::string& path) {
    const std::string text = fs::exists(path) ? ReadText(path) : kNone;
    return text.size() > 0 && text[0] == '\0' ? ReadText(path + "~~") : text;  // half written in place
}

// The names of all files below the directory, but for the one that is saved and those that a start makes.
std::string LeftOver(const TemporaryDirectory& directory, const std::string& file) {
    std::string names;
    for (const auto& entry : fs::recursive_directory_iterator(directory.Path())) {
        const std::string path = fs::relative(entry.path(), directory.Path());
        const std::string name = entry.path().filename();
        const bool made = (name == "init.zop" || name == "company.zop") && entry.file_size() == 0;
        names += entry.is_directory() || path == file || made ? "" : path + " ";
    }
    return names;
}

struct Faults : testing::TestWithParam<Row> {
    enum Outcome { eRight, eWrong, eNoFault, eKilled };

    Faults() {
        setenv("HOME", m_directory.Path().c_str(), 1);
        setenv("ZROOT", m_directory.Path().c_str(), 1);
    }
    // The directory as it is before the save.
    void Prepare() {
        for (const auto& entry : fs::directory_iterator(m_directory.Path())) {
            fs::remove_all(entry);
        }
        fs::create_directories(fs::path(m_path).parent_path());
        if (GetParam().before != kNone) {
            WriteText(m_path, GetParam().before);
            fs::permissions(m_path, fs::perms(0640));
        }
    }
    // Runs a check in a child, which prints what is wrong.
    Outcome InChild(const std::function<std::string()>& check) {
        const pid_t child = fork();
        if (child == 0) {
            const std::string wrong = check();
            if (wrong.size() > 1) {
                fprintf(stderr, "%s\n", wrong.c_str());
            }
            _exit(wrong.empty() ? eRight : wrong == "-" ? eNoFault : eWrong);
        }
        int status = -1;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL ? eKilled : Outcome(WEXITSTATUS(status));
    }
    // \return what is wrong after the fault, "" for nothing, "-" when it didn't come to the fault.
    std::string RunWith(const Fault& fault) {
        Tool tool(m_path);
        const auto open = OpenDescriptors();
        Arm(fault);
        (tool.*GetParam().change)();
        const int status = (tool.*GetParam().save)();
        if (!Disarm()) {
            return "-";
        }
        const std::string text = Text(m_path), left = LeftOver(m_directory, GetParam().file);
        const bool isNew = text == GetParam().after;
        const bool isOption = GetParam().save == &Tool::SaveOption;
        const bool hasWay = !fault.inPlace || (isOption && GetParam().before != kNone);
        const bool isBusy = fault.error == EAGAIN;  // as long as another process has the lock
        const bool isTried = hasWay && (fault.error == EINTR || fault.error == kShort || (isBusy && !fault.forGood));
        const auto mode = static_cast<int>(isNew ? fs::status(m_path).permissions() : fs::perms(0640));
        return !isNew && text != GetParam().before ? "the file is " + text
               : status != kUnknown && (status == 0) != isNew
                   ? "the result is " + std::to_string(status) + " and the file is " + text
               : isBusy && isOption && fault.forGood && status != ETIMEDOUT             ? "the result isn't ETIMEDOUT"
               : !isNew && isTried                                                      ? "not tried again"
               : GetParam().before != kNone && mode != 0640 && fault.call != Call::Mark ? "the mode is lost"
               : OpenDescriptors() != open                                              ? "a descriptor stays open"
               : !left.empty() && fault.call != Call::Unlink                            ? left + "stays"
               : isOption && strcmp(tool.file.GetValue("Editor", "Wrap"), "false") != 0 ? "the value is lost"
               : isOption && (tool.file.IsModified() == 0) != (status == 0)             ? "the modified flag is wrong"
                                                                                        : Finish(tool);
    }
    // The save that succeeds.
    std::string Finish(Tool& tool) {
        const int status = (tool.*GetParam().save)();
        const std::string text = Text(m_path), left = LeftOver(m_directory, GetParam().file);
        return status > 0                 ? "the next save gives " + std::to_string(status)
               : text != GetParam().after ? "the next save makes " + text
               : left.empty()             ? ""
                                          : left + "stays after the next save";
    }

    TemporaryDirectory m_directory;
    const std::string m_path = m_directory / GetParam().file;
};

TEST_P(Faults, LoseNothing) {
    int injected = 0;
    for (const auto& row : faults) {
        for (const bool forGood : {false, true}) {
            for (const bool inPlace : {false, true}) {
                for (int nth = 1; (row.forGood && !inPlace) || !forGood; ++nth, ++injected) {
                    Prepare();
                    const Outcome outcome = InChild([&] {
                        return RunWith({row.call, nth, row.error, forGood, inPlace});
                    });
                    if (outcome == eNoFault) {
                        break;
                    }
                    EXPECT_EQ(outcome, eRight)
                        << "call " << static_cast<int>(row.call) << ", number " << nth << ", error " << row.error
                        << (forGood ? " for good" : " once") << (inPlace ? " in place" : "");
                }
            }
        }
    }
    std::cout << injected << " faults injected\n";
}

TEST_P(Faults, TheEndOfTheProcessLosesNothing) {
    int kills = 0;
    for (const bool inPlace : {false, true}) {
        Outcome outcome = eKilled;
        for (int nth = 1; outcome == eKilled; ++nth) {
            Prepare();
            outcome = InChild([&] { return RunWith({Call::Any, nth, kKill, false, inPlace}); });
            kills += outcome == eKilled;
            const std::string text = Text(m_path);
            EXPECT_TRUE(text == GetParam().before || text == GetParam().after) << "call " << nth << ", then " << text;
            const auto next = [&] {
                Tool tool(m_path);
                (tool.*GetParam().change)();
                return Finish(tool);
            };
            EXPECT_EQ(InChild(next), eRight) << "after call " << nth << (inPlace ? " in place" : "");
        }
    }
    EXPECT_GT(kills, 10);
    std::cout << kills << " kills\n";
}

INSTANTIATE_TEST_SUITE_P(Files, Faults, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

// Each of several processes changes an option of its own, and all save at the same moment.
struct Together : testing::TestWithParam<int> {
    static constexpr const char* kKeys[] = {"Editor", "Editor", "Editor/Text", "Editor/Text", "Build"};
    static constexpr const char* kNames[] = {"Wrap", "Owner", "Font", "Size", "Target"};

    // Ends with what the save gave. `go` is read until its end.
    [[noreturn]] void Save(int process, bool merging, int go) {
        Manager manager;
        manager.SetMergingSaves(merging);
        COptionFile* file = manager.Load(m_path.c_str());
        char byte;
        while (read(go, &byte, 1) != 0) {
        }
        file->SetValue(kKeys[process], kNames[process], "set");
        _exit(file->Save(nullptr));
    }
    // Lets all of them save once. Meanwhile every load succeeds.
    void Round(bool merging) {
        WriteText(m_path, kOldOptions);
        int go[2];
        ASSERT_EQ(pipe(go), 0);
        for (int process = 0; process < GetParam(); ++process) {
            if (fork() == 0) {
                close(go[1]);
                Save(process, merging, go[0]);
            }
        }
        close(go[1]);
        close(go[0]);
        for (int ended = 0, status; ended < GetParam();) {
            if (waitpid(-1, &status, WNOHANG) > 0) {
                EXPECT_EQ(status, 0);
                ++ended;
            }
            ASSERT_NE(Manager().Load(m_path.c_str()), nullptr) << "half a file";
        }
    }
    int CountKept() {
        Manager manager;
        const COptionFile* file = manager.Load(m_path.c_str());
        int count = 0;
        for (int process = 0; process < 5; ++process) {
            count += strcmp(manager.GetValue(kKeys[process], kNames[process]), "set") == 0;
        }
        EXPECT_NE(file, nullptr);
        EXPECT_NE(ReadText(m_path).find("\"Unknown\"=\"u\""), std::string::npos);
        return count;
    }

    TemporaryDirectory m_directory;
    const std::string m_path = m_directory / "a.zop";
};

TEST_P(Together, MergingSavesLoseNothingAndOthersLeaveAWholeFile) {
    const char* rounds = getenv("VYN_TEST_ROUNDS");
    for (int round = rounds ? atoi(rounds) : 20; round > 0 && !HasFailure(); --round) {
        Round(true);
        EXPECT_EQ(CountKept(), GetParam());
        Round(false);
        EXPECT_GE(CountKept(), 1);
        EXPECT_EQ(LeftOver(m_directory, "a.zop"), "");
    }
}

INSTANTIATE_TEST_SUITE_P(Processes, Together, testing::Values(2, 5));

}  // namespace vyn::test
