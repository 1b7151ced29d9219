// What goes wrong in silence, beside what was meant: prints what comes of both.
//
//     Traps
//
// It keeps its files in a directory "traps", which it makes anew.

#include <RunChild.h>
#include <VynEncoding.h>
#include <VynUri.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "Sheet.h"

namespace {

const char* const kPage = "TextTool/Page";

std::string Write(const std::string& path, const std::string& text) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << text;
    return path;
}

std::string Read(const std::string& path) {
    std::ifstream file(path);
    std::string text(std::istreambuf_iterator<char>(file), {});
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

// A personal file above one of the team, both new. They hold options of the page.
struct Tool : vyn::COptionManager {
    explicit Tool(const std::string& ownText = "", const std::string& teamText = "[TextTool/Page]\n\"Width\"=50\n") {
        static int count = 0;
        directory = "traps/" + std::to_string(++count);
        AddCategory(&catTextTool);
        own = AddPersonalFile(Write(directory + "/own.zop", ownText).c_str());
        AddOptionFile(Write(directory + "/team.zop", teamText).c_str());
    }
    // What the personal file holds after a save.
    std::string Saved() {
        own->Save(nullptr);
        return Read(own->GetPathName());
    }

    std::string directory;
    vyn::COptionFile* own;
};

void Show(const char* trap, const std::string& wrong, const std::string& right) {
    printf("%-9s '%s' | '%s'\n", trap, wrong.c_str(), right.c_str());
}

void Show(const char* trap, int wrong, int right) {
    Show(trap, std::to_string(wrong), std::to_string(right));
}

void Key() {
    const Tool tool;
    const std::string wrong = tool.GetValue("Page", "Width");
    const std::string right = tool.GetValue("TextTool/Page", "Width");
    Show("key", wrong, right);
}

void Kind() {
    Tool wrong, right;
    wrong.SetValue(kPage, "Width", "wide");
    right.SetIntValue(kPage, "Width", 40);
    Show("kind", wrong.GetIntValue(kPage, "Width"), right.GetIntValue(kPage, "Width"));
}

void Boolean() {
    vyn::COption wrong = {"Wrap", 1, "True", 0, 0};
    vyn::COption right = {"Wrap", 1, "true", 0, 0};
    Show("boolean", wrong.GetBoolValue(), right.GetBoolValue());
}

void Order() {
    const Tool tool;
    const vyn::SPathName path((tool.directory + "/team.zop").c_str());
    vyn::COptionManager wrong, right;
    wrong.AddOptionFile(path), wrong.AddCategory(&catTextTool);
    right.AddCategory(&catTextTool), right.AddOptionFile(path);
    Show("order", wrong.GetValue(kPage, "Width"), right.GetValue(kPage, "Width"));
}

void Personal() {
    vyn::COptionManager wrong, right;
    wrong.AddOptionFile("traps/none.zop");
    right.AddPersonalFile("traps/none.zop");
    Show("personal", wrong.GetFileCount(), right.GetFileCount());
}

void SaveAll() {
    Tool wrong, right;
    wrong.SaveAllFiles();
    right.own->Save(nullptr);
    Show("save all", Read(wrong.directory + "/team.zop"), Read(right.directory + "/team.zop"));
}

void Quotes() {
    Tool wrong, right;
    wrong.SetValue(kPage, "Footer", "say \"hi\"");
    right.SetValue(kPage, "Footer", "say 'hi'");
    Show("quotes", wrong.Saved(), right.Saved());
}

void Minus() {
    const Tool wrong("[TextTool/Page]\n\"Width\"=40\n\"Margin\"=-1\n");
    const Tool right("[TextTool/Page]\n\"Width\"=40\n\"Margin\"=\"-1\"\n");
    Show("minus", wrong.GetValue(kPage, "Width"), right.GetValue(kPage, "Width"));
}

void Fixed() {
    Tool wrong("", "[TextTool/Page]\n\"Footer\"=\"ours\" (\"fixed\"=\"yes\")\n");
    Tool right("", "[TextTool/Page]\n\"Footer\"=\"ours\" (\"fixed\"=\"true\")\n");
    wrong.SetValue(kPage, "Footer", "mine"), right.SetValue(kPage, "Footer", "mine");
    Show("fixed", wrong.GetValue(kPage, "Footer"), right.GetValue(kPage, "Footer"));
}

void Attribute() {
    Tool wrong("[TextTool/Page]\n\"Width\"=40 (\"by\"=\"Ann\")\n");
    Tool right("[TextTool/Page] (by=Ann)\n\"Width\"=40\n");
    wrong.SetValue(kPage, "Width", "50"), right.SetValue(kPage, "Width", "50");
    Show("attribute", wrong.Saved(), right.Saved());
}

void Unlock() {
    const char* const text = "[TextTool/Page]\n\"Width\"=40 (\"fixed\"=\"true\")\n";
    Tool wrong(text), right(text);
    wrong.SetValue(kPage, "Width", "50");
    right.own->SetRedefineFlag(kPage, "Width", "", 0), right.SetValue(kPage, "Width", "50");
    Show("unlock", wrong.GetValue(kPage, "Width"), right.GetValue(kPage, "Width"));
}

void Bytes() {
    const vyn::SString text = "café";
    const int wrong = static_cast<int>(text.GetLength());
    const int right = CountCharacters(text);
    Show("bytes", wrong, right);
}

void Encoding() {
    const std::string bytes = "caf\xe9";  // of the system's locale
    vyn::SString right;
    vyn::SString wrong = vyn::ANSIString(bytes);
    right.CreateFromSystemLocaleEncodedString(bytes.c_str());
    Show("encoding", static_cast<int>(wrong.GetLength()), static_cast<int>(right.GetLength()));
}

void EmptyLine() {
    std::vector<vyn::SString> wrong, right;
    vyn::SUrnResolver::DecodeUrnMap("one:/a\n\ntwo:/b\nthree:/c\n", wrong);
    vyn::SUrnResolver::DecodeUrnMap("one:/a\ntwo:/b\nthree:/c\n", right);
    for (auto& entries : {&wrong, &right}) {
        std::replace(entries->back().begin(), entries->back().end(), '\n', ' ');
    }
    Show("map", wrong.back(), right.back());
}

void Arguments() {
    vyn::SChildRequest wrong, right;
    wrong.program = "expr 6 + 1";
    right.program = "expr", right.arguments = {"6", "+", "1"};
    Show("child", strerror(RunChild(wrong).code), RunChild(right).output.substr(0, 1));
}

void StyleKey() {
    Sheet sheet(
        Write("traps/some.styles", "[TextTool/Styles/Note/Paragraph] (Paragraph=Note)\n\"Indent\"=4\n").c_str());
    vyn::CStyle& style = sheet.Find("Note");
    const char* wrong = style.GetValue("Paragraph", "Indent");
    const char* right = style.GetValue(style.GetMgrCategory()->GetPath(), "Indent");
    Show("style", wrong ? wrong : "null", right);
}

void Heading() {
    const char* const wrong = "[TextTool/Styles/Note/Paragraph]\n\"Indent\"=4\n";
    const char* const right = "[TextTool/Styles/Note/Paragraph] (Paragraph=Note)\n\"Indent\"=4\n";
    Show("heading", Sheet(Write("traps/wrong", wrong).c_str()).Find("Note").GetName(),
         Sheet(Write("traps/right", right).c_str()).Find("Note").GetName());
}

}  // namespace

int main() {
    setlocale(LC_ALL, "");
    std::filesystem::remove_all("traps");
    std::filesystem::create_directory("traps");
    for (const auto show : {Key, Kind, Boolean, Order, Personal, SaveAll, Quotes, Minus, Fixed, Attribute, Unlock,
                            Bytes, Encoding, EmptyLine, Arguments, StyleKey, Heading}) {
        show();
    }
    return 0;
}
