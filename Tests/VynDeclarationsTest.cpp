#include "VynDeclarations.h"

#include "TestSupport.h"

namespace vyn::test {

TEST(Declarations, GoThroughAFileIntoTablesThatTheManagerOwns) {
    const COption options[] = {{"TabWidth", eBareOption, "8", 0, 0},
                               {"Font", eTextOption, "a b", 0, 0},
                               {"Zoom", eOtherBareOption, "1", 0, 0}};
    const COptionSet set = {"Text", options, 3, nullptr};
    const CCategory text = {"Text", nullptr, 0, &set};
    const CCategory* const below[] = {&text};
    const CCategory editor = {"Editor", below, 1, nullptr};
    COptionManager manager;
    manager.AddCategory(&editor);
    const TemporaryDirectory directory;
    const std::string path = directory / "tables";
    const std::string options2 = directory / "options";
    auto declarations = std::make_unique<CDeclarations>();
    declarations->AddFrom(manager);
    ASSERT_EQ(declarations->Save(path.c_str()), 0);
    EXPECT_EQ(ReadText(path),
              "[Editor/Text]\n\n\"Font\"=\"a b\"\n\"TabWidth\"=\"8\" (\"kind\"=\"bare\")\n\"Zoom\"=\"1\" "
              "(\"kind\"=\"other\")\n");

    declarations = std::make_unique<CDeclarations>();
    ASSERT_EQ(declarations->Load(path.c_str()), 0);
    EXPECT_TRUE(declarations->Has("Editor/Text", "Zoom"));
    EXPECT_FALSE(declarations->Has("Editor/Text", "Zoo"));
    EXPECT_FALSE(declarations->Has("Editor", "Zoom"));
    declarations->Add("Editor", {"Name", eTextOption, "n", 0, 0});
    COptionManager other;
    declarations->AddTo(other);
    declarations.reset();
    EXPECT_STREQ(other.GetValue("Editor/Text", "Font"), "a b");
    EXPECT_STREQ(other.GetValue("Editor", "Name"), "n");
    other.AddPersonalFile(options2.c_str());
    other.SetIntValue("Editor/Text", "TabWidth", 4);
    other.SaveAllFiles();
    EXPECT_NE(ReadText(options2).find("\"TabWidth\"=4"), std::string::npos) << ReadText(options2);
}

TEST(Declarations, ReadWhatPeopleWriteAndRefuseWhatNoFileHolds) {
    const TemporaryDirectory directory;
    const std::string path = directory / "tables";
    CDeclarations declarations;
    EXPECT_EQ(declarations.Load(path.c_str()), ENOENT);
    WriteText(path, "[A]\n\"n\"=x\n[A/" + std::string(256, 'b') + "]\n\"n\"=x");
    ASSERT_EQ(declarations.LoadEntries(path.c_str()), 0);
    COptionManager manager;
    declarations.AddTo(manager);
    const COption* option = manager.FindOption("A/n");
    ASSERT_TRUE(option);
    EXPECT_EQ(option->nType, eBareOption);
    EXPECT_STREQ(option->szDefault, "");
    WriteText(path, "[A]\n\"m\"=x\n\"n\"=-1");
    EXPECT_EQ(declarations.Load(path.c_str()), EILSEQ);
    EXPECT_FALSE(declarations.Has("A", "m"));
    for (const char* bad : {"", " A", "A]", "A/"}) {
        CDeclarations unstorable;
        unstorable.Add(bad, {"n", eTextOption, "", 0, 0});
        EXPECT_EQ(unstorable.Save(path.c_str()), EILSEQ) << bad;
    }
    declarations.Add("A", {"n", eTextOption, "\"", 0, 0});
    EXPECT_EQ(declarations.Save(path.c_str()), EILSEQ);
}

}  // namespace vyn::test
