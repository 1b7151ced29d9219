#include "RgFile.h"

#include "TestSupport.h"

namespace vyn::test {

using namespace std::string_literals;
using test::ReadText;
using test::TemporaryDirectory;
using test::WriteText;

// A key that shows what the loader called, and refuses the elements that begin with '-'.
class RecordingKey : public CDefRgKey {
public:
    RecordingKey(const char* name, std::string& log) : CDefRgKey(name), m_log(log) {}

    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override {
        if (*name == '-') {
            m_log += std::string("refuse ") + name + "\n";
            return nullptr;
        }
        if (CRgKey* present = FindKey(name)) {
            return present;
        }
        EXPECT_EQ(attributes, nullptr);
        CRgKey* key = new RecordingKey(name, m_log);
        AddKey(key);
        return key;
    }
    CRgKey* UseAttributes(MList<CRgAttribute*>* attributes, const char* name) override {
        m_log += std::string("use ") + GetName() + " " + name + "\n";
        if (strcmp(name, "-use") != 0) {
            return nullptr;
        }
        CRgKey* key = new RecordingKey("used", m_log);
        AddKey(key);
        key->SetAttributes(attributes);
        return key;
    }
    CRgValue* CreateValue(const char* name, CRgValue::RvType type, const char* value,
                          MList<CRgAttribute*>* attributes) override {
        CRgValue* made = new CDefRgValue(name, type, value);
        made->GetAttributeList()->AddTail(attributes);
        AddValue(made);
        return made;
    }

private:
    std::string& m_log;
};

// The tree as one line: a[x=1](name=text{p=q} sub(...)).
std::string Show(CRgKey& key) {
    std::string text = key.GetName();
    for (void* pos = key.GetAttributeList()->GetHeadPosition(); pos;) {
        CRgAttribute* attribute = key.GetAttributeList()->GetNext(pos);
        text += std::string("[") + attribute->GetName() + "=" + attribute->GetValue() + "]";
    }
    text += "(";
    for (void* pos = key.GetFirstValuePosition(); pos;) {
        CRgValue* value = key.GetNextValue(pos);
        text += std::string(value->GetName()) + "=" + value->GetValue();
        for (void* a = value->GetFirstAttributePosition(); a;) {
            CRgAttribute* attribute = value->GetNextAttribute(a);
            text += std::string("{") + attribute->GetName() + "=" + attribute->GetValue() + "}";
        }
        text += pos ? " " : "";
    }
    for (void* pos = key.GetFirstKeyPosition(); pos;) {
        text += Show(*key.GetNextKey(pos));
    }
    return text + ")";
}

class RgFileTest : public testing::Test {
protected:
    std::string Path(const char* name = "f.rg") { return m_directory / name; }
    const char* Write(const std::string& text) {
        WriteText(Path(), text);
        return (m_path = Path()).c_str();
    }

    TemporaryDirectory m_directory;
    std::string m_path;
};

TEST_F(RgFileTest, LoaderReadsEveryFormToItsEnd) {
    const struct {
        std::string text;
        int status;
        const char* tree;
    } rows[] = {
        {" \n - ; \x80 ", 0, "()"},
        {"[a] \"x\"=\"1\"\n\"y\"=2 \"z\"=true [a/b]\"x\"=TRUE", 0, "(a(x=1 y=2 z=trueb(x=TRUE)))"},
        {"[a]\"n\"=007 \"m\"=2147483648 \"q\"=\"007\"", 0, "(a(n=7 m=-2147483648 q=007))"},
        {"[a]\"x\"=\"1\" (\"p\"=\"q\", r=5)\n\"y\"=w_1", 0, "(a(x=1{p=q}{r=5} y=w_1))"},
        {"[a] (x=1, \"y\"= 2 )\"v\"=1", 0, "(a[x=1][\"y\"=2 ](v=1))"},
        {"[ a / b ]\"x\"=1", 0, "(a (b (x=1)))"},
        {"[a=\"b c]\"x\"=1", 0, "(a=\"b c(x=1))"},
        {"[a]\"x\"=\"one\ntwo\\\" [b] \"y\"=\"\xC3\xA9\"", 0, "(a(x=one\ntwo\\)b(y=\xC3\xA9))"},
        {"x [a]", 1, "()"},
        {"[]", 1, "()"},
        {"[/a]", 1, "()"},
        {"[a/]", 1, "(a())"},
        {"[a/b", 0, "(a(b()))"},
        {"[a] x=1", 1, "(a())"},
        {"[a]\"x\" [b]\"y\"=1", 0, "(a()b(y=1))"},
        {"[a]\"x\" \"y\"=1", 1, "(a())"},
        {"[a]\"x\"=", 0, "(a(x=x))"},
        {"[a]\"x\"=\"unclosed [b]\n", 0, "(a(x=unclosed [b]\n))"},
        {"[a]\"v\"=1.5", 1, "(a(v=1))"},
        {"[a]\"v\"=-1", 1, "(a(v=v))"},
        {"[a]\"a\\\"b\"=\"c\"", 1, "(a())"},
        {"[a](a=,b=1)", 1, "(a[a=a]())"},
        {"[a](x=1,y)\"v\"=1", 0, "(a[x=1](v=1))"},
        {"[a]\"x\"=1(\"p\"=\"q\" \"r\"=\"s\")", 1, "(a(x=1{p=q}))"},
        {"[a]\"x\"=\"1\0\"\"y\"=2"s, 0, "(a(x=1))"},
    };
    for (const auto& row : rows) {
        std::string log;
        RecordingKey root("", log);
        EXPECT_EQ(CRgLoader(root).Load(Write(row.text)), row.status) << row.text;
        EXPECT_EQ(Show(root), row.tree) << row.text;
    }
}

TEST_F(RgFileTest, LoaderOffersTheAttributesOfARefusedHeading) {
    std::string log;
    RecordingKey root("", log);
    EXPECT_EQ(CRgLoader(root).Load(Write("[a/-no/c](x=1)\"v\"=1(\"p\"=\"q\")\n"
                                         "[a/-use/c](x=1,y=2)\"v\"=1\n"
                                         "[-root](x=1)\"v\"=1\n"
                                         "[a/-plain]\"v\"=2")),
              0);
    EXPECT_EQ(log, "refuse -no\nuse a -no\nrefuse -use\nuse a -use\nrefuse -root\nrefuse -plain\n");
    EXPECT_EQ(Show(root), "(a(used[x=1][y=2](v=1)))");
}

TEST_F(RgFileTest, UnreadablePathsGiveTheirResult) {
    CDefRgKey root("");
    EXPECT_EQ(CRgLoader(root).Load(Path("missing").c_str()), 1);
    EXPECT_EQ(CRgLoader(root).Load(m_directory.Path().c_str()), 1);
    EXPECT_EQ(CRgLoader(root).Load("/dev/null"), 1);
}

TEST_F(RgFileTest, WriterGivesTheUsualLayout) {
    CRgFile file;
    file.SetValue("a/b", "x", "1");
    file.SetValue("c", "Name", "Text");
    file.SetAttributeValue("c", "Name", "ignored", "a", "1");
    file.CreateKey("c/d", nullptr, nullptr)->CreateValue("y", CRgValue::eBare, "3", nullptr);
    file.SetValue("c/d", "y", "4");
    ASSERT_EQ(file.Save(Path().c_str()), 0);
    EXPECT_EQ(ReadText(Path()),
              "\n[a/b]\n\n\"x\"=\"1\" \n\n[c]\n\n\"Name\"=\"Text\" (\"a\"=\"1\" )\n\n[c/d]\n\n\"y\"=4 \n")
        << "a later text keeps the kind of the value";
}

TEST_F(RgFileTest, WhatTheWriterWritesReadsBack) {
    std::string log;
    const struct {
        CRgValue::RvType type;
        const char* value;
        const char* attribute;
        const char* line;
    } rows[] = {
        {CRgValue::eText, "3", "x", "\"v\"=\"3\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "3", "x", "\"v\"=3 (\"a\"=x , \"b\"=1 )\n"},
        {CRgValue::eBare, "word_1", "a b", "\"v\"=word_1 (\"a\"=\"a b\" , \"b\"=1 )\n"},
        {CRgValue::eBareOther, "-3", "x", "\"v\"=\"-3\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "", "x", "\"v\"=\"\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "1.5", "x", "\"v\"=\"1.5\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "007", "x", "\"v\"=\"007\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "2147483647", "x", "\"v\"=2147483647 (\"a\"=x , \"b\"=1 )\n"},
        {CRgValue::eBare, "2147483648", "x", "\"v\"=\"2147483648\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
        {CRgValue::eBare, "1a", "x", "\"v\"=\"1a\" (\"a\"=\"x\" , \"b\"=\"1\" )\n"},
    };
    for (const auto& row : rows) {
        RecordingKey root("", log);
        CRgKey* key = root.CreateKey("k", nullptr);
        CRgValue* value = new CDefRgValue("v", row.type, row.value);
        value->SetAttributeValue("a", row.attribute);
        value->SetAttributeValue("b", "2");
        value->SetAttributeValue("b", "1");
        key->AddValue(value);
        const std::string before = Show(root);
        FILE* file = fopen(Path().c_str(), "w");
        EXPECT_EQ(root.Dump(file, nullptr), 0);
        fclose(file);
        EXPECT_EQ(ReadText(Path()), std::string("\n[k]\n\n") + row.line);
        RecordingKey again("", log);
        EXPECT_EQ(CRgLoader(again).Load(Path().c_str()), 0) << row.line;
        EXPECT_EQ(Show(again), before);
    }
}

TEST_F(RgFileTest, LoadReplacesAndMergeAdds) {
    CRgFile file;
    ASSERT_EQ(file.Load(Write("[a](p=q)\"x\"=1(\"p\"=\"q\")")), 0);
    ASSERT_EQ(file.Merge(Write("[a]\"x\"=2 [b]\"y\"=3")), 0);
    EXPECT_STREQ(file.GetValue("a", "x"), "2") << "the later of two values of a name";
    EXPECT_EQ(Show(*file.GetKeyRoot()), "(a[p=q](x=1 x=2)b(y=3))") << "attributes of headings only";
    EXPECT_EQ(file.Merge(Write("[c]\"z\"=4 stray")), 1);
    EXPECT_EQ(Show(*file.GetKeyRoot()), "()") << "a failed merge empties the tree";
    file.SetValue("a", "x", "5");
    EXPECT_EQ(file.Load(Path("missing").c_str()), 1);
    EXPECT_EQ(Show(*file.GetKeyRoot()), "(a(x=5))") << "what can't be read changes nothing";
    file.SetValue("a", "x", Write("[b]\"y\"=7"));
    EXPECT_EQ(file.Load(file.GetValue("a", "x")), 0) << "the path lies in the tree";
    EXPECT_EQ(Show(*file.GetKeyRoot()), "(b(y=7))");
}

TEST_F(RgFileTest, FirstLoadGivesThePath) {
    CRgFile file;
    EXPECT_EQ(file.Save(nullptr), 1) << "no path yet";
    EXPECT_EQ(file.Load(Path("first").c_str()), 1);
    EXPECT_EQ(file.Load(Write("[a]\"x\"=1")), 0);
    ASSERT_EQ(file.Save(nullptr), 0);
    EXPECT_EQ(ReadText(Path("first")), "\n[a]\n\n\"x\"=\"1\" \n");
    EXPECT_EQ(file.Save((m_directory.Path() + "/no/such").c_str()), ENOENT);
}

TEST_F(RgFileTest, ReadsByPathCreateNothing) {
    CRgFile file;
    file.SetValue("a", "x", "1");
    EXPECT_EQ(file.GetValue("a/b", "x"), nullptr);
    EXPECT_EQ(file.GetValue("", "x"), nullptr) << "the empty path is a key of the empty name";
    EXPECT_EQ(file.GetAttributeValue("a", "x", "p"), nullptr);
    file.SetAttributeValue("a", "x", "other", "p", "q");
    EXPECT_STREQ(file.GetAttributeValue("a", "x", "p"), "q");
    EXPECT_EQ(Show(*file.GetKeyRoot()), "(a(x=1{p=q}))");
}

TEST_F(RgFileTest, LongPathElementCountsAsEmpty) {
    CRgFile file;
    const std::string name(255, 'n');
    file.SetValue(("a/" + name).c_str(), "x", "1");
    EXPECT_STREQ(file.GetValue(("a/" + name).c_str(), "x"), "1");
    file.SetValue("a/", "x", "2");
    for (int ask = 0; ask < 2; ++ask) {
        errno = 0;
        EXPECT_STREQ(file.GetValue(("a/" + name + "n").c_str(), "x"), "2");
        EXPECT_EQ(errno, EINVAL) << ask;
    }
}

TEST_F(RgFileTest, PlainKeysKnowNoParent) {
    CRgFile file;
    CRgKey* key = file.CreateKey("a/b", nullptr, nullptr);
    file.RemoveKey(key);
    file.DestroyKey(key);
    EXPECT_EQ(file.FindKey("a/b"), key);
    EXPECT_EQ(file.FindKey("a")->RemoveKey(key), 1);
    EXPECT_EQ(file.FindKey("a/b"), nullptr);
    EXPECT_EQ(file.FindKey("a")->RemoveKey(key), 0);
    delete key;
}

TEST_F(RgFileTest, LeavesOutSectionsWhoseNameNoHeadingHolds) {
    for (const char* name : {"", " a", "\ta", "a]", "a/b"}) {
        std::string log;
        CRgFile file;
        for (const char* parent : {"first", "second"}) {
            CRgKey* key = file.CreateKey(parent, nullptr, nullptr)->CreateKey(name, nullptr);
            key->CreateValue("x", CRgValue::eText, "1", nullptr);
            key->CreateKey("below", nullptr)->CreateValue("x", CRgValue::eText, "1", nullptr);
            key->AddKey(new RecordingKey("foreign", log));
            key->FindKey("foreign")->AddValue(new CDefRgValue("x", CRgValue::eText, "1"));
        }
        file.SetValue("second/z", "x", "2");
        test::Reports reports;
        EXPECT_EQ(file.Save(Path().c_str()), EILSEQ) << name;
        EXPECT_EQ(std::count(reports.text.begin(), reports.text.end(), '\n'), 1) << reports.text;
        EXPECT_EQ(ReadText(Path()), "\n[second/z]\n\n\"x\"=\"2\" \n") << name;
    }
}

TEST_F(RgFileTest, RenamedValueIsFoundByTheNameItCameWith) {
    CDefRgKey key("");
    key.CreateValue("a", CRgValue::eText, "loaded", nullptr);
    key.AddValue(new CDefRgValue("b", CRgValue::eText, "added"));
    for (const auto& [name, newName] : {std::pair("a", "b"), std::pair("b", "c")}) {
        void* pos = key.GetFirstValuePosition();
        CRgValue* value = key.GetNextValue(pos);
        value->SetName(newName);
        EXPECT_EQ(key.FindValue(name), value);
        EXPECT_EQ(key.RemoveValue(value), 1);
        EXPECT_EQ(key.FindValue(name), nullptr);
        delete value;
    }
}

TEST_F(RgFileTest, DeepTreeNeedsNoDeepStack) {
    std::string text = "[a";
    for (int i = 0; i < 300000; ++i) {
        text += "/a";
    }
    text = "\n" + text + "]\n\n\"x\"=\"1\" \n";
    CRgFile file;
    EXPECT_EQ(file.Load(Write(text)), 0);
    EXPECT_EQ(file.Save(Path("saved").c_str()), 0);
    EXPECT_EQ(ReadText(Path("saved")), text);
    file.GetKeyRoot()->Empty();
    EXPECT_EQ(file.GetKeyRoot()->GetKeyCount(), 0);
}

}  // namespace vyn::test
