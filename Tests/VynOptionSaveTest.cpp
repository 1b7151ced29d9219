
#include <algorithm>
#include <map>
#include <random>
#include <sstream>

#include "TestSupport.h"
#include "VynExplain.h"
#include "VynOptionTables.h"

namespace vyn::test {
namespace {

// Makes a file of `text`, loads it, sets options, and saves.
struct Tool : Manager {
    Tool(const std::string& path, const std::string& text) {
        WriteText(path, text);
        file = Manager::Load(path.c_str());
    }
    int Save() { return file->Save(nullptr); }
    int SaveBeside() { return file->SaveAs(nullptr); }
    int SavePlainly() { return file->CRgFile::Save(nullptr); }
    COptionFile* file;
};

struct IncrementalSave : testing::Test {
    // What a save makes of `old` after it was loaded and `change` was done.
    template <class Change>
    std::string Save(const std::string& old, Change change) {
        Tool tool(m_path, old);
        EXPECT_NE(tool.file, nullptr) << old;
        change(tool);
        EXPECT_EQ(tool.Save(), 0);
        const std::string text = ReadText(m_path);
        EXPECT_EQ(tool.Save(), 0);
        EXPECT_EQ(ReadText(m_path), text) << "the second save of\n" << old;
        EXPECT_FALSE(std::filesystem::exists(m_path + "~"));
        return text;
    }

    TemporaryDirectory m_directory;
    const std::string m_path = m_directory / "f.zop";
};

TEST_F(IncrementalSave, WritesWhatMemoryKnowsAndKeepsTheRest) {
    const char* const unknown =
        "\n[Tool/Window] (dock=left, pin=1)\n\n'x'='1' ('p'='q' )\n'y'='2' \n"
        "\n[Editor]\n\n'Other'='o' \n'Name'='n' ('fixed'='true' )\n'More'='m' \n"
        "\n[Editor/Unknown/Text]\n\n'Font'='f' \n\n[Build]\n\n'Target'='t' \n";
    const char* const styles =
        "\n[Doc/Styles/Note/Para] (Para=Note)\n\n\n[Editor] (a=b)\n\n\n[Editor/Text] (k=v, w=x)\n\n"
        "\n[Editor/None] (k=v)\n\n";
    // A changed text that is `!` marks the option as fixed.
    const char* const rows[][4] = {
        {"unknown entries keep their place", unknown, "", unknown},
        {"known ones are updated, new ones come last",
         "[Editor]'Name'='old''Other'=12 'Owner'='gone'\n[Build]'Target'='t'",
         "Editor/Name=new;Editor/Owner=nobody;Editor/Wrap=false;Editor/Text/Font=Serif;Build/Target=all",
         "\n[Editor]\n\n'Name'='new' \n'Other'='12' \n'Wrap'='false' \n\n[Editor/Text]\n\n'Font'='Serif' \n"},
        {"an empty section", "[Editor][Build]'Target'='t'", "", "\n[Editor]\n\n\n[Build]\n\n'Target'='t' \n"},
        {"an unknown empty section", "[Tool][Build]'Target'='t'", "", "\n[Build]\n\n'Target'='t' \n"},
        {"attributes belong to one heading", "[Editor](a=b, c=d)'Name'='n'[Build]'Target'='t'", "",
         "\n[Editor] (a=b, c=d)\n\n'Name'='n' \n\n[Build]\n\n'Target'='t' \n"},
        {"the last heading", "[Editor]'Name'='n'[Build](k=v)", "", "\n[Editor]\n\n'Name'='n' \n\n[Build] (k=v)\n\n"},
        {"nothing", "", "", ""},
        {"an old line with the text, but not the form", "\n[Editor]\n\n'Width'='5' \n'Name'='n' \n", "Editor/Name=!",
         "\n[Editor]\n\n'Width'=5 \n'Name'='n' ('fixed'='true' )\n"},
        {"a text that wouldn't read back bare", "[Editor]'Width'=1", "Editor/Width=-1;Editor/Width=!",
         "\n[Editor]\n\n'Width'='-1' ('fixed'='true' )\n"},
        {"the first value goes, the heading stays for the second", "[Editor]'Name'='n''Other'='o'",
         "Editor/Name=editor", "\n[Editor]\n\n'Other'='o' \n"},
        {"headings with attributes stay", styles, "", styles},
        {"also without a value and a key in memory", "[Editor](a=b)'Name'='n'", "Editor/Name=editor",
         "\n[Editor] (a=b)\n\n"},
        {"values after a heading with attributes get a plain one",
         "[Editor](a=b)'Name'='n''Other'='o''Wrap'='w''Owner'='p''Last'='l'", "",
         "\n[Editor] (a=b)\n\n'Name'='n' \n\n[Editor]\n\n'Other'='o' \n'Wrap'='w' \n'Owner'='p' \n'Last'='l' "
         "\n"},
        {"when no known one is left they don't", "[Editor](a=b)'Name'='n''Other'='o'", "",
         "\n[Editor] (a=b)\n\n'Name'='n' \n'Other'='o' \n"},
        {"repeated values stand once", "[Editor]'Name'='1''Name'='2'[Build]'Target'='a'[Build]'Target'='b'", "",
         "\n[Editor]\n\n'Name'='2' \n\n[Build]\n\n'Target'='b' \n\n[Build]\n\n"},
        {"new ones come at the end of the last section of the path",
         "[Editor]'Name'='1'[Build]'Target'='t'[Editor](a=b)'Wrap'='2'[Editor]'Owner'='3'", "Editor/Width=5",
         "\n[Editor]\n\n'Name'='1' \n\n[Build]\n\n'Target'='t' \n"
         "\n[Editor] (a=b)\n\n'Wrap'='2' \n\n[Editor]\n\n'Owner'='3' \n'Width'=5 \n"},
        {"a shadowed value doesn't come back", "[Editor]'Name'='1''Name'='2''Other'='o'", "Editor/Name=editor",
         "\n[Editor]\n\n'Other'='o' \n"},
    };
    const auto quoted = [](std::string text) {
        std::replace(text.begin(), text.end(), '\'', '"');
        return text;
    };
    for (const auto& [what, old, changed, expected] : rows) {
        const auto change = [changed = changed](Tool& tool) {
            std::istringstream changes(changed);
            for (std::string path, text; getline(changes, path, '=') && getline(changes, text, ';');) {
                const std::string key = path.substr(0, path.rfind('/'));
                const char* name = &path[key.size() + 1];
                text == "!" ? void(tool.file->SetRedefineFlag(key.c_str(), name, "", 1))
                            : void(tool.SetValue(key.c_str(), name, text.c_str()));
            }
        };
        EXPECT_EQ(Save(quoted(old), change), quoted(expected)) << what;
    }
}

TEST_F(IncrementalSave, WritesHeadingAttributesOnceAndOnlyWhatAHeadingCanHold) {
    const auto change = [](Tool& tool) {
        tool.file->CreateKey("Build", "of", "memory");
        tool.file->CreateKey("Editor", "a", "")->CreateValue("Name", CRgValue::eText, "n", nullptr);
        tool.SetValue("Editor/Text", "Font", "f");
        tool.file->CreateKey("Editor/Text", "k", "v");
    };
    EXPECT_EQ(Save("[Build]\"Target\"=\"t\"[Build]\"x\"=\"1\"", change),
              "\n[Build] (of=memory)\n\n\"Target\"=\"t\" \n\n[Build]\n\n\"x\"=\"1\" \n\n[Editor]\n\n"
              "\"Name\"=\"n\" \n\n[Editor/Text] (k=v)\n\n\"Font\"=\"f\" \n");
}

TEST_F(IncrementalSave, NewFileComesFromMemoryAlone) {
    const Tool tool(m_path, "[Tool]\"x\"=1 [Editor](a=b)\"Name\"=\"n\"");
    COptionFile* file = tool.file;
    ASSERT_EQ(file->Save((m_path + "2").c_str()), 0);
    EXPECT_EQ(ReadText(m_path + "2"), "\n[Editor]\n\n\"Name\"=\"n\" \n");
    WriteText(m_path + "3", "[Other]\"y\"=\"2\" [Editor]\"Wrap\"=\"w\"");
    file->SetModifiedFlag(1);
    ASSERT_EQ(file->SaveAs((m_path + "3").c_str()), 0);
    EXPECT_EQ(file->IsModified(), 0);
    EXPECT_EQ(ReadText(m_path + "3"), "\n[Other]\n\n\"y\"=\"2\" \n\n[Editor] (a=b)\n\n\"Name\"=\"n\" \n");
    EXPECT_EQ(file->GetPathName(), m_path);
    COptionFile other(file->GetManager());
    EXPECT_EQ(file->GetKeyRoot()->RemoveKey(other.CreateKey("Editor", nullptr, nullptr)), 0);
    EXPECT_STREQ(file->GetValue("Editor", "Name"), "n") << "a key of that name in another file";
}

TEST_F(IncrementalSave, ValueWhoseOptionWasTakenOutStandsOnce) {
    Manager manager;
    COptionManager added;
    const COption rows[] = {{"Extra", 1, "", 0, 0}};
    const COptionSet set = {"Added", rows, 1, nullptr};
    const CCategory category = {"Editor", nullptr, 0, &set};
    added.AddCategory(&category);
    manager.MergeManager(&added);
    manager.MergeManager(&added);
    WriteText(m_path, "[Editor]\"Extra\"=\"1\"");
    COptionFile* file = manager.Load(m_path.c_str());
    manager.RemoveManager(&added);
    for (int save = 0; save < 2; ++save) {
        ASSERT_EQ(file->Save(nullptr), 0);
        EXPECT_EQ(ReadText(m_path), "\n[Editor]\n\n\"Extra\"=\"1\" \n");
    }
}

TEST_F(IncrementalSave, MalformedOldFileStaysAndTheTreeIsEmpty) {
    Tool tool(m_path, "[Editor]\"Name\"=\"n\"");
    const std::string bad = "[Editor]\"Name\"=\"n\" [Build]\"Target\"=\"x\" stray";
    WriteText(m_path, bad);
    WriteText(m_path + "~", "left over");
    EXPECT_EQ(tool.Save(), 1);
    EXPECT_EQ(ReadText(m_path), bad);
    EXPECT_FALSE(std::filesystem::exists(m_path + "~"));
    EXPECT_EQ(tool.file->GetKeyRoot()->GetKeyCount(), 0);
    WriteText(m_path, "[Editor]\"Name\"=\"n\"");
    tool.SetValue("Editor", "Wrap", "false");
    EXPECT_EQ(tool.Save(), 0);
    EXPECT_EQ(ReadText(m_path), "\n[Editor]\n\n\"Name\"=\"n\" \n\"Wrap\"=\"false\" \n")
        << "memory doesn't know what the file holds";
    tool.file->Reset();
    EXPECT_EQ(tool.Save(), 0);
    EXPECT_EQ(ReadText(m_path), "");
}

TEST_F(IncrementalSave, ReportsWhatCannotBeWritten) {
    Tool tool(m_path, "[Editor]\"Name\"=\"n\"");
    COptionFile* file = tool.file;
    COptionFile unnamed(&tool);
    EXPECT_EQ(unnamed.Save(nullptr), 1);
    EXPECT_EQ(unnamed.Save((m_directory / "no/such").c_str()), ENOENT);
    file->SetModifiedFlag(1);
    std::filesystem::create_directory(m_path + "~");
    EXPECT_EQ(file->Save(nullptr), EISDIR) << "the temporary file can't be made";
    EXPECT_EQ(file->IsModified(), 1);
    EXPECT_EQ(ReadText(m_path), "[Editor]\"Name\"=\"n\"");
    EXPECT_STREQ(file->GetValue("Editor", "Name"), "n");
    std::filesystem::remove(m_path + "~");
    EXPECT_EQ(file->Save(nullptr), 0) << "the flags are clean";
    EXPECT_EQ(ReadText(m_path), "\n[Editor]\n\n\"Name\"=\"n\" \n");

    EXPECT_EQ(file->SaveAs(m_directory.Path().c_str()), EISDIR);
    EXPECT_EQ(file->Save(m_directory.Path().c_str()), EISDIR);
    EXPECT_EQ(file->Save("/dev/null"), EINVAL);
}

TEST_F(IncrementalSave, KeepsOwnerAndPermissionsOrSaysWhyNot) {
    constexpr uid_t kNobody = 65534;
    const uid_t us = geteuid();
    const gid_t group = getegid();
    const struct {
        const char* what;
        uid_t user, directoryOwner;
        mode_t directoryMode;
        uid_t owner;
        gid_t group, newGroup;
        mode_t mode, newMode;
        int (Tool::*save)();
        int status;
    } rows[] = {
        {"one's own", us, us, 0755, us, group, group, 0604, 0604, &Tool::Save, 0},
        {"another's", us, us, 0755, 12345, 12346, 12346, 0640, 0640, &Tool::Save, 0},
        {"of a group one isn't in", kNobody, us, 0777, kNobody, 12346, group, 0674, 0644, &Tool::Save, 0},
        {"not to be replaced", kNobody, 12345, 01777, 12346, group, group, 0666, 0666, &Tool::Save, 0},
        {"not to be replaced", kNobody, 12345, 01777, 12346, group, group, 0666, 0666, &Tool::SaveBeside, EPERM},
        {"beside another's temporary file", kNobody, kNobody, 0300, kNobody, group, group, 0600, 0600, &Tool::Save, 0},
        {"read-only", kNobody, us, 0777, 12346, group, group, 0444, 0444, &Tool::Save, EACCES},
        {"read-only", kNobody, us, 0777, 12346, group, group, 0444, 0444, &Tool::SavePlainly, EACCES},
    };
    for (const auto& row : rows) {
        if (us != 0 && row.directoryOwner + row.owner + row.user != 3 * us) {
            continue;  // only root can give files away
        }
        Tool tool(m_path, "[Editor]\"Wrap\"=\"a somewhat longer text\"");
        tool.SetValue("Editor", "Wrap", "false");
        ASSERT_EQ(chown(m_path.c_str(), row.owner, row.group) + chmod(m_path.c_str(), row.mode), 0);
        ASSERT_EQ(chown(m_directory.Path().c_str(), row.directoryOwner, group), 0);
        ASSERT_EQ(chmod(m_directory.Path().c_str(), row.directoryMode), 0);
        const bool isLocked = (row.directoryMode & 0400) != 0;
        if (!isLocked) {
            WriteText(m_path + "~", "");
        }
        ASSERT_EQ(seteuid(row.user), 0);
        EXPECT_EQ((tool.*row.save)(), row.status) << row.what;
        ASSERT_EQ(seteuid(us), 0);
        EXPECT_EQ(ReadText(m_path) == "\n[Editor]\n\n\"Wrap\"=\"false\" \n", row.status == 0) << row.what;
        EXPECT_EQ(std::filesystem::remove(m_path + "~"), !isLocked) << row.what;
        struct stat now;
        ASSERT_EQ(stat(m_path.c_str(), &now), 0);
        EXPECT_EQ(std::tie(now.st_uid, now.st_gid), std::tie(row.owner, row.newGroup)) << row.what;
        EXPECT_EQ(now.st_mode & 07777, row.newMode) << row.what;
    }
}

TEST_F(IncrementalSave, LeavesOutCategoriesWhoseNameNoHeadingHolds) {
    const COption rows[] = {{"x", 1, "", 0, 0}};
    const COptionSet set = {"Odd", rows, 1, nullptr};
    for (const char* name : {"", " odd", "o]d"}) {
        const CCategory below = {"Below", nullptr, 0, &set};
        const CCategory* const sub[] = {&below};
        const CCategory odd = {name, sub, 1, &set};
        Tool tool(m_path, "");
        tool.AddCategory(&odd);
        CRgKey* key = tool.file->GetKeyRoot()->CreateKey(name, nullptr);
        key->CreateValue("x", CRgValue::eText, "1", nullptr);
        key->CreateKey("Below", nullptr)->CreateValue("x", CRgValue::eText, "1", nullptr);
        tool.SetValue("Build", "Target", "new");
        Reports reports;
        EXPECT_EQ(tool.Save(), EILSEQ) << name;
        EXPECT_EQ(std::count(reports.text.begin(), reports.text.end(), '\n'), 1) << reports.text;
        EXPECT_EQ(ReadText(m_path), "\n[Build]\n\n\"Target\"=\"new\" \n") << name;
    }
}

TEST_F(IncrementalSave, WhatCannotBeStoredKeepsItsOldLine) {
    Tool tool(m_path, "[Editor]\"Name\"=\"n\"[Build]\"Target\"=\"t\"");
    tool.SetValue("Editor", "Name", "a \"word\"");
    tool.file->SetAttributeValue("Editor", "Owner", "o", "a", "\"");
    tool.SetValue("Build", "Target", "new");
    tool.file->SetModifiedFlag(1);
    Reports reports;
    EXPECT_EQ(tool.Save(), EILSEQ);
    EXPECT_NE(reports.text.find("Editor/Name"), std::string::npos) << reports.text;
    EXPECT_EQ(ReadText(m_path), "\n[Editor]\n\n\"Name\"=\"n\" \n\n[Build]\n\n\"Target\"=\"new\" \n");
    EXPECT_EQ(tool.file->IsModified(), 1);
    EXPECT_STREQ(tool.GetValue("Editor", "Name"), "a \"word\"");
    tool.SetValue("Editor", "Name", "word");
    tool.file->SetAttributeValue("Editor", "Owner", "", "a", "b");
    EXPECT_EQ(tool.Save(), 0);
    EXPECT_EQ(ReadText(m_path),
              "\n[Editor]\n\n\"Name\"=\"word\" \n\"Owner\"=\"o\" (\"a\"=\"b\" "
              ")\n\n[Build]\n\n\"Target\"=\"new\" \n");
}

TEST_F(IncrementalSave, RefusesAFileThatIsNoOptionFile) {
    for (const std::string& text : {std::string("\xff\xfe[\0E\0", 6), std::string("[Editor]\n\0", 10)}) {
        Tool tool(m_path, text);
        if (tool.file) {
            tool.SetValue("Editor", "Name", "n");
            EXPECT_EQ(tool.Save(), EILSEQ);
        }
        EXPECT_EQ(ReadText(m_path), text);
    }
}

TEST_F(IncrementalSave, TouchesTheFileOnlyForAChange) {
    Tool tool(m_path, "\n[Editor]\n\n\"Name\"=\"n\" \n");
    WriteText(m_path + "~", "left by a killed process");
    std::filesystem::create_hard_link(m_path, m_path + "2");
    for (const auto save : {&Tool::Save, &Tool::SaveBeside, &Tool::SavePlainly}) {
        EXPECT_EQ((tool.*save)(), 0);
        EXPECT_TRUE(std::filesystem::equivalent(m_path, m_path + "2"));
    }
    EXPECT_FALSE(std::filesystem::exists(m_path + "~"));
}

TEST_F(IncrementalSave, FollowsLinksToTheFileAndNoneToTheTemporaryOne) {
    const std::string target = m_directory / std::string(255, 'n').c_str();
    const std::string stranger = m_directory / "stranger";
    WriteText(stranger, "mine");
    Tool tool(target, "");
    std::filesystem::create_symlink("link2", m_path);
    std::filesystem::create_symlink(target, m_directory / "link2");
    std::filesystem::create_symlink(stranger, m_path + "~");
    tool.SetValue("Editor", "Name", "n");
    EXPECT_EQ(tool.file->Save(m_path.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(m_path));
    EXPECT_EQ(ReadText(target), "\n[Editor]\n\n\"Name\"=\"n\" \n");
    std::filesystem::remove(m_path);
    ASSERT_EQ(mkfifo((m_path + "2~").c_str(), 0600), 0);
    EXPECT_EQ(tool.file->Save((m_path + "2").c_str()), 0);
    EXPECT_EQ(ReadText(stranger), "mine");
}

TEST_F(IncrementalSave, FailedLoadCostsNothingOfTheFile) {
    const std::string text = "\n[Editor]\n\n\"Name\"=\"n\" \n\"Owner\"=\"o\" \n";
    const std::string withWrap = text + "\"Wrap\"=\"false\" \n";
    // Whether the first load fails, not a later one, and what the path holds then, null for nothing.
    const std::tuple<const char*, bool, const char*> rows[] = {{"away at a reload", false, nullptr},
                                                               {"malformed at a reload", false, "[Editor] stray"},
                                                               {"away at first", true, nullptr},
                                                               {"malformed at first", true, "stray"}};
    for (const auto& [what, atFirst, meanwhile] : rows) {
        Manager manager;
        auto* file = new COptionFile(&manager);
        manager.AddFile(file);
        for (const bool fails : {atFirst, !atFirst}) {
            if (fails && meanwhile) {
                WriteText(m_path, meanwhile);
            } else if (fails) {
                std::filesystem::remove(m_path);
            } else {
                WriteText(m_path, text);
            }
            if (fails || !atFirst) {
                EXPECT_EQ(file->Load(m_path.c_str()), fails ? 1 : 0) << what;
            }
        }
        WriteText(m_path, text);
        file->SetValue("Editor", "Wrap", "false");
        EXPECT_EQ(file->Save(nullptr), 0) << what;
        EXPECT_EQ(ReadText(m_path), withWrap) << what;
        manager.SetValue("Editor", "Wrap", "true");
        EXPECT_EQ(file->Save(nullptr), 0);
        EXPECT_EQ(ReadText(m_path), text) << what << ": what was set here can be set back";
        WriteText(m_path, withWrap);
        EXPECT_EQ(file->Load(m_path.c_str()), 0);
        manager.SetValue("Editor", "Wrap", "true");
        EXPECT_EQ(file->Save(nullptr), 0);
        EXPECT_EQ(ReadText(m_path), text) << what << ": memory knows the file again";
    }
}

TEST_F(IncrementalSave, MergesWhatTwoToolsChanged) {
    // Each letter is a step; one that isn't here is a text for the option.
    const std::map<char, std::function<void(Tool&)>> steps = {
        {'-', [](Tool& tool) { tool.SetValue("Editor", "Name", "editor"); }},  // takes the value out
        {'!', [](Tool& tool) { tool.file->SetRedefineFlag("Editor", "Name", "", 1); }},
        {'0', [](Tool& tool) { tool.file->Reset(); }},
        {'E', [&](Tool&) { WriteText(m_path, ""); }},
        {'R', [&](Tool& tool) { EXPECT_EQ(tool.file->Load(m_path.c_str()), 0); }},
        {'S', [](Tool& tool) { EXPECT_EQ(tool.Save(), 0); }},
        {'C', [&](Tool& tool) { EXPECT_EQ(tool.file->Save((m_path + "2").c_str()), 0); }},
    };
    const auto act = [&](Tool& tool, const std::string& letters) {
        for (const char letter : letters) {
            if (steps.count(letter)) {
                steps.at(letter)(tool);
            } else {
                tool.SetValue("Editor", "Name", std::string(1, letter).c_str());
            }
        }
    };
    const std::string plain = "\"n\" ", open = plain + "(\"fixed\"=\"false\" )",
                      fixed = plain + "(\"fixed\"=\"true\" )";
    // The value before, the steps of both, the value after, "" when it is gone, and whether that is a conflict.
    const std::tuple<std::string, const char*, const char*, std::string, bool> rows[] = {
        {plain, "", "x", "\"x\" ", false},   {plain, "x", "", "\"x\" ", false},    {plain, "x", "y", "\"x\" ", true},
        {plain, "x", "x", "\"x\" ", false},  {plain, "-", "", "", false},          {plain, "-", "x", "", true},
        {plain, "", "-", "", false},         {plain, "x", "-", "\"x\" ", true},    {plain, "!", "", fixed, false},
        {plain, "", "!", fixed, false},      {open, "!", "", fixed, false},        {open, "", "!", fixed, false},
        {plain, "0", "", "", false},         {plain, "-ER", "x", "\"x\" ", false}, {plain, "-S", "x", "\"x\" ", false},
        {plain, "xS", "y", "\"y\" ", false}, {plain, "xC", "y", "\"x\" ", true},
    };
    const auto text = [](const std::string& value) { return "\n[Editor]\n\n\"Name\"=" + value + "\n"; };
    for (const auto& [old, our, their, value, isConflict] : rows) {
        const std::string what = std::string(our) + " and " + their;
        Tool ours(m_path, text(old));
        Tool theirs(m_path, text(old));
        ours.SetMergingSaves(1);
        act(ours, our);
        act(theirs, std::string(their) + "S");
        const std::string foretold = PreviewSave(*ours.file, nullptr).text;
        ASSERT_EQ(ours.Save(), 0);
        const std::string saved = ReadText(m_path);
        EXPECT_EQ(saved, foretold) << what;
        EXPECT_EQ(saved.find("Name") == std::string::npos ? "" : saved, value.empty() ? "" : text(value)) << what;
        const SVector<SString>& conflicts = ours.file->GetSaveConflicts();
        EXPECT_EQ(conflicts.empty() ? "" : conflicts[0], isConflict ? "Editor/Name" : "") << what;
        ASSERT_EQ(ours.Save(), 0);
        EXPECT_TRUE(ours.file->GetSaveConflicts().empty()) << what << ": what was saved is no longer a change";
    }
    Tool ours(m_path, text(plain));
    Tool theirs(m_path, text(plain));
    ours.SetMergingSaves(1);
    ours.SetIntValue("Editor", "Width", 5);
    theirs.SetValue("Editor/Text", "Font", "Serif");
    act(theirs, "S");
    act(ours, "S");
    EXPECT_EQ(ReadText(m_path), text(plain) + "\"Width\"=5 \n\n[Editor/Text]\n\n\"Font\"=\"Serif\" \n");
    EXPECT_STREQ(ours.GetValue("Editor/Text", "Font"), "Serif");
    WriteText(m_path + "2", text("\"old copy\" "));
    act(ours, "C");
    EXPECT_EQ(ReadText(m_path + "2"), ReadText(m_path)) << "another file isn't merged";
}

// Random files with repeated sections and values, headings with attributes and unknown entries.
struct RandomFile {
    explicit RandomFile(unsigned seed) : m_random(seed) {}

    std::string Text() {
        std::string text;
        for (int n = Pick(6); n >= 0; --n) {
            text += std::string("[") + kSections[Pick(5)] + "]" + (Pick(3) == 0 ? "(a=" + Number() + ")" : "");
            for (int values = Pick(5); values > 0; --values) {
                const bool unknown = Pick(3) == 0;
                text += std::string("\"") + (unknown ? "u" + Number() : kNames[Pick(6)]) + "\"=\"" + Number() + "\"" +
                        (Pick(4) == 0 ? "(\"p\"=\"" + Number() + "\")" : "") + "\n";
            }
        }
        return text;
    }
    void Change(COptionManager& manager) {
        for (int n = Pick(4); n > 0; --n) {
            const char* section = kSections[Pick(3)];
            const char* name = kNames[Pick(6)];
            if (const COption* option = manager.FindOption((std::string(section) + "/" + name).c_str())) {
                manager.SetValue(section, name, Pick(2) == 0 ? option->szDefault : Number().c_str());
            }
        }
    }
    static constexpr const char* kSections[] = {"Editor", "Editor/Text", "Build", "Tool", "Editor/None"};
    static constexpr const char* kNames[] = {"Wrap", "Name", "Owner", "Font", "Size", "Target"};

    int Pick(unsigned n) { return static_cast<int>(m_random() % n); }
    std::string Number() { return std::to_string(m_random() % 1000); }

    std::mt19937 m_random;
};

// Every value of the file in memory, by address.
std::map<std::string, std::string> Values(COptionManager& manager) {
    std::map<std::string, std::string> values;
    for (const char* section : RandomFile::kSections) {
        for (const char* name : RandomFile::kNames) {
            values[std::string(section) + "/" + name] = manager.GetValue(section, name);
        }
    }
    return values;
}

// What a plain tree finds in the file: the unknown values of each section in order, and how many known ones are
// repeated.
std::pair<std::string, int> Content(const std::string& path) {
    const Manager declared;
    CRgFile file(nullptr);
    EXPECT_EQ(file.Load(path.c_str()), 0);
    std::pair<std::string, int> content;
    for (const char* section : RandomFile::kSections) {
        CRgKey* key = file.FindKey(section);
        for (void* pos = key ? key->GetFirstValuePosition() : nullptr; pos;) {
            CRgValue* value = key->GetNextValue(pos);
            const std::string address = std::string(section) + "/" + value->GetName();
            if (!declared.FindOption(address.c_str())) {
                content.first += address + "=" + value->GetValue() + "\n";
            } else if (key->FindValue(value->GetName()) != value) {
                ++content.second;
            }
        }
    }
    return content;
}

TEST_F(IncrementalSave, HoldsWhateverTheOldFileLooksLike) {
    for (unsigned seed = 0; seed < 500; ++seed) {
        RandomFile random(seed);
        const std::string old = random.Text();
        WriteText(m_path, old);
        const std::string unknown = Content(m_path).first;
        Manager manager;
        manager.SetSyncedSaves(0);
        COptionFile* file = manager.Load(m_path.c_str());
        ASSERT_NE(file, nullptr);
        random.Change(manager);
        const auto values = Values(manager);

        std::string text[3];
        for (std::string& saved : text) {
            ASSERT_EQ(file->Save(nullptr), 0);
            saved = ReadText(m_path);
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + old + "\n---\n" + text[0]);
        ASSERT_EQ(text[1], text[2]);
        ASSERT_EQ(Content(m_path), std::pair(unknown, 0));
        Manager again;
        COptionFile* loaded = again.Load(m_path.c_str());
        ASSERT_EQ(Values(again), values);
        ASSERT_EQ(loaded->Save(nullptr), 0);
        ASSERT_EQ(ReadText(m_path), text[2]) << "saved by another process";
    }
}

}  // namespace
}  // namespace vyn::test
