#include "VynOption.h"

#include "TestSupport.h"
#include "VynOptionTables.h"

namespace vyn::test {
namespace {

TEST(Option, ReadsItsDefault) {
    COption upper = {"x", 1, "True", 0, 0};
    COption number = {"x", 1, "12px", 0, 0};
    EXPECT_EQ(upper.GetBoolValue(), 0) << "only a lower-case t counts";
    EXPECT_EQ(number.GetIntValue(), 12);
    EXPECT_EQ(number.IsDefaultValue("12px"), 1);
    EXPECT_EQ(number.IsDefaultValue("12"), 0);
}

TEST(Category, ResolvesAddressesAndTellsItsPath) {
    Manager manager;
    const std::pair<const char*, const char*> rows[] = {{"Editor/Wrap", "true"},
                                                        {"Editor/Text/Font", "Mono"},
                                                        {"Editor/Owner", "nobody"},
                                                        {"Editor/Name", "editor"},
                                                        {"Wrap", "-"},
                                                        {"Editor", "-"},
                                                        {"editor/Wrap", "-"},
                                                        {"Editor/Font", "-"},
                                                        {"", "-"},
                                                        {"/Wrap", "-"}};
    for (const auto& [address, expected] : rows) {
        const COption* option = manager.FindOption(address);
        EXPECT_STREQ(option ? option->szDefault : "-", expected) << address;
    }
    errno = 0;
    EXPECT_EQ(manager.FindOption((std::string(256, 'x') + "/Wrap").c_str()), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST(Category, TablesOfOneNameAddUp) {
    const COption more[] = {{"Font", 1, "Serif", 0, 0}, {"Weight", 1, "bold", 0, 0}};
    const COptionSet setMore = {"More", more, 2, nullptr};
    const CCategory catMore = {"Text", nullptr, 0, &setMore};
    const CCategory* const sub[] = {&catMore};
    const COptionSet setNone = {"None", nullptr, 0, nullptr};
    const CCategory catAgain = {"Editor", sub, 1, &setNone};
    Manager manager;
    manager.AddCategory(&catAgain);
    EXPECT_STREQ(manager.FindOption("Editor/Text/Font")->szDefault, "Serif") << "the later table";
    EXPECT_STREQ(manager.FindOption("Editor/Text/Size")->szDefault, "12");
    EXPECT_STREQ(manager.FindOption("Editor/Text/Weight")->szDefault, "bold");
    EXPECT_EQ(manager.GetCategoryCount(), 2);

    EXPECT_EQ(static_cast<CMgrCategory&>(manager).GetPath(), nullptr);
    const CMgrCategory* text = manager.FindCategory("Editor", 0)->FindCategory("TextAndMore", 4);
    EXPECT_STREQ(const_cast<CMgrCategory*>(text)->GetPath(), "Editor/Text");
}

TEST(Category, MergesAManagerAndTakesItOutAgain) {
    Manager manager;
    COptionManager other;
    other.AddCategory(&catOther);
    manager.RemoveManager(&other);
    EXPECT_NE(manager.FindOption("Editor/Wrap"), nullptr) << "nothing was merged yet";
    other.AddCategory(&catNew);
    manager.MergeManager(&other);
    EXPECT_STREQ(manager.FindOption("Editor/Extra")->szDefault, "e");
    EXPECT_STREQ(manager.FindOption("New/Wrap")->szDefault, "no");
    manager.RemoveManager(&other);
    EXPECT_EQ(manager.FindCategory("New", 0), nullptr);
    EXPECT_EQ(manager.FindCategory("Editor", 0), nullptr) << "its last manager took it along";
    manager.RemoveManager(&other);
    EXPECT_NE(manager.FindOption("Build/Target"), nullptr) << "a second removal does nothing";
}

struct OptionFileTest : testing::Test {
    std::string Path(const char* name) { return m_directory / name; }
    // A file of the stack, below those added before.
    COptionFile* Add(const char* name, const std::string& text) {
        WriteText(Path(name), text);
        return manager.AddOptionFile(Path(name).c_str());
    }

    TemporaryDirectory m_directory;
    Manager manager;
};

TEST_F(OptionFileTest, LoadKeepsWhatIsDeclared) {
    COptionFile* file = Add("f",
                            "[Editor](k=v)\"Wrap\"=\"false\" \"Other\"=1 \"Text/Font\"=\"x\"\n"
                            "[Editor/Text]\"Font\"=\"A\" [Tool]\"Wrap\"=\"x\" [Editor/No/Text]\"Font\"=\"B\"");
    ASSERT_NE(file, nullptr);
    EXPECT_STREQ(file->GetValue("Editor", "Wrap"), "false");
    EXPECT_STREQ(file->GetValue("Editor/Text", "Font"), "A");
    CRgKey* key = file->FindKey("Editor");
    EXPECT_EQ(key->GetValueCount(), 1);
    EXPECT_EQ(file->GetKeyRoot()->GetKeyCount(), 1);

    EXPECT_EQ(file->CreateKey("Editor/No/More", "k", "v"), nullptr);
    EXPECT_EQ(file->CreateKey("Editor", "k", "w"), key);
    EXPECT_EQ(key->GetAttributeList()->GetCount(), 1) << "the attributes are replaced";
    file->SetValue("Tool", "Wrap", "x");
    file->SetValue("Editor", "Other", "x");
    EXPECT_EQ(file->GetValue("Editor", "Other"), nullptr);
    MList<CRgAttribute*> attributes;
    attributes.AddTail(new CRgAttribute("a", "b"));
    EXPECT_EQ(key->CreateValue("Other", CRgValue::eText, "x", &attributes), nullptr);
}

TEST_F(OptionFileTest, ValueIsOfTheLastDeclarationOfItsName) {
    const COption twice[] = {{"Target", 1, "", 0, 0}, {"Target", 2, "", 0, 0}};
    const COptionSet setTwice = {"Twice", twice, 2, nullptr};
    const CCategory table = {"Twice", nullptr, 0, &setTwice};
    const COptionSet setOnce = {"Once", twice + 1, 1, nullptr};
    const CCategory merged = {"Build", nullptr, 0, &setOnce};
    COptionManager other;
    other.AddCategory(&merged);
    manager.AddCategory(&table);
    manager.MergeManager(&other);
    COptionFile* file = Add("f", "[Twice]\"Target\"=\"1\" [Build]\"Target\"=\"1\"");
    for (const char* key : {"Twice", "Build"}) {
        EXPECT_EQ(file->FindKey(key)->FindValue("Target")->GetType(), CRgValue::eBare) << key;
    }
}

TEST_F(OptionFileTest, DyingCategoryTakesItsKeysAlong) {
    COptionFile* file = Add("f", "[Editor/Text]\"Font\"=\"A\" [Build]\"Target\"=\"x\"");
    COptionFile* below = Add("g", "[Editor]\"Wrap\"=\"false\" [Editor/Text]\"Font\"=\"A\"");
    delete const_cast<CMgrCategory*>(manager.FindCategory("Editor", 0));
    EXPECT_EQ(file->FindKey("Editor"), nullptr);
    EXPECT_EQ(below->GetKeyRoot()->GetKeyCount(), 0);
    EXPECT_EQ(file->Save(nullptr), 0);
    EXPECT_EQ(ReadText(Path("f")), "\n[Editor/Text]\n\n\"Font\"=\"A\" \n\n[Build]\n\n\"Target\"=\"x\" \n")
        << "to the file the section is now unknown";
}

TEST_F(OptionFileTest, EmptiedKeyCanBeRemovedOrDestroyed) {
    COptionFile* file = Add("f", "[Editor/Text]\"Font\"=\"A\"");
    CRgKey* editor = file->FindKey("Editor");
    CRgKey* text = file->FindKey("Editor/Text");
    file->RemoveKey(text);
    file->DestroyKey(editor);
    EXPECT_EQ(file->FindKey("Editor/Text"), text) << "one has a value, the other a subkey";
    file->DestroyKey(text);
    EXPECT_EQ(editor->GetKeyCount() + text->GetValueCount(), 0);
    file->RemoveKey(editor);
    EXPECT_EQ(file->FindKey("Editor"), nullptr);
    delete text;
    delete editor;
}

TEST_F(OptionFileTest, FixedIsExactlyTrue) {
    COptionFile* file = Add("f",
                            "[Editor]\"Wrap\"=\"1\"(\"fixed\"=\"True\") \"Name\"=\"2\"(\"fixed\"=\"true\")"
                            "\"Width\"=3(\"fixed\"=true)");
    EXPECT_EQ(file->IsUnredefinable("Editor", "Wrap"), 0);
    EXPECT_EQ(file->IsUnredefinable("Editor", "Name"), 1);
    EXPECT_EQ(file->IsUnredefinable("Editor", "Width"), 1);
    file->SetRedefineFlag("Editor", "Name", "ignored", 0);
    file->SetRedefineFlag("Editor/Text", "Font", "new", 1);
    EXPECT_STREQ(file->GetAttributeValue("Editor", "Name", "fixed"), "false");
    EXPECT_STREQ(file->GetValue("Editor", "Name"), "2");
    EXPECT_STREQ(file->GetValue("Editor/Text", "Font"), "new");
}

TEST_F(OptionFileTest, ChangeIsKeptAsADifferenceFromBelow) {
    manager.SetValue("Editor", "Name", "x");
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "editor") << "without a file nothing is kept";
    COptionFile* top = Add("top", "");
    Add("below", "[Editor]\"Name\"=\"below\"");
    EXPECT_STREQ(manager.GetUnderneathValue(top, "Editor", "Name"), "below");
    EXPECT_STREQ(manager.GetUnderneathValue(nullptr, "Editor", "Owner"), "nobody");
    manager.SetValue("Editor", "Name", "below");
    EXPECT_EQ(top->FindKey("Editor"), nullptr);
    manager.SetValue("Editor", "Name", "editor");
    EXPECT_STREQ(top->GetValue("Editor", "Name"), "editor") << "the default differs from what is below";
    manager.SetIntValue("Editor", "Width", -5);
    manager.SetBoolValue("Editor", "Wrap", 2);
    EXPECT_EQ(top->GetValue("Editor", "Wrap"), nullptr) << "true is the default";
    EXPECT_EQ(manager.GetIntValue("Editor", "Width"), -5);
    manager.SetValue("Editor", "Wrap", "T");
    EXPECT_EQ(manager.GetBoolValue("Editor", "Wrap", 1), 0);
    manager.SetStrValue("Editor", "Wrap", manager.GetStrValue("Editor", "Wrap"));
    EXPECT_STREQ(manager.GetStrValue("Editor", "Wrap", "d"), "T") << "set to its own text";

    manager.SetValue("Editor", "Name", "below");
    manager.SetValue("Editor", "Width", "80");
    EXPECT_NE(top->FindKey("Editor"), nullptr);
    manager.SetValue("Editor", "Wrap", "true");
    EXPECT_EQ(top->FindKey("Editor"), nullptr) << "the key goes with its last value";
    manager.SetValue("Tool", "Other", "x");
    EXPECT_STREQ(manager.GetValue("Editor", "Other"), "");
}

TEST_F(OptionFileTest, FixedAndReadOnlyOptionsAreNotChanged) {
    COptionFile* top = Add("top", "[Editor]\"Name\"=\"a\" \"Wrap\"=\"false\"(\"fixed\"=\"true\")");
    Add("below", "[Editor]\"Name\"=\"b\"(\"fixed\"=\"true\")");
    manager.SetValue("Editor", "Name", "c");
    EXPECT_STREQ(top->GetValue("Editor", "Name"), "a");
    manager.SetValue("Editor", "Wrap", "true");
    EXPECT_STREQ(top->GetValue("Editor", "Wrap"), "false") << "a lock is not removed by a value";
    std::filesystem::remove(Path("top"));
    EXPECT_EQ(manager.IsEditable("Editor", "Width"), 0) << "a file that isn't there can't take changes";
}

TEST_F(OptionFileTest, ManagerKeepsItsFilesInOrder) {
    EXPECT_EQ(manager.AddOptionFile(Path("missing").c_str()), nullptr);
    COptionFile* a = Add("a", "[Editor]\"Name\"=\"a\"");
    COptionFile* b = Add("b", "[Editor]\"Name\"=\"b\"");
    EXPECT_NE(manager.Load(Path("a").c_str()), nullptr) << "a second load adds a second file";
    EXPECT_EQ(manager.GetFile(Path("a").c_str()), a);
    EXPECT_EQ(manager.GetOptionFile(Path("a").c_str()), nullptr);
    COptionFile twin(&manager);
    twin.SetPathName(Path("b").c_str());
    manager.AddFile(&twin);
    EXPECT_EQ(manager.GetFileCount(), 3) << "one of that path is there";
    manager.RemoveOptionFile(Path("a").c_str());
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "b");
    delete a;

    WriteText(Path("b"), "[Editor]\"Name\"=\"new\"");
    EXPECT_EQ(manager.Reload(Path("c").c_str()), 0);
    EXPECT_EQ(manager.Reload(Path("b").c_str()), 1);
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "new");
    manager.SetModified();
    manager.ReloadAllFiles();
    EXPECT_EQ(b->IsModified(), 0);
    manager.Reset();
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "a") << "the lower file still shows";
    manager.ResetAll();
    EXPECT_STREQ(manager.GetValue("Editor", "Name"), "editor");
    std::unique_ptr<COptionFile> last(manager.GetFile(Path("a").c_str()));
    manager.RemoveAllFiles();
    EXPECT_EQ(manager.GetFileCount(), 0);
    delete b;
}

}  // namespace
}  // namespace vyn::test
