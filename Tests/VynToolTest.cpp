// The command line tool, as a program.

#include <sstream>

#include "TestSupport.h"

namespace vyn::test {

class Tool : public testing::Test {
protected:
    // Runs a shell command in the test's directory; `output` has all that it wrote.
    int Run(const std::string& command, const std::string& environment = "") {
        WriteText(m_directory / "command", command);
        const std::string line = "cd " + m_directory.Path() +
                                 " && env -u DRAVMOOR_STUDIO_LANGUAGE -u ZEM_URN_MAP_FILE PATH=" VYN_TOOL_DIR
                                 ":$PATH HOME=$PWD/home ZROOT=$PWD/home/z " +
                                 environment + " sh command >output 2>&1";
        const int status = system(line.c_str());
        output = ReadText(m_directory / "output");
        return WEXITSTATUS(status);
    }

    void SetUp() override { std::filesystem::create_directories(m_directory / "home/z"); }

    TemporaryDirectory m_directory;
    std::string output;
};

// The files of the table.
const std::pair<const char*, std::string> files[] = {
    {"top", "\n[E/T]\n\n\"Tab\"=4\n\"Wrap\"=\"true\"\n\n[E/U]\n\n\"own\"=\"1\"\n"},
    {"low", "\n[E/T]\n\n\"Tab\"=2\n\"Wrap\"=\"false\" (\"fixed\"=\"true\" )\n\"Low\"=\"a\nb\"\n"},
    {"tables", "[E/T]\n\"Tab\"=8\n\"Wrap\"=\"true\"\n\"Font\"=\"Sans\""},
    {"empty", ""},
    {"nul", std::string("[a]\n\"b\0", 7)},
    {"bad", "[a]\n\"b\"=\"1\"\n\"c\" 3"},
    {"junk", "\xFF\xFE[]][[\"\"((==,/\"\x80"},
    {"styles",
     "[D/Styles/A/K] (K=A)\n\"BasedOn\"=\"none\"\n[D/Styles/B<&/K] (K=B<&)\n\"BasedOn\"=\"A\"\n"
     "[D/Styles/X/K] (K=X)\n\"BasedOn\"=\"Y\"\n[D/Styles/Y/K] (K=Y)\n\"BasedOn\"=\"X\"\n"},
    {"map", "lib:/tmp\nnothing\n"}};

const struct {
    const char* arguments;
    int code;
    const char* output;
    const char* top = nullptr;  // the file top afterwards; null for unchanged
} rows[] = {
    {"get -f top E/T/Tab", 0, "4\n"},
    {"get -f top -f low E/T/Wrap", 0, "false\n"},
    {"get -f top -f low E/T/Low --json", 0, "{\"option\": \"E/T/Low\", \"value\": \"a\\u000ab\"}\n"},
    {"get -f top --declared tables E/T/Font", 0, "Sans\n"},
    {"get -f top E/T/Font", 1, "E/T/Font: not found\n"},
    {"get -f top --declared tables E/U/own", 1, "E/U/own: not found\n"},
    {"get -f top Tab", 2, "'Tab' is no address of the form KEY/NAME\n"},
    {"get -f none E/T/Tab", 3, "none: No such file or directory\n"},
    {"get -f empty E/T/Tab", 3, "empty:1:1: the file is empty\n"},
    {"get -f . E/T/Tab", 3, ".: Is a directory\n"},
    {"get -f huge E/T/Tab", 3, "huge: the file has more than 1 GiB\n"},
    {"get -f nul a/b", 3, "nul:2:3: a NUL byte: this is no option file\n"},
    {"get -f top --declared bad a/b", 3, "bad:3:5: '3' is unexpected here: expected '='\n"},
    {"list -f junk", 3,
     "junk:1:1: the mark of another encoding: UTF-16\njunk:1:4: ']][[\"\"((==,/\"\x80' is unexpected here: "
     "expected "
     "a name between '[', '/' and ']'\n"},
    {"list", 2, "there is neither a file nor --declared\n"},
    {"list --declared tables '*F*'", 0, "E/T/Font=Sans\n"},
    {"set -f top E/T/Tab 3", 0, "", "\n[E/T]\n\n\"Tab\"=3 \n\"Wrap\"=\"true\" \n\n[E/U]\n\n\"own\"=\"1\" \n"},
    {"set -f top E/T/Tab 3 --dry-run", 0,
     "--- top\n+++ top\n@@ -1,9 +1,9 @@\n \n [E/T]\n \n-\"Tab\"=4\n-\"Wrap\"=\"true\"\n+\"Tab\"=3 "
     "\n+\"Wrap\"=\"true\" "
     "\n \n [E/U]\n \n-\"own\"=\"1\"\n+\"own\"=\"1\" \n"},
    {"set -f top -f low E/T/Tab 2", 0, "", "\n[E/T]\n\n\"Wrap\"=\"true\" \n\n[E/U]\n\n\"own\"=\"1\" \n"},
    {"set -f top -f low E/T/Wrap true", 1, "low:5:1: the value is fixed here\n"},
    {"set -f top --declared tables E/T/New 1", 1, "E/T/New: no table declares it\n"},
    {"set -f top E/T/Tab 'a\"b'", 2, "the format holds no text with a quote\n"},
    {"set -f bad a/b 1", 3, "bad:3:5: '3' is unexpected here: expected '='\n"},
    {"set -f nowhere/new a/b 1", 3, "nowhere/new: No such file or directory\n"},
    {"set -f new a/b 1 && vyn get -f new a/b", 0, "1\n"},
    {"set -f empty a/b 1 && vyn get -f empty a/b", 0, "1\n"},
    {"unset -f top E/U/own", 0, "", "\n[E/T]\n\n\"Tab\"=4 \n\"Wrap\"=\"true\" \n\n[E/U]\n\n"},
    {"unset -f top E/U/none", 1, "E/U/none: not found\n"},
    {"fix -f top E/T/Tab", 0, "",
     "\n[E/T]\n\n\"Tab\"=4 (\"fixed\"=true )\n\"Wrap\"=\"true\" \n\n[E/U]\n\n\"own\"=\"1\" \n"},
    {"unfix -f top E/T/Tab", 1, "E/T/Tab: not fixed in this file\n"},
    {"unfix -f low E/T/Wrap && vyn get -f top -f low E/T/Wrap", 0, "true\n"},
    {"list -f top -f low", 0, "E/T/Low=a\\nb\nE/T/Tab=4\nE/T/Wrap=false\nE/U/own=1\n"},
    {"list -f top --declared tables --origin '*o*'", 0, "default\tE/T/Font=Sans\n"},
    {"list -f top --json --origin 'E/U*'", 0,
     "[\n{\"option\": \"E/U/own\", \"value\": \"1\", \"file\": \"top\", \"line\": 9}\n]\n"},
    {"explain -f top -f low --declared tables E/T/Tab", 0,
     "> top:4    \"4\"  decides\n  low:4    \"2\"  shadowed\n  default  \"8\"  shadowed\n"},
    {"explain -f top -f low E/U/own --json", 0,
     "{\"option\": \"E/U/own\", \"value\": \"1\", \"steps\":\n[\n{\"file\": \"top\", \"line\": 9, \"text\": "
     "\"1\", "
     "\"default\": false, \"fixed\": false, \"role\": \"decides\"},\n{\"file\": \"low\", \"line\": 0, "
     "\"text\": \"\", "
     "\"default\": false, \"fixed\": false, \"role\": \"no-value\"}\n]\n}\n"},
    {"check top", 0, ""},
    {"check bad empty", 3, "empty:1:1: the file is empty\nbad:3:5: '3' is unexpected here: expected '='\n"},
    {"check bad --json", 1,
     "[\n{\"file\": \"bad\", \"line\": 3, \"column\": 5, \"code\": \"unexpected\", \"text\": \"'3' is "
     "unexpected here: "
     "expected '='\"}\n]\n"},
    {"check -f low --declared tables top", 1,
     "top:5:1: 'Wrap' is fixed in low, line 5: this value doesn't count\ntop:7:1: unknown section 'E/U': did "
     "you mean "
     "'E/T'?\n"},
    {"diff top low", 1,
     "E/T/Low: nothing -> \"a\\nb\"\nE/T/Tab: \"4\" -> \"2\"\nE/T/Wrap: \"true\" -> \"false\" "
     "(fixed)\nE/U/own: \"1\" "
     "-> nothing\n"},
    {"diff top top", 0, ""},
    {"styles -f styles", 0, "A (K)\n  B<& (K)\nX (K)\n  Y (K)\n"},
    {"styles -f styles --dot | grep -e '->' | head -1", 0, "    \"K/B<&\" -> \"K/A\";\n"},
    {"styles -f styles --svg | grep -c '&lt;&amp;'", 0, "1\n"},
    {"styles -f top", 1, ""},
    {"urn none", 1, "urn:none:: no such URN\n"},
    {"urn --check map", 1, "map:2:1: 'nothing' is no entry of the form name:target\n"},
    {"urn --add lib:/tmp && vyn urn urn:lib:a | head -1 && vyn urn /tmp/x/y", 0, "/tmp/a\nurn:lib:x/y\n"},
    {"urn --add k4:/tmp", 1, "k4:/tmp: refused: the name was there\n"},
    {"messages --check --language de", 0, ""},
    {"messages --language de | grep ^8", 0, "8\tMy Projects\tMeine Projekte\n"},
    {"info | grep -c /home/", 0, "4\n"},
    {"run -- sh -c 'echo a; exit 7'", 7, "a\n"},
    {"run --timeout 1 -- sleep 60", 124, "sleep: stopped: the time was over\n"},
    {"run -- ./no-such", 127, "./no-such: No such file or directory\n"},
    {"", 2, "A subcommand is required\nRun with --help for more information.\n"},
    {"get --help | grep -c Usage", 0, "1\n"},
};

TEST_F(Tool, AnswersEachCommand) {
    for (const auto& row : rows) {
        for (const auto& file : files) {
            WriteText(m_directory / file.first, file.second);
        }
        std::filesystem::remove(m_directory / "new");
        WriteText(m_directory / "huge", "");
        std::filesystem::resize_file(m_directory / "huge", std::uintmax_t{5} << 30);
        EXPECT_EQ(Run(std::string("vyn ") + row.arguments), row.code) << row.arguments;
        EXPECT_EQ(output, row.output) << row.arguments;
        EXPECT_EQ(ReadText(m_directory / "top"), row.top ? row.top : files[0].second) << row.arguments;
    }
}

TEST_F(Tool, CompletesCommandsOptionsAndAddresses) {
    WriteText(m_directory / "tables", files[2].second);
    const char* const completions[][2] = {{"un", "unset unfix"},
                                          {"get --j", "--json"},
                                          {"get --declared tab", "tables"},
                                          {"get --declared tables E/T/T", "E/T/Tab"}};
    for (const auto& row : completions) {
        Run("bash -c '. " VYN_COMPLETIONS "/vyn.bash; COMP_WORDS=(vyn " + std::string(row[0]) +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vyn; echo ${COMPREPLY[@]}'");
        EXPECT_EQ(output, row[1] + std::string("\n")) << row[0];
    }
}

TEST_F(Tool, SpeaksGerman) {
    EXPECT_EQ(Run("vyn get -f none a/b; vyn list --help", "DRAVMOOR_STUDIO_LANGUAGE=de"), 0);
    EXPECT_NE(output.find("alle Werte ausgeben\nAufruf: vyn list [Optionen]"), std::string::npos) << output;
}

TEST_F(Tool, TakesAHundredThousandValues) {
    std::string text;
    for (int i = 0; i < 100000; ++i) {
        text += (i % 1000 == 0 ? "[S" + std::to_string(i / 1000) + "]\n" : "") + "\"v" + std::to_string(i) +
                "\"=" + std::to_string(i) + "\n";
    }
    WriteText(m_directory / "large", text);
    EXPECT_EQ(Run("vyn set -f large S99/v99999 x && vyn get -f large S99/v99999 && vyn list -f large | wc -l && "
                  "vyn check large && vyn explain -f large S0/v7"),
              0);
    EXPECT_EQ(output, "x\n100000\n> large:11  \"7\"  decides\n");
}

// Each file and each dialogue of the guide.
TEST_F(Tool, AnswersAsItsGuideSays) {
    std::istringstream guide(ReadText(VYN_DOCS "/Tool.md"));
    const std::string fence = "```";
    int commands = 0;
    for (std::string line; std::getline(guide, line);) {
        const bool isDialogue = line == fence + "console";
        const std::string file = line.rfind(fence + "file ", 0) == 0 ? line.substr(8) : "";
        if (!isDialogue && file.empty()) {
            continue;
        }
        std::string block;
        std::string command;
        const auto finish = [&] {
            if (!command.empty()) {
                Run(command);
                EXPECT_EQ(output, block) << command;
                ++commands;
            }
            block.clear();
        };
        while (std::getline(guide, line) && line != fence) {
            if (isDialogue && line.rfind("$ ", 0) == 0) {
                finish();
                command = line.substr(2);
            } else {
                block += line + "\n";
            }
        }
        if (isDialogue) {
            finish();
        } else {
            WriteText(m_directory / file, block);
        }
    }
    EXPECT_GT(commands, 5);
}

}  // namespace vyn::test
