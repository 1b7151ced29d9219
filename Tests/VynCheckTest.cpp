#include "VynCheck.h"

#include "TestSupport.h"
#include "VynOption.h"

namespace vyn::test {

const COption optText[] = {
    {"TabWidth", eBareOption, "8", 0, 0}, {"Wrap", eTextOption, "true", 0, 0}, {"Font", eTextOption, "12", 0, 0}};
const COptionSet setText = {"Text", optText, 3, nullptr};
const CCategory catText = {"Text", nullptr, 0, &setText};
const COptionSet setEditor = {"Editor", nullptr, 0, nullptr};
const CCategory* const subEditor[] = {&catText};
const CCategory catEditor = {"Editor", subEditor, 1, &setEditor};

// The findings in short: place and name of each, with the text where `texts`.
std::string Show(const std::vector<Finding>& findings, bool texts = false) {
    std::string shown;
    for (const Finding& finding : findings) {
        shown += std::to_string(finding.line) + ":" + std::to_string(finding.column) + " " +
                 (texts ? finding.text : SString(GetFindingName(finding.code))) + "\n";
    }
    return shown;
}

class Check : public testing::Test {
protected:
    std::string Path(const std::string& name) const { return m_directory / name; }
    int Run(const std::string& text, COptionManager* manager) {
        WriteText(Path("f"), text);
        return CheckFile(Path("f").c_str(), manager, m_findings);
    }

    TemporaryDirectory m_directory;
    std::vector<Finding> m_findings;
};

TEST_F(Check, ReportsWhatTheParseSees) {
    const struct {
        std::string text, findings;
    } rows[] = {
        {"", ""},
        {"[a]\n\"n\"=1 (\"fixed\"=\"true\")\n[b] (x=y)\n[b]\n", ""},
        {"; ;\n[a]", "1:1 text-before-heading\n"},
        {"\xEF\xBB\xBF[a]", "1:1 foreign-mark\n"},
        {std::string("\xFF\xFE[\0a", 5), "1:1 foreign-mark\n1:3 open-heading\n1:4 nul-byte\n"},
        {"[a]\n[b\n\"n\"=1\n[c]", "2:1 open-heading\n"},
        {"[a]\n[b", "2:1 open-heading\n"},
        {"[a]\n\"n\"=\"x\ny", "2:5 open-string\n"},
        {"[a]\n\"n\"=1 (\"x\"=\"y\"", "2:15 open-attributes\n"},
        {"[a] (x=y", "1:9 open-attributes\n"},
        {"[a]\n\"n\"=\"1\" (\"x\"=\"y\" \"z\")", "2:18 odd-attributes\n2:22 odd-attributes\n"},
        {"[a]\n\"n\"=", "2:1 missing-text\n"},
        {"[a]\n\"n\"", "2:1 missing-text\n"},
        {"[a]\n\"n\"=4294967297\n\"m\"=007\n\"o\"=1234567890", "2:5 number-changed\n3:5 number-changed\n"},
        {"[a]\n\"n\"=1\n\"n\"=2\n[a]\n\"n\"=3", "3:1 repeated-value\n4:1 repeated-section\n5:1 repeated-value\n"},
        {"[a]\n\"" + std::string(256, 'n') + "\"=1", "2:1 name-too-long\n"},
        {std::string("[a]\n\"n\"=1\0[", 11), "2:6 nul-byte\n"},
        // Malformed from here on.
        {std::string("\0[b", 3), "1:1 unfinished-save\n2:1 missing-text\n"},
        {"a", "1:1 unexpected\n"},
        {"[a/]", "1:4 unexpected\n"},
        {"[a]\n\"n\"\n\"m\"=1", "3:1 unexpected\n"},
        {"[a]\n\"n\"=1.5", "2:6 text-after-value\n"},
        {"[a]\n\"n\"=x\nn=1", "3:1 unexpected\n"},
    };
    WriteText(Path("f~~"), "[a]\n\"n\"=");  // read for a file that is half written
    bool isSound = true;
    for (const auto& row : rows) {
        isSound = isSound && row.text != "a";
        EXPECT_EQ(Run(row.text, nullptr), isSound ? 0 : EILSEQ) << row.text;
        EXPECT_EQ(Show(m_findings), row.findings) << row.text;
    }
    EXPECT_EQ(CheckFile(Path("none").c_str(), nullptr, m_findings), ENOENT);
}

TEST_F(Check, SaysWhatWasExpected) {
    Run("[a]\n\"n\" 5", nullptr);
    EXPECT_EQ(Show(m_findings, true), "2:5 '5' is unexpected here: expected '='\n");
}

TEST_F(Check, ReportsToTheSinkOfALoad) {
    struct Sink : CFindingSink {
        void Report(const Finding& finding) override { text += GetFindingName(finding.code); }
        std::string text;
    } sink;
    WriteText(Path("f"), "[a]\n\"n\"=007 8");
    EXPECT_EQ(ReportLoad(Path("f").c_str(), sink), EILSEQ);
    EXPECT_EQ(sink.text, "number-changedtext-after-value");
}

TEST_F(Check, FollowsTheParentsOfStyles) {
    Run("[D/Styles/A/K] (K=A)\n\"BasedOn\"=\"B\"\n[D/Styles/B/K] (K=B)\n\"BasedOn\"=\"A\"\n"
        "[D/Styles/C/K] (K=C)\n\"BasedOn\"=\"A\"\n[D/Styles/E/L] (L=E)\n\"BasedOn\"=\"A\"\n"
        "[D/Styles/F/K] (K=F)\n\"BasedOn\"=\"none\"\n",
        nullptr);
    EXPECT_EQ(Show(m_findings), "2:1 parent-circle\n4:1 parent-circle\n8:1 parent-missing\n");
}

TEST_F(Check, ComparesWithTheDeclaredOptions) {
    COptionManager manager;
    manager.AddCategory(&catEditor);
    WriteText(Path("team"), "[Editor/Text]\n\"Font\"=\"Mono\"\n\n\"Wrap\"=\"false\" (\"fixed\"=\"true\")");
    WriteText(Path("f"), "[Editor/Text]\n\"Font\"=\"a\"");
    COptionFile* file = manager.AddOptionFile(Path("f").c_str());
    ASSERT_TRUE(manager.AddOptionFile(Path("team").c_str()));
    const struct {
        const char *text, *findings;
    } rows[] = {
        {"[Editor/Txet]\n\"x\"=1", "1:1 unknown section 'Editor/Txet': did you mean 'Editor/Text'?\n"},
        {"[Quite/Other]\n[D/Styles/A/K] (K=A)", "1:1 unknown section 'Quite/Other'\n"},
        {"[Editor/Text]\n\"TabWdith\"=4\n\"Xyz\"=1",
         "2:1 unknown option 'TabWdith': did you mean 'TabWidth'?\n3:1 unknown option 'Xyz'\n"},
        {"[Editor/Text]\n\"TabWidth\"=\"4x\"\n\"Font\"=\"b\"", "2:1 'TabWidth' has to be an integer, not '4x'\n"},
        {"[Editor/Text]\n\"TabWidth\"=\"-4\"", ""},
        {"[Editor/Text]\n\"TabWidth\"=8\n\"Font\"=\"Mono\"",
         "2:1 'TabWidth' has the text that lies underneath\n3:1 'Font' has the text that lies underneath\n"},
        {"[Editor/Text]\n\"Wrap\"=\"yes\"",
         "2:1 'Wrap' has to be true or false, not 'yes'\n2:1 'Wrap' is fixed in TEAM, line 4: this value "
         "doesn't "
         "count\n"},
        {"[Editor/Text]\n\"Font\"=\"b\" (\"fixed\"=\"true\")\n\"TabWidth\"=3 (\"fixed\"=\"false\")",
         "2:1 'Font': \"fixed\" changes nothing here\n"},
    };
    for (const auto& row : rows) {
        std::string expected(row.findings);
        if (const size_t at = expected.find("TEAM"); at != std::string::npos) {
            expected.replace(at, 4, Path("team"));
        }
        Run(row.text, &manager);
        EXPECT_EQ(Show(m_findings, true), expected) << row.text;
    }
    file->SetValue("Editor/Text", "Font", "a\"b");
    Run("[Editor/Text]\n\"Font\"=\"a\"", &manager);
    EXPECT_EQ(Show(m_findings), "2:1 unstorable\n");
    CheckFile(Path("team").c_str(), &manager, m_findings);
    EXPECT_EQ(Show(m_findings), "");
}

TEST_F(Check, TellsWhichUrnEntriesLose) {
    WriteText(Path("map"), "Lib:/;lib:/tmp\nk4:/x;nothing\n docs:/no/such/place\nrel:a");
    EXPECT_EQ(CheckUrnMap(Path("map").c_str(), m_findings), 0);
    EXPECT_EQ(Show(m_findings),
              "1:7 urn-shadowed\n2:1 urn-refused\n2:7 urn-malformed\n3:2 urn-target\n4:1 urn-target\n");
}

}  // namespace vyn::test
