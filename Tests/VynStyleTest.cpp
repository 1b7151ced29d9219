#include "VynStyle.h"

#include "TestSupport.h"

namespace vyn::test {

const COption optPara[] = {{"Font", 1, "Sans", 0, 0}, {"Size", 2, "10", 0, 0}, {"Bold", 1, "false", 0, 0}};
const COption optLine[] = {{"Width", 2, "1", 0, 0}, {"Font", 1, "none", 0, 0}};

struct Known : CStyle {
    static int Count() { return m_listStyleKind.GetCount(); }
};

struct Style : testing::Test {
    static std::string Text(const char* text) { return text ? text : "(null)"; }
    static const char* Path(CStyle& style) { return style.GetMgrCategory()->GetPath(); }
    static std::string Get(CStyle& style, const char* name) { return Text(style.GetValue(Path(style), name)); }
    static void Set(CStyle& style, const char* name, const char* text) { style.SetValue(Path(style), name, text); }
    static COptionFile* TopFile(CStyle& style) {
        void* pos = style.GetFirstFilePosition();
        return style.GetNextFile(pos);
    }
    static std::string Stored(CStyle& style, const char* name) {
        return Text(TopFile(style)->GetValue(Path(style), name));
    }
    // The styles of the list, as "Name:Kind " each.
    static std::string Names(CStyleList& list) {
        std::string names;
        for (void* pos = list.GetHeadPosition(); pos;) {
            CStyle* style = list.GetNext(pos);
            names += std::string(style->GetName()) + ":" + style->GetMgrCategory()->GetName() + " ";
        }
        return names;
    }
    std::unique_ptr<CStyle> Make(const char* name, CStyle* parent = nullptr) {
        return std::make_unique<CStyle>(name, &m_kind, "Doc", 0, parent);
    }
    // Saves the top file over an empty one.
    std::string Saved(CStyle& style) {
        WriteText(m_directory / "text", "");
        EXPECT_EQ(TopFile(style)->SaveAs((m_directory / "text").c_str()), 0);
        return ReadText(m_directory / "text");
    }

    TemporaryDirectory m_directory;
    CStyleKind m_kind{"Para", optPara, 3};
};

TEST_F(Style, DeclaresItsTree) {
    CStyle body("Body", &m_kind, "Doc", 3, nullptr);
    EXPECT_STREQ(Path(body), "Doc/Styles/Body/Para");
    EXPECT_STREQ(body.COptionManager::GetName(), "BodyPara");
    EXPECT_EQ(Get(body, "BasedOn"), "none");
    EXPECT_EQ(body.IsUser() + body.IsContextual(), 1 + 2);
    EXPECT_EQ(body.Release(), -1) << "and the style lives";
}

TEST_F(Style, KindKnowsItsStylesAndIsKnownByThem) {
    const auto body = Make("Body");
    auto note = std::make_unique<CStyle>("Note", "Para", "Doc", nullptr);
    EXPECT_EQ(note->GetStyleKind(), &m_kind);
    const auto again = Make("Body");
    CStyleList* list = m_kind.GetStyleList();
    EXPECT_EQ(list->FindStyle("Body"), body.get()) << "the first of two";
    EXPECT_EQ(list->FindStyle("body"), nullptr);
    m_kind.AddStyle(body.get());
    m_kind.RemoveStyle(body.get());
    EXPECT_EQ(Names(*list), "Note:Para Body:Para Body:Para ");
    list->RemoveAll();
    m_kind.AddStyle(note.get());
    const auto hint = Make("Hint");
    note.reset();
    EXPECT_EQ(Names(*list), "Hint:Para ") << "also after a change of the list itself";
    EXPECT_EQ(Known::Count(), 3) << "once for each style";
}

TEST_F(Style, OfAnUnknownKindIsEmptyAndToleratesEverything) {
    const auto body = Make("Body");
    CStyle empty("Note", "Nothing", "Doc", nullptr);
    EXPECT_EQ(empty.GetStyleKind(), nullptr);
    empty.SetMgrCategory();
    EXPECT_EQ(empty.GetMgrCategory(), nullptr);
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

TEST_F(Style, FilesHoldDifferencesAndTheChainTheRest) {
    const auto body = Make("Body"), note = Make("Note", body.get()), hint = Make("Hint", note.get());
    // What is set, what the file holds and what the grandchild inherits.
    const std::tuple<CStyle&, const char*, const char*, const char*, const char*> rows[] = {
        {*body, "Font", "Serif", "Serif", "Serif"},   {*body, "Size", "12", "12", "12"},
        {*body, "Colour", "red", "(null)", "(null)"}, {*body, "BasedOn", "Note", "Note", "Note"},
        {*note, "Font", "Mono", "Mono", "Mono"},      {*note, "Size", "12", "(null)", "12"},
        {*note, "BasedOn", "Other", "Body", "Note"},  {*hint, "Font", "Script", "Script", "Script"},
        {*hint, "Font", "Mono", "(null)", "Mono"},
    };
    for (const auto& [style, name, value, stored, inherited] : rows) {
        Set(style, name, value);
        EXPECT_EQ(Stored(style, name), stored) << name << " " << value;
        EXPECT_EQ(Get(*hint, name), inherited) << name << " " << value;
    }
    EXPECT_EQ(Saved(*note), "\n[Doc/Styles/Note/Para] (Para=Note)\n\n\"Font\"=\"Mono\" \n\"BasedOn\"=\"Body\" \n");
    EXPECT_STREQ(body->GetHeritedValue(Path(*body), "Font"), "Serif") << "without a parent its own";
    EXPECT_STREQ(note->GetValue("Doc/Styles/Note", "Para/Font"), "Sans") << "not the style's own key";

    for (const char* same : {"Sans", "Serif"}) {
        note->Reset();
        Set(*note, "Font", same);
        EXPECT_EQ(Stored(*note, "Font"), "(null)") << "a first value differs from default and parent";
    }
    struct Own : CStyle {
        using CStyle::CStyle;
        const char* GetValue(const char*, const char*) const override { return "own"; }
    } own("Own", &m_kind, "Doc", 0, nullptr);
    note->SetParent(&own);
    EXPECT_EQ(Get(*hint, "Size"), "own") << "a derived class answers for itself";
}

TEST_F(Style, FixedMarksWinAndCannotBeEdited) {
    const auto note = Make("Note", Make("Body").get());
    const std::string lower = m_directory / "lower";
    WriteText(lower, "[Doc/Styles/Note/Para]\"Size\"=5(\"fixed\"=\"true\")");
    ASSERT_NE(note->AddOptionFile(lower.c_str()), nullptr);
    Set(*note, "Size", "6");
    EXPECT_EQ(Get(*note, "Size") + Stored(*note, "Size"), "5(null)");
}

TEST_F(Style, ParentsAreLinkedAndUnlinked) {
    auto body = Make("Body"), note = Make("Note", body.get()), hint = Make("Hint", note.get());
    Set(*body, "Font", "Serif");
    note->SetParent(note.get());
    EXPECT_EQ(note->GetParent(), nullptr);
    EXPECT_EQ(hint->GetParent(), nullptr) << "lost with its parent's own";
    EXPECT_EQ(Get(*note, "BasedOn") + Get(*note, "Font"), "BodySans");

    note->SetParent(body.get());
    hint->SetParent(body.get());
    hint->OnUpdate(note.get(), CStyle::kParentGone);
    EXPECT_EQ(hint->GetParent(), body.get()) << "no child of the other any more";
    hint.reset();
    Make("Child", note.get())->SetParent(body.get());
    note->SetParent(nullptr);  // tells no dead child
    note->SetParent(body.get());
    body->SetParent(note.get());
    body->SetParent(nullptr);
    EXPECT_EQ(note->GetParent(), nullptr);

    note->SetParent(body.get());
    body.reset();
    EXPECT_EQ(note->GetParent(), nullptr);
}

TEST_F(Style, CopyTakesOverWhatDiffers) {
    const auto body = Make("Body"), note = Make("Note", body.get()), other = Make("Other");
    Set(*note, "Font", "Mono");
    Set(*other, "Size", "12");
    Set(*body, "Size", "12");
    other->Copy(body.get());
    EXPECT_EQ(Saved(*other), "\n[Doc/Styles/Other/Para] (Para=Other)\n\n\"Size\"=12 \n");
    other->Copy(note.get());
    EXPECT_EQ(Get(*other, "Font") + Get(*other, "BasedOn"), "MonoBody");
    CStyleKind line("Line", optLine, 2);
    CStyle thin("Thin", &line, "Doc", 0, nullptr);
    other->Copy(&thin);
    EXPECT_EQ(Get(*other, "Font") + Get(*other, "Size"), "none12") << "only what both kinds have";
    EXPECT_EQ(Get(*Make("New", &thin), "Font"), "none") << "the default of the parent";
}

TEST_F(Style, OutlivesItsKindAndWhatItWasMadeFrom) {
    COptionManager merged;
    std::string name = "Line";
    auto kind = std::make_unique<CStyleKind>(name.c_str(), optLine, 2);
    auto thin = std::make_unique<CStyle>("Thin", kind.get(), "Doc", 0, nullptr);
    merged.MergeManager(thin.get());
    kind.reset();
    name.assign(name.size(), '#');
    EXPECT_EQ(thin->GetStyleKind(), nullptr);
    EXPECT_EQ(Known::Count(), 0);
    Set(*thin, "Width", "4");
    EXPECT_EQ(Saved(*thin), "\n[Doc/Styles/Thin/Line] (Line=Thin)\n\n\"Width\"=4 \n");
    thin.reset();
    EXPECT_STREQ(merged.GetValue("Doc/Styles/Thin/Line", "BasedOn"), "none");
    const CMgrCategory* styles = merged.FindCategory("Doc", 0)->FindCategory("Styles", 0);
    EXPECT_STREQ(styles->FindCategory("Thin", 0)->FindCategory("Line", 0)->GetOptionSet()->GetName(), "Line");
}

struct StyleFile : Style {
    StyleFile() {
        COptionFile* optionFile = new COptionFile(m_proto);
        m_proto->AddFile(optionFile);
        m_file = std::make_unique<CStyleFile>(optionFile);
    }
    ~StyleFile() override {
        for (CStyleKind* kind : {&m_kind, &m_line}) {
            while (void* pos = kind->GetStyleList()->GetHeadPosition()) {
                delete kind->GetStyleList()->GetNext(pos);
            }
        }
    }
    // Loads a file of that text, in which "@" stands for "Doc/Styles/", into the list.
    int Load(std::string text) {
        for (size_t at = text.find('@'); at != text.npos; at = text.find('@')) {
            text.replace(at, 1, "Doc/Styles/");
        }
        WriteText(m_directory / "styles", text);
        return m_file->Load((m_directory / "styles").c_str(), &m_list);
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
    CStyle* m_proto = new CStyle("Proto", &m_kind, "Doc", 0, nullptr);
    CStyle* m_protoLine = new CStyle("Proto", &m_line, "Doc", 0, nullptr);
    std::unique_ptr<CStyleFile> m_file;
    CStyleList m_list{&m_kind};
};

const char kTwoStyles[] =
    "[@Note/Para] (Para=Note)\n\"Size\"=8 (\"by\"=\"me\")\n\"BasedOn\"=\"Body\"\n\"Width\"=3 (\"by\"=\"me\")\n"
    "[@Body/Para] (Para=Body)\n\"Font\"=\"Serif\"\n[@Note/Para] (Para=Note)\n[@Note/Para]\n\"Bold\"=true\n";

TEST_F(StyleFile, GivesStylesInFileOrderForTheToolToLink) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    EXPECT_EQ(Names(m_list), "Note:Para Body:Para ");
    EXPECT_EQ(m_file->FindKey("Doc/Styles/Note/Para")->GetAttributeList()->GetCount(), 1);
    EXPECT_STREQ(m_file->GetAttributeValue("Doc/Styles/Note/Para", "Size", "by"), "me");
    EXPECT_EQ(m_file->GetValue("Doc/Styles/Note/Para", "Width"), nullptr) << "the kind doesn't declare it";
    CStyle* note = Find("Note");
    EXPECT_EQ(Get(*note, "Font") + Get(*note, "Size") + Get(*note, "Bold"), "Sans8true") << "all sections";
    note->SetParent(Find(Get(*note, "BasedOn").c_str()));
    m_file.reset();
    note->SetInitialValues();  // the key is gone
    EXPECT_EQ(Get(*note, "Font") + Get(*note, "Size"), "Serif8");
}

TEST_F(StyleFile, KnowsAStyleByTheAttributeOfItsHeading) {
    const Rows<const char*, const char*> rows = {
        {"[@A/Para](Para=B)", ""},
        {"[@A/Nothing](Nothing=A)\"Size\"=8", ""},
        {"[Other/Styles/A/Para](Para=A)", ""},
        {"[Doc/A/Para](Para=A)[A](Para=A)", ""},
        {"[@Proto](Proto=Styles)", ""},
        {"[Doc/Styles](Para=Styles)[@A/Para](Para=A)", "A:Para "},
        {"[@A/Para](Nothing=A, note=x, Para=A, Line=A)", "A:Para "},
        {"[@A/Para](Para=A)[@B/Line](Line=B)[@A/Line](Line=A)[@C/Line](Line=C)", "A:Para B:Line C:Line "},
        {"[@A/Para](Para=A)[@A/Para](Para=A)[@B/Para](Para=B)[@A/Para](Line=A, Para=A)", "A:Para B:Para "},
        {"[@Proto/Para](Para=Proto)", "Proto:Para "},
        {"[@Proto/Para](x=y, Line=Proto, Para=A)", ""},
        {"[@Styles/Para](Para=Styles)[@Doc/Para](Para=Doc)", "Styles:Para Doc:Para "},
    };
    int listed = 0;
    for (const auto& [text, names] : rows) {
        m_list.RemoveAll();
        EXPECT_EQ(Load(text), 0) << text;
        EXPECT_EQ(Names(m_list), names) << text;
        listed += m_list.GetCount();
    }
    EXPECT_EQ(m_kind.GetStyleList()->GetCount() + m_line.GetStyleList()->GetCount(), listed + 2)
        << "no style is left that the file didn't give";
}

TEST_F(StyleFile, LongChainsAndCirclesNeedNoDeepStack) {
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
    EXPECT_STREQ(chain[1]->GetHeritedValue(Path(*chain[1]), "Size"), "10");
    for (int i = 0; i < 2; ++i) {
        Set(*chain[2], "Size", "12");
        EXPECT_EQ(Get(*chain[1], "Size") + Get(*chain[2], "Size"), "1212") << "none inherits from itself";
    }
    chain.clear();
    setrlimit(RLIMIT_STACK, &limit);
}

TEST_F(StyleFile, FurtherLoadsMakeNewStyles) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    CStyle* old = Find("Body");
    ASSERT_EQ(Load(kTwoStyles), 0);
    EXPECT_EQ(Names(m_list), "Note:Para Body:Para Note:Para Body:Para ");
    Set(*old, "Font", "Sans");
    old->SetInitialValues();
    EXPECT_EQ(Get(*old, "Font"), "Sans") << "its key went with the first load";
    EXPECT_EQ(m_file->Load((m_directory / "none").c_str(), &m_list), 1);
    EXPECT_EQ(Load(std::string("[@Last/Para](Para=Last)stray") + kTwoStyles), 1);
    EXPECT_EQ(m_list.GetCount(), 4);
    EXPECT_NE(m_kind.GetStyleList()->FindStyle("Last"), nullptr) << "read before the malformed place";
}

TEST_F(StyleFile, StylesMayDieBeforeTheirKeys) {
    ASSERT_EQ(Load(kTwoStyles), 0);
    delete m_list.FindStyle("Body");
    delete m_list.FindStyle("Note");
    EXPECT_EQ(Refill(), 0);
    EXPECT_STREQ(m_file->GetValue("Doc/Styles/Body/Para", "Font"), "Serif") << "the values stay readable";
    m_file->SetValue("Doc/Styles/Body/Para", "Size", "1");
    EXPECT_EQ(m_file->GetValue("Doc/Styles/Body/Para", "Size"), nullptr) << "nothing declares it now";
    ASSERT_EQ(m_file->Merge((m_directory / "styles").c_str()), 0);
    EXPECT_EQ(Refill(), 2) << "made anew";

    delete m_proto;
    EXPECT_EQ(Load(kTwoStyles), 0);
    EXPECT_EQ(m_list.GetCount(), 2) << "without a tree every section is passed over";
}

TEST_F(StyleFile, SavesOverOneFileKeepEveryStyle) {
    const std::string path = m_directory / "saved";
    WriteText(path, "[Doc/Styles/Bare/Para] (Para=Bare)\n[Doc/Styles/Note/Para] (Para=Note)\n");
    const auto bare = Make("Bare");
    ASSERT_NE(bare->AddOptionFile(path.c_str()), nullptr);
    const auto body = Make("Body"), note = Make("Note", body.get());
    CStyle thin("Thin", &m_line, "Doc", 0, nullptr);
    Set(*body, "Font", "Serif");
    Set(*note, "Size", "8");
    Set(thin, "Width", "2");
    for (CStyle* style : {bare.get(), body.get(), note.get(), &thin, body.get()}) {
        ASSERT_EQ(TopFile(*style)->SaveAs(path.c_str()), 0);
    }
    ASSERT_EQ(m_file->Load(path.c_str(), &m_list), 0);
    EXPECT_EQ(Names(m_list), "Bare:Para Note:Para Body:Para Thin:Line ") << ReadText(path);
    CStyle* again = Find("Note");
    EXPECT_EQ(Get(*again, "Size") + Get(*again, "BasedOn") + Get(*Find("Thin"), "Width"), "8Body2");
}

}  // namespace vyn::test
