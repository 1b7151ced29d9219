#include "VynExplain.h"

#include <random>

#include "TestSupport.h"
#include "VynOptionTables.h"
#include "VynStyle.h"

namespace vyn::test {

// The ladder in short: for each step the line, the text and the role.
std::string Show(const ValueExplanation& explanation) {
    static const char* const roles[] = {"decides", "same", "shadowed", "overruled", "none", "undeclared"};
    std::string text;
    for (const ExplainStep& step : explanation.steps) {
        text += (step.style.empty() ? "" : step.style + ":") + std::to_string(step.line) + (step.isFixed ? "!" : "") +
                (step.isDefault ? "d " : " ") + step.text + " " + roles[step.role] + "; ";
    }
    return text;
}

struct Explain : testing::Test {
    std::string Path(int n) const { return m_directory / ("f" + std::to_string(n) + ".zop"); }
    COptionFile* Add(COptionManager& manager, int n, const std::string& text) {
        WriteText(Path(n), text);
        return manager.Load(Path(n).c_str());
    }

    TemporaryDirectory m_directory;
};

TEST_F(Explain, TellsThePartOfEachStep) {
    Manager manager;
    EXPECT_EQ(Show(ExplainValue(manager, "Editor", "Name")), "0d editor decides; ");
    EXPECT_EQ(CanChange(manager, "Editor", "Name").obstacle, eNoFile);
    EXPECT_EQ(CanChange(manager, "Editor", "None").obstacle, eUnknownOption);
    COptionFile* top = Add(manager, 0, "[Editor]\n\n\"Wrap\"=12\n\"Name\"=\"a\"\n[Build]\"Target\"=\"t\"\n");
    Add(manager, 1, "[Build]\n");
    COptionFile* low = Add(manager, 2, "[Editor]\n\"Name\"=\"b\" (\"fixed\"=\"true\")\n\n\n\"Wrap\"=\"12\"");
    EXPECT_EQ(Show(ExplainValue(manager, "Editor", "Name")),
              "4 a overruled; 0  none; 2! b decides; 0d editor shadowed; ");
    EXPECT_EQ(Show(ExplainValue(manager, "Editor", "Wrap")), "3 12 decides; 0  none; 5 12 same; 0d true shadowed; ");
    EXPECT_EQ(Show(ExplainValue(manager, "Build", "Target")), "5 t decides; 0  none; 0  none; 0d all shadowed; ");
    EXPECT_EQ(Show(ExplainValue(manager, "Editor", "None")), "0  none; 0  none; 0  none; 0d  undeclared; ");
    EXPECT_EQ(ExplainValue(manager, "Editor", "None").GetDecision(), nullptr);

    const ChangeAnswer fixed = CanChange(manager, "Editor", "Name");
    EXPECT_EQ(fixed.obstacle, eFixedBelow);
    EXPECT_EQ(fixed.file, low->GetPathName());
    EXPECT_EQ(fixed.line, 2);
    std::filesystem::remove(top->GetPathName());
    const ChangeAnswer missing = CanChange(manager, "Editor", "Wrap");
    EXPECT_EQ(missing.obstacle, eNotWritable);
    EXPECT_EQ(missing.error, ENOENT);
    EXPECT_EQ(missing.file, top->GetPathName());
}

TEST_F(Explain, GoesThroughTheParentsOfAStyle) {
    const COption rows[] = {{"BasedOn", 1, "none", 0, 0}, {"Font", 1, "Mono", 0, 0}};
    CStyleKind kind("Para", rows, 2);
    CStyle parent("Body", &kind, "Doc", 0, nullptr);
    CStyle style("Note", &kind, "Doc", 0, nullptr);
    const std::string key = style.GetMgrCategory()->GetPath();
    EXPECT_EQ(Show(ExplainValue(style, key.c_str(), "Font")), "0d Mono decides; ");
    style.SetParent(&parent);
    Add(style, 0, "");
    Add(parent, 1, std::string("[") + parent.GetMgrCategory()->GetPath() + "]\n\"Font\"=\"Serif\"");
    const ValueExplanation explanation = ExplainValue(style, key.c_str(), "Font");
    EXPECT_EQ(Show(explanation), "Note:0  none; Note:0  none; Body:2 Serif decides; 0d Mono shadowed; ");
    EXPECT_EQ(explanation.value, "Serif");
}

// 10,000 stacks of three files with random values and marks.
TEST_F(Explain, AgreesWithTheManagerAndWithTheSave) {
    const char* const names[] = {"Wrap", "Name", "Owner"};
    std::mt19937 random(1);
    Manager manager;
    manager.SetSyncedSaves(0);
    COptionFile* files[3];
    for (int n = 0; n < 3; ++n) {
        files[n] = Add(manager, n, "[Editor]\"Unknown\"=\"u\" (\"a\"=\"b\")[Tool](x=y)\"z\"=1");
    }
    for (int round = 0; round < 10000; ++round) {
        COptionFile* file = files[random() % 3];
        const char* name = names[random() % 3];
        const auto change = random() % 4;
        change == 0   ? file->Reset()
        : change == 1 ? void(file->SetRedefineFlag("Editor", name, "f", static_cast<int>(random() % 2)))
                      : void(file->SetValue("Editor", name, std::to_string(random() % 3).c_str()));
        for (const char* asked : names) {
            const ValueExplanation explanation = ExplainValue(manager, "Editor", asked);
            ASSERT_EQ(explanation.value, manager.GetValue("Editor", asked)) << round;
            ASSERT_EQ(explanation.GetDecision()->text, explanation.value) << round << Show(explanation);
            ASSERT_EQ(CanChange(manager, "Editor", asked).obstacle == eNoObstacle,
                      manager.IsEditable("Editor", asked) != 0);
        }
        if (round % 20 == 0) {
            manager.SetMergingSaves(round % 40);
            file->CreateKey("Editor", "m", "n");
            WriteText(file->GetPathName(), "[Tool]\"z\"=1[Editor]\"" + std::string(name) + "\"=\"other\"");
            const SavePreview preview = PreviewSave(*file, nullptr);
            ASSERT_EQ(file->Save(nullptr), preview.status);
            ASSERT_EQ(ReadText(file->GetPathName()), preview.text);
            ASSERT_TRUE(PreviewSave(*file, nullptr).changes.empty());
        }
    }
}

TEST_F(Explain, PreviewListsWhatChanges) {
    Manager manager;
    const std::string before = "[Editor]\"Name\"=\"n\"\"x\"=\"1\"\"Owner\"=\"o\"[Build]\"Target\"=\"t\"";
    COptionFile* file = Add(manager, 0, before);
    manager.SetValue("Editor", "Name", "m");
    manager.SetValue("Editor", "Owner", "nobody");
    manager.SetValue("Editor/Text", "Font", "f");
    std::string shown;
    for (const SaveChange& change : PreviewSave(*file, nullptr).changes) {
        shown += std::to_string(change.kind) + change.address + " " + change.oldText + ">" + change.newText + "; ";
    }
    EXPECT_EQ(shown, "0Editor/Name n>m; 1Editor/Text/Font >f; 2Editor/Owner o>; ");
    EXPECT_EQ(PreviewSave(*file, nullptr).kept, 2);
    EXPECT_EQ(ReadText(Path(0)), before);
    WriteText(Path(1), "stray");
    EXPECT_EQ(PreviewSave(*file, Path(1).c_str()).status, 1);
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "m") << "the tree isn't emptied";
    EXPECT_EQ(PreviewSave(*file, Path(2).c_str()).kept, 0);
}

TEST_F(Explain, PersonalFileKeepsItsPlace) {
    const std::string sound = "[Editor]\"Name\"=\"p\"";
    // A null text is a missing file.
    for (const auto& [text, error] : {std::pair(sound.c_str(), 0), {nullptr, ENOENT}, {"stray", EILSEQ}}) {
        const int editable = error != EILSEQ;
        Manager manager;
        COptionFile* team = Add(manager, 1, "[Build]\"Target\"=\"t\"");
        std::filesystem::remove(Path(0));
        if (text) {
            WriteText(Path(0), text);
        }
        COptionFile* personal = manager.AddPersonalFile(SPathName(Path(0).c_str()));
        EXPECT_EQ(personal->GetLoadError(), error);
        EXPECT_EQ(manager.IsEditable("Build", "Target"), editable) << error;
        const ChangeAnswer answer = CanChange(manager, "Build", "Target");
        EXPECT_EQ(answer.obstacle, editable ? eNoObstacle : eNotLoaded);
        EXPECT_EQ(answer.error, editable ? 0 : error);
        manager.SetValue("Build", "Target", "mine");
        EXPECT_STREQ(team->GetValue("Build", "Target"), "t") << "no change ends up below";
        SVector<SaveFailure> failed;
        EXPECT_EQ(manager.SaveAllFiles(failed), editable ? 0 : 1);
        EXPECT_EQ(failed.empty(), editable);
        if (editable) {
            EXPECT_NE(ReadText(Path(0)).find("\"Target\"=\"mine\""), std::string::npos);
            manager.SetValue("Build", "Target", "t");
            EXPECT_EQ(manager.SaveAllFiles(failed), 0);
            EXPECT_EQ(ReadText(Path(0)).find("Target"), std::string::npos) << "what was set back leaves the file";
        } else {
            EXPECT_EQ(failed[0].file, personal);
            EXPECT_EQ(ReadText(Path(0)), text);
            WriteText(Path(0), sound);
            EXPECT_EQ(manager.Reload(Path(0).c_str()), 1);
            EXPECT_EQ(manager.IsEditable("Build", "Target"), 1);
        }
    }
}

}  // namespace vyn::test
