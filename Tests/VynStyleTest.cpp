#include "VynStyle.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "TestSupport.h"

namespace vyn {
namespace {

using namespace test;

const COption optPara[] = {{"Font", 1, "Sans", 0, 0}, {"Size", 2, "10", 0, 0}, {"Bold", 1, "false", 0, 0}};
const COption optLine[] = {{"Width", 2, "1", 0, 0}, {"Font", 1, "none", 0, 0}};

const char* Path(CStyle& style) {
    return style.GetMgrCategory()->GetPath();
}
std::string Get(CStyle& style, const char* name) {
    const char* value = style.GetValue(Path(style), name);
    return value ? value : "(null)";
}
void Set(CStyle& style, const char* name, const char* value) {
    style.SetValue(Path(style), name, value);
}
std::string Stored(CStyle& style, const char* name) {
    void* pos = style.GetFirstFilePosition();
    const char* value = pos ? style.GetNextFile(pos)->GetValue(Path(style), name) : nullptr;
    return value ? value : "(null)";
}

// The names of the styles, each with a blank behind it.
std::string Names(CStyleList& list) {
    std::string names;
    for (void* pos = list.GetHeadPosition(); pos;) {
        names += std::string(list.GetNext(pos)->GetName()) + " ";
    }
    return names;
}

struct Known : CStyle {
    static int Count() { return m_listStyleKind.GetCount(); }
};

class Style : public testing::Test {
protected:
    std::unique_ptr<CStyle> Make(const char* name, CStyle* parent = nullptr) {
        return std::make_unique<CStyle>(name, &m_kind, "Doc", 0, parent);
    }
    // Saves the top file over an empty one.
    std::string Text(CStyle& style) {
        void* pos = style.GetFirstFilePosition();
        WriteText(m_directory / "text", "");
        EXPECT_EQ(style.GetNextFile(pos)->SaveAs((m_directory / "text").c_str()), 0);
        return ReadText(m_directory / "text");
    }

    TemporaryDirectory m_directory;
    CStyleKind m_kind{"Para", optPara, 3};
};

TEST_F(Style, DeclaresItsTree) {
    CStyle body("Body", &m_kind, "Doc", 3, nullptr);
    EXPECT_STREQ(Path(body), "Doc/Styles/Body/Para");
    EXPECT_STREQ(body.COptionManager::GetName(), "BodyPara");
    EXPECT_STREQ(body.FindOption("Doc/Styles/Body/Para/BasedOn")->szDefault, "none");
    EXPECT_EQ(body.IsUser(), 1);
    EXPECT_EQ(body.IsContextual(), 2);
    EXPECT_EQ(body.Release(), -1) << "and the style lives";
    const auto again = Make("Body");
    EXPECT_EQ(m_kind.GetStyleList()->FindStyle("Body"), &body) << "the first of two";
    EXPECT_EQ(m_kind.GetStyleList()->FindStyle("body"), nullptr);
}

TEST_F(Style, KnowsAKindByNameWhileAStyleOfItLives) {
    EXPECT_EQ(Known::Count(), 0);
    auto first = Make("First");
    const auto second = std::make_unique<CStyle>("Second", "Para", "Doc", nullptr);
    EXPECT_EQ(second->GetStyleKind(), &m_kind);
    EXPECT_EQ(Known::Count(), 2);
    first.reset();
    EXPECT_EQ(Known::Count(), 1);
}

TEST_F(Style, OfAnUnknownKindIsEmptyAndToleratesEverything) {
    const auto body = Make("Body");
    CStyle empty("Note", "Nothing", "Doc", nullptr);
    EXPECT_EQ(empty.GetStyleKind(), nullptr);
    EXPECT_STREQ(empty.GetName(), "");
    empty.SetMgrCategory();
    EXPECT_EQ(empty.GetMgrCategory(), nullptr);
    EXPECT_EQ(empty.GetValue("Doc/Styles/Note/Nothing", "Font"), nullptr);
    EXPECT_EQ(empty.GetHeritedValue("", "Font"), nullptr);
    empty.SetValue("", "BasedOn", "x");
    empty.Copy(body.get());
    body->Copy(&empty);
    empty.SetInitialValues();
    empty.SetParent(body.get());
    EXPECT_EQ(empty.GetParent(), nullptr);
    body->SetParent(&empty);
    EXPECT_EQ(body->GetParent(), nullptr);
}

TEST_F(Style, InheritsThroughTheChain) {
    const auto body = Make("Body");
    const auto note = Make("Note", body.get());
    const auto hint = Make("Hint", note.get());
    EXPECT_EQ(Get(*hint, "Font"), "Sans");
    Set(*body, "Font", "Serif");
    EXPECT_EQ(Get(*hint, "Font"), "Serif");
    EXPECT_STREQ(hint->GetHeritedValue(Path(*hint), "Font"), "Serif");
    Set(*note, "Font", "Mono");
    Set(*hint, "Font", "Script");
    EXPECT_EQ(Get(*hint, "Font") + Get(*note, "Font") + Get(*body, "Font"), "ScriptMonoSerif");
    EXPECT_STREQ(body->GetHeritedValue(Path(*body), "Font"), "Serif") << "without a parent its own";

    Set(*body, "Size", "12");
    EXPECT_EQ(hint->GetIntValue(Path(*hint), "Size"), 12);
    EXPECT_STREQ(note->GetValue("Doc/Styles/Note", "Para/Font"), "Sans") << "not the style's own key";
    EXPECT_EQ(note->GetValue("Doc/Styles/Body/Para", "Font"), nullptr);

    hint->SetParent(body.get());
    Set(*hint, "Font", "Serif");
    EXPECT_EQ(Stored(*hint, "Font"), "(null)") << "what the new parent has";
    EXPECT_EQ(Get(*hint, "BasedOn"), "Body");

    const struct Own : CStyle {
        using CStyle::CStyle;
        const char* GetValue(const char*, const char*) const override { return "own"; }
    } own("Own", &m_kind, "Doc", 0, nullptr);
    hint->SetParent(const_cast<Own*>(&own));
    EXPECT_EQ(Get(*hint, "Size"), "own") << "a derived class answers for itself";
}

TEST_F(Style, FilesHoldOnlyDifferences) {
    const auto body = Make("Body");
    Set(*body, "Font", "Sans");
    EXPECT_EQ(Text(*body), "") << "the default";
    Set(*body, "Size", "12");
    Set(*body, "Colour", "red");
    Set(*body, "BasedOn", "Note");
    EXPECT_EQ(Text(*body), "\n[Doc/Styles/Body/Para] (Para=Body)\n\n\"Size\"=12 \n\"BasedOn\"=\"Note\" \n");

    const auto note = Make("Note", body.get());
    Set(*note, "Font", "Mono");
    Set(*note, "Size", "12");
    Set(*note, "BasedOn", "Other");
    EXPECT_EQ(Text(*note),
              "\n[Doc/Styles/Note/Para] (Para=Note)\n\n\"Font\"=\"Mono\" \n\"BasedOn\"=\"Body\" \n");
    note->SetValue(Path(*note), "Font", note->GetValue(Path(*note), "Font"));
    EXPECT_EQ(Stored(*note, "Font"), "Mono");
    Set(*note, "Font", "Sans");
    EXPECT_EQ(Stored(*note, "Font"), "(null)") << "what the parent has is taken out";
}

TEST_F(Style, FixedMarksWinAndCannotBeEdited) {
    const auto body = Make("Body");
    Set(*body, "Size", "20");
    CStyle note("Note", &m_kind, "Doc", 0, body.get());
    const std::string lower = m_directory / "lower";
    WriteText(lower, "[Doc/Styles/Note/Para]\"Size\"=5(\"fixed\"=\"true\")\"Font\"=\"Serif\"");
    ASSERT_NE(note.AddOptionFile(lower.c_str()), nullptr);
    EXPECT_EQ(Get(note, "Font"), "Serif") << "a file before the parent";
    EXPECT_EQ(Get(note, "Size"), "5");
    Set(note, "Size", "6");
    EXPECT_EQ(Get(note, "Size"), "5");
    EXPECT_EQ(Stored(note, "Size"), "(null)");
    Set(note, "Font", "Sans");
    EXPECT_EQ(Get(note, "Font"), "Serif") << "left out, since the parent has it";
}

TEST_F(Style, ParentsAreLinkedAndUnlinked) {
    auto body = Make("Body");
    const auto note = Make("Note", body.get());
    const auto hint = Make("Hint", note.get());
    Set(*body, "Font", "Serif");
    note->SetParent(body.get());  // once more
    note->SetParent(note.get());
    EXPECT_EQ(note->GetParent(), nullptr);
    EXPECT_EQ(hint->GetParent(), nullptr) << "lost with its parent's own";
    EXPECT_EQ(Get(*note, "BasedOn") + Get(*note, "Font"), "BodySans");

    note->SetParent(body.get());
    hint->SetParent(note.get());
    hint->SetParent(body.get());
    note->SetParent(nullptr);
    hint->OnUpdate(note.get(), CStyle::kParentGone);
    EXPECT_EQ(hint->GetParent(), body.get()) << "no child of the other any more";

    Make("Child", body.get())->SetParent(body.get());
    Set(*body, "Size", "11");  // tells no dead child
    body.reset();
    EXPECT_EQ(hint->GetParent(), nullptr);
    EXPECT_EQ(Get(*hint, "BasedOn") + Get(*hint, "Size"), "Body10");
}

TEST_F(Style, CirclesOfParentsEnd) {
    for (const int dies : {0, 1, 2}) {
        std::unique_ptr<CStyle> styles[] = {Make("A"), Make("B"), Make("C")};
        const auto child = Make("Child", styles[0].get());
        for (int i = 0; i < 3; ++i) {
            styles[i]->SetParent(styles[(i + 1) % 3].get());
        }
        EXPECT_STREQ(styles[1]->GetHeritedValue(Path(*styles[1]), "Font"), "Sans");
        for (int i = 0; i < 2; ++i) {
            Set(*styles[2], "Font", "Serif");
            EXPECT_EQ(Get(*styles[1], "Font") + Get(*styles[2], "Font") + Get(*child, "Font"),
                      "SerifSerifSerif")
                << "no style inherits from itself";
        }
        styles[1]->Copy(styles[2].get());
        styles[dies].reset();
        EXPECT_EQ(styles[(dies + 2) % 3]->GetParent(), nullptr);
    }
    EXPECT_EQ(m_kind.GetStyleList()->GetCount(), 0);
}

TEST_F(Style, KindKnowsWhichStylesItHas) {
    const auto body = Make("Body");
    auto note = Make("Note");
    CStyleList* list = m_kind.GetStyleList();
    m_kind.AddStyle(body.get());
    m_kind.RemoveStyle(body.get());
    EXPECT_EQ(Names(*list), "Note Body ") << "the first of two is gone";
    list->RemoveAll();
    m_kind.AddStyle(note.get());
    const auto hint = Make("Hint");
    note.reset();
    EXPECT_EQ(Names(*list), "Hint ") << "also after a change of the list itself";
}

TEST_F(Style, CopyTakesOverWhatDiffers) {
    const auto body = Make("Body");
    const auto note = Make("Note", body.get());
    const auto other = Make("Other");
    Set(*note, "Font", "Mono");
    Set(*other, "Size", "10");
    other->Copy(body.get());
    EXPECT_EQ(Text(*other), "");
    other->Copy(note.get());
    EXPECT_EQ(Get(*other, "Font") + Get(*other, "Size") + Get(*other, "BasedOn"), "Mono10Body");
    EXPECT_EQ(other->GetParent(), nullptr);

    CStyleKind line("Line", optLine, 2);
    CStyle thin("Thin", &line, "Doc", 0, nullptr);
    other->Copy(&thin);
    EXPECT_EQ(Get(*other, "Font") + Get(*other, "Size"), "none10") << "only what both kinds have";
    thin.SetParent(other.get());
    EXPECT_EQ(Get(thin, "Width"), "(null)") << "the parent's kind lacks it";
}

TEST_F(Style, OutlivesItsKindAndWhatItWasMadeFrom) {
    COptionManager merged;
    std::string name = "Line";
    auto kind = std::make_unique<CStyleKind>(name.c_str(), optLine, 2);
    auto thin = std::make_unique<CStyle>("Thin", kind.get(), "Doc", 0, nullptr);
    const auto thick = std::make_unique<CStyle>("Thick", kind.get(), "Doc", 0, thin.get());
    merged.MergeManager(thin.get());
    kind.reset();
    name.assign(name.size(), '#');
    EXPECT_EQ(thin->GetStyleKind(), nullptr);
    EXPECT_EQ(Known::Count(), 0);
    Set(*thin, "Width", "4");
    EXPECT_EQ(Text(*thin), "\n[Doc/Styles/Thin/Line] (Line=Thin)\n\n\"Width\"=4 \n");
    EXPECT_EQ(Get(*thick, "Width"), "4");
    thin.reset();
    EXPECT_EQ(Get(*thick, "Width"), "1");
    EXPECT_STREQ(merged.GetValue("Doc/Styles/Thin/Line", "BasedOn"), "none");
    EXPECT_STREQ(merged.FindCategory("Doc", 0)->FindCategory("Styles", 0)->GetOptionSet()->GetName(),
                 "Styles");
}

class StyleFile : public Style {
protected:
    StyleFile() {
        COptionFile* optionFile = new COptionFile(m_proto.get());
        m_proto->AddFile(optionFile);
        m_file = std::make_unique<CStyleFile>(optionFile);
    }
    ~StyleFile() override {
        m_proto.reset();
        m_protoLine.reset();
        for (CStyleKind* kind : {&m_kind, &m_line}) {
            while (void* pos = kind->GetStyleList()->GetHeadPosition()) {
                delete kind->GetStyleList()->GetNext(pos);
            }
        }
    }
    // Loads a file of that text into the list.
    int Load(const std::string& text) {
        WriteText(m_directory / "styles", text);
        return m_file->Load((m_directory / "styles").c_str(), &m_list);
    }
    // The styles of the list, as "Name:Kind " each.
    std::string Names() {
        std::string names;
        for (void* pos = m_list.GetHeadPosition(); pos;) {
            CStyle* style = m_list.GetNext(pos);
            names += std::string(style->GetName()) + ":" + style->GetMgrCategory()->GetName() + " ";
        }
        return names;
    }
    // Fills the list anew from the tree.
    int Refill() {
        m_list.RemoveAll();
        m_file->FillStyleList(static_cast<CStyRgKey*>(m_file->GetKeyRoot()), &m_list);
        return m_list.GetCount();
    }
    CStyle* Find(const char* name) {
        CStyle* style = m_list.FindStyle(name);
        EXPECT_NE(style, nullptr) << name;
        style->SetInitialValues();
        return style;
    }

    CStyleKind m_line{"Line", optLine, 2};
    std::unique_ptr<CStyle> m_proto = Make("Proto");
    std::unique_ptr<CStyle> m_protoLine = std::make_unique<CStyle>("Proto", &m_line, "Doc", 0, nullptr);
    std::unique_ptr<CStyleFile> m_file;
    CStyleList m_list{&m_kind};
};

const char kTwoStyles[] =
    "[Doc/Styles/Note/Para] (Para=Note)\n\"Size\"=8 (\"by\"=\"me\")\n\"BasedOn\"=\"Body\"\n\"Width\"=3 "
    "(\"by\"=\"me\")\n"
    "[Doc/Styles/Body/Para] (Para=Body)\n\"Font\"=\"Serif\"\n[Doc/Styles/Body/Para]\n\"Bold\"=true\n";

TEST_F(StyleFile, GivesStylesInFileOrderForTheToolToLink) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    EXPECT_EQ(Names(), "Note:Para Body:Para ");
    EXPECT_STREQ(m_file->GetValue("Doc/Styles/Note/Para", "Size"), "8");
    EXPECT_STREQ(m_file->GetAttributeValue("Doc/Styles/Note/Para", "Size", "by"), "me");
    EXPECT_EQ(m_file->GetValue("Doc/Styles/Note/Para", "Width"), nullptr) << "the kind doesn't declare it";
    CStyle* note = Find("Note");
    CStyle* body = Find("Body");
    EXPECT_EQ(Get(*note, "Font") + Get(*note, "Size") + Get(*note, "BasedOn"), "Sans8Body");
    EXPECT_EQ(Get(*body, "Font") + Get(*body, "Bold"), "Seriftrue") << "from both of its sections";
    EXPECT_EQ(note->GetParent(), nullptr);
    m_file.reset();
    note->SetInitialValues();  // the key is gone
    note->SetParent(m_list.FindStyle(Get(*note, "BasedOn").c_str()));
    EXPECT_EQ(Get(*note, "Font") + Get(*note, "Size"), "Serif8");
}

TEST_F(StyleFile, KnowsAStyleByTheAttributeOfItsHeading) {
    const struct {
        const char* text;
        const char* names;
    } rows[] = {
        {"[Doc/Styles/A/Para](Para=A)", "A:Para "},
        {"[Doc/Styles/A/Para](Para=B)", ""},
        {"[Doc/Styles/A/Nothing](Nothing=A)\"Size\"=8", ""},
        {"[Other/Styles/A/Para](Para=A)", ""},
        {"[Doc/A/Para](Para=A)", ""},
        {"[A](Para=A)", ""},
        {"[Doc/Styles/Proto](Proto=Styles)", ""},
        {"[Doc/Styles](Para=Styles)[Doc/Styles/A/Para](Para=A)", "A:Para "},
        {"[Doc/Styles/A/Para](Nothing=A, note=x, Para=A, Line=A)", "A:Para "},
        {"[Doc/Styles/A/Para](Para=A)[Doc/Styles/B/Line](Line=B)"
         "[Doc/Styles/A/Line](Line=A)[Doc/Styles/C/Line](Line=C)",
         "A:Para B:Line C:Line "},
        {"[Doc/Styles/A/Para](Para=A)[Doc/Styles/A/Para](Para=A)[Doc/Styles/B/Para](Para=B)"
         "[Doc/Styles/A/Para](Line=A, Para=A)",
         "A:Para B:Para "},
        {"[Doc/Styles/Proto/Para](Para=Proto)", "Proto:Para "},
        {"[Doc/Styles/Proto/Para](x=y, Line=Proto, Para=A)", ""},
        {"[Doc/Styles/Styles/Para](Para=Styles)[Doc/Styles/Doc/Para](Para=Doc)", "Styles:Para Doc:Para "},
    };
    int listed = 0;
    for (const auto& row : rows) {
        m_list.RemoveAll();
        EXPECT_EQ(Load(row.text), 0) << row.text;
        EXPECT_EQ(Names(), row.names) << row.text;
        listed += m_list.GetCount();
    }
    EXPECT_EQ(m_kind.GetStyleList()->GetCount() + m_line.GetStyleList()->GetCount(), listed + 2)
        << "no style is left that the file didn't give";
}

TEST_F(StyleFile, LongChainsNeedNoDeepStack) {
    rlimit limit;
    getrlimit(RLIMIT_STACK, &limit);
    const rlimit small = {256 * 1024, limit.rlim_max};
    setrlimit(RLIMIT_STACK, &small);
    std::vector<std::unique_ptr<CStyle>> chain;
    CStyRgKey root("");
    for (CRgKey* key = &root; chain.size() < 5000;) {
        chain.push_back(Make("Link", chain.empty() ? nullptr : chain.back().get()));
        CRgKey* below = new CStyRgKey("Link");
        key->AddKey(below);
        key = below;
    }
    Set(*chain[0], "Font", "Serif");
    EXPECT_EQ(Get(*chain.back(), "Font") + Get(*chain.back(), "Size"), "Serif10");
    m_file->FillStyleList(&root, &m_list);
    EXPECT_EQ(m_list.GetCount(), 0);
    chain[0]->SetParent(chain.back().get());
    chain.clear();
    setrlimit(RLIMIT_STACK, &limit);
}

TEST_F(StyleFile, SecondLoadMakesNewStyles) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    CStyle* old = Find("Body");
    ASSERT_EQ(Load(kTwoStyles), 0);
    EXPECT_EQ(Names(), "Note:Para Body:Para Note:Para Body:Para ");
    Set(*old, "Font", "Sans");
    old->SetInitialValues();
    EXPECT_EQ(Get(*old, "Font"), "Sans") << "its key went with the first load";
    EXPECT_EQ(m_file->Load((m_directory / "none").c_str(), &m_list), 1);
    EXPECT_EQ(m_list.GetCount(), 6) << "the tree that couldn't be replaced is listed again";
}

TEST_F(StyleFile, StylesMayDieBeforeTheirKeys) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    const std::string path = m_directory / "styles";
    for (void* pos = m_list.GetHeadPosition(); pos;) {
        delete m_list.GetNext(pos);
    }
    EXPECT_EQ(Refill(), 0);
    EXPECT_STREQ(m_file->GetValue("Doc/Styles/Body/Para", "BasedOn"), nullptr);
    EXPECT_STREQ(m_file->GetValue("Doc/Styles/Body/Para", "Font"), "Serif") << "the values stay readable";
    m_file->SetValue("Doc/Styles/Body/Para", "Size", "1");
    EXPECT_EQ(m_file->GetValue("Doc/Styles/Body/Para", "Size"), nullptr) << "nothing declares it now";
    ASSERT_EQ(m_file->Merge(path.c_str()), 0);
    EXPECT_EQ(Refill(), 2) << "made anew";

    m_proto.reset();
    EXPECT_EQ(m_file->Load(path.c_str(), &m_list), 0);
    EXPECT_EQ(m_list.GetCount(), 2) << "without a tree every section is passed over";
}

// A kind named "Styles" makes the key of a style look like the place for further ones.
TEST_F(StyleFile, KeyOfAStyleStaysInTheTreeOfThatStyle) {
    CStyleKind odd("Styles", optPara, 3);
    CStyle proto("Proto", &odd, "Doc", 0, nullptr);
    ASSERT_EQ(Load("[Doc/Styles/Doc/Styles](Styles=Doc)[Doc/Styles/Doc/Styles/A/Para](Para=A)"), 0);
    EXPECT_EQ(Names(), "Doc:Styles ");
    delete m_list.FindStyle("Doc");
    EXPECT_EQ(Refill(), 0);
}

TEST_F(StyleFile, SyntaxErrorLeavesTheStylesBeforeItToTheirKind) {
    EXPECT_EQ(Load(std::string(kTwoStyles) + "stray [Doc/Styles/Last/Para](Para=Last)"), 1);
    EXPECT_EQ(m_list.GetCount(), 0);
    EXPECT_EQ(m_file->GetKeyRoot()->GetKeyCount(), 0);
    CStyle* body = m_kind.GetStyleList()->FindStyle("Body");
    ASSERT_NE(body, nullptr);
    body->SetInitialValues();
    EXPECT_EQ(Get(*body, "Font"), "Sans") << "its values went with the tree";
    EXPECT_EQ(m_kind.GetStyleList()->FindStyle("Last"), nullptr);
}

TEST_F(StyleFile, ReadsBackStylesThatWereSavedOverOneFile) {
    const auto body = Make("Body");
    const auto note = Make("Note", body.get());
    CStyle thin("Thin", &m_line, "Doc", 0, nullptr);
    Set(*body, "Font", "Serif");
    Set(*note, "Size", "8");
    Set(thin, "Width", "2");
    const std::string path = m_directory / "saved";
    WriteText(path, "");
    std::string text;
    for (int round = 0; round < 3; ++round) {
        for (CStyle* style : {body.get(), note.get(), &thin}) {
            void* pos = style->GetFirstFilePosition();
            ASSERT_EQ(style->GetNextFile(pos)->SaveAs(path.c_str()), 0);
        }
        EXPECT_TRUE(round < 2 || ReadText(path) == text) << text << "---" << ReadText(path);
        text = ReadText(path);
        m_list.RemoveAll();
        ASSERT_EQ(m_file->Load(path.c_str(), &m_list), 0) << text;
        EXPECT_EQ(Names(), "Body:Para Note:Para Thin:Line ") << text;
        CStyle* again = Find("Note");
        EXPECT_EQ(Get(*again, "Size") + Get(*again, "BasedOn"), "8Body");
        again->SetParent(Find("Body"));
        EXPECT_EQ(Get(*again, "Font") + Get(*Find("Thin"), "Width"), "Serif2");
    }
}

}  // namespace
}  // namespace vyn
