// Styles of two kinds from one style file: links the parents, prints where each option comes from, changes a
// parent and shows the change in the grandchild, saves all styles into one file and reads them back.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "VynExplain.h"
#include "VynStyle.h"

namespace {

const vyn::COption optParagraph[] = {
    {"Font", 1, "Sans", 0, 0}, {"Size", 2, "10", 0, 0}, {"Italic", 1, "false", 0, 0}, {"Colour", 1, "black", 0, 0}};
const vyn::COption optLine[] = {{"Width", 2, "2", 0, 0}, {"Dash", 1, "solid", 0, 0}};

// The kinds of the tool. A style of each makes them known to the reader of style files, and declares the root
// name that all sections begin with.
struct Kinds {
    vyn::CStyleKind paragraph{"Paragraph", optParagraph, 4};
    vyn::CStyleKind line{"Line", optLine, 2};
    vyn::CStyle plainParagraph{"Plain", &paragraph, "Document", 0, nullptr};
    vyn::CStyle plainLine{"Plain", &line, "Document", 0, nullptr};
    vyn::COptionFile optionFile{&plainParagraph};
};

const char* Path(vyn::CStyle& style) {
    return style.GetMgrCategory()->GetPath();
}

// The styles of one file, in its order.
class Sheet {
public:
    // Throws when the file can't be read.
    Sheet(Kinds& kinds, const std::string& path) {
        vyn::CStyleFile file(&kinds.optionFile);
        vyn::CStyleList list(nullptr);
        if (file.Load(path.c_str(), &list) != 0) {
            throw std::runtime_error(path + " can't be read");
        }
        for (void* pos = list.GetHeadPosition(); pos;) {
            m_styles.emplace_back(list.GetNext(pos));
        }
        for (const auto& style : m_styles) {
            style->SetInitialValues();
        }
        for (const auto& style : m_styles) {
            style->SetParent(list.FindStyle(style->GetValue(Path(*style), vyn::CStyle::InheritString)));
        }
    }

    const std::vector<std::unique_ptr<vyn::CStyle>>& Styles() const { return m_styles; }
    vyn::CStyle& Find(const std::string& name) const {
        for (const auto& style : m_styles) {
            if (style->GetName() == name) {
                return *style;
            }
        }
        throw std::runtime_error("no style " + name);
    }

private:
    std::vector<std::unique_ptr<vyn::CStyle>> m_styles;
};

// Where the value of an option comes from.
std::string Source(vyn::CStyle& style, const char* name) {
    const vyn::ValueExplanation explanation = vyn::ExplainValue(style, Path(style), name);
    const vyn::ExplainStep* step = explanation.GetDecision();
    if (!step || step->isDefault) {
        return "default";
    }
    return step->style == style.GetName() ? "its own" : "inherited from " + step->style;
}

void PrintStyle(vyn::CStyle& style) {
    const std::string parent = style.GetParent() ? std::string(", based on ") + style.GetParent()->GetName() : "";
    printf("  %s (%s)%s\n", style.GetName(), style.GetStyleKind()->GetName(), parent.c_str());
    const vyn::CMgrOptionSet* options = style.GetMgrCategory()->GetOptionSet();
    for (void* pos = options->GetFirstOptionPosition(); pos;) {
        const std::string name = options->GetNextOption(pos)->szName;
        if (name != vyn::CStyle::InheritString) {
            printf("    %-7s = %-7s %s\n", name.c_str(), style.GetValue(Path(style), name.c_str()),
                   Source(style, name.c_str()).c_str());
        }
    }
}

void PrintSheet(const Sheet& sheet) {
    for (const auto& style : sheet.Styles()) {
        PrintStyle(*style);
    }
}

// Each style writes its own section and keeps those of the others. The file has to be there: only then the
// headings get the attributes by which the styles are read back.
void Save(const Sheet& sheet, const std::string& path) {
    std::ofstream(path).close();
    for (const auto& style : sheet.Styles()) {
        void* pos = style->GetFirstFilePosition();
        if (const int error = pos ? style->GetNextFile(pos)->SaveAs(path.c_str()) : 0) {
            throw std::runtime_error(path + " can't be saved: error " + std::to_string(error));
        }
    }
}

void Tour(const std::string& data, const std::string& work) {
    std::filesystem::create_directories(work);
    Kinds kinds;
    const Sheet sheet(kinds, data + "/document.styles");
    printf("Styles as loaded:\n");
    PrintSheet(sheet);

    vyn::CStyle& warning = sheet.Find("Warning");
    printf("\nBody gets the font Mono; the grandchild before and after:\n");
    printf("  Warning: Font = %s\n", warning.GetValue(Path(warning), "Font"));
    vyn::CStyle& body = sheet.Find("Body");
    body.SetValue(Path(body), "Font", "Mono");
    printf("  Warning: Font = %s\n", warning.GetValue(Path(warning), "Font"));

    printf(
        "\nWarning gets the size of its parent, which needs no place in its file, and is then based on "
        "Body:\n");
    warning.SetValue(Path(warning), "Size", "9");
    printf("  Warning: Size = %s, %s\n", warning.GetValue(Path(warning), "Size"), Source(warning, "Size").c_str());
    warning.SetParent(&body);
    printf("  Warning: Size = %s, %s\n", warning.GetValue(Path(warning), "Size"), Source(warning, "Size").c_str());

    const std::string path = work + "/saved.styles";
    Save(sheet, path);
    printf("\nText of the saved file:\n");
    std::ifstream saved(path);
    for (std::string line; std::getline(saved, line);) {
        printf("  | %s\n", line.c_str());
    }
    printf("\nStyles read back from it:\n");
    PrintSheet(Sheet(kinds, path));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: StyleTour <directory of the example files> <directory to work in>\n");
        return 2;
    }
    try {
        Tour(argv[1], argv[2]);
    } catch (const std::exception& e) {
        fprintf(stderr, "StyleTour: %s\n", e.what());
        return 1;
    }
    return 0;
}
