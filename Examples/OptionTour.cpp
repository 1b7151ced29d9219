// Options from declared tables through a personal and a company file: reads them, changes some, saves into a
// copy and shows what became of the text.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "VynExplain.h"

namespace {

// The options of the tool, as static tables.
const vyn::COption optEditor[] = {{"AutoSave", 1, "false", 0, 0}, {"Language", 1, "en", 0, 0}};
const vyn::COption optText[] = {{"Font", 1, "Sans", 0, 0}, {"TabWidth", 2, "8", 0, 0}, {"Wrap", 1, "true", 0, 0}};
const vyn::COption optBuild[] = {{"Target", 1, "debug", 0, 0}, {"Parallel", 2, "1", 0, 0}};
const vyn::COption optView[] = {{"Zoom", 2, "100", 0, 0}};
const vyn::COptionSet setEditor = {"Editor", optEditor, 2, nullptr};
const vyn::COptionSet setText = {"Text", optText, 3, nullptr};
const vyn::COptionSet setBuild = {"Build", optBuild, 2, nullptr};
const vyn::COptionSet setView = {"View", optView, 1, nullptr};
const vyn::CCategory catText = {"Text", nullptr, 0, &setText};
const vyn::CCategory* const subEditor[] = {&catText};
const vyn::CCategory catEditor = {"Editor", subEditor, 1, &setEditor};
const vyn::CCategory catBuild = {"Build", nullptr, 0, &setBuild};
const vyn::CCategory catView = {"View", nullptr, 0, &setView};

// Where the value of an option comes from.
std::string Source(const vyn::COptionManager& manager, const char* key, const char* name) {
    const vyn::ValueExplanation explanation = vyn::ExplainValue(manager, key, name);
    const vyn::ExplainStep* step = explanation.GetDecision();
    if (!step || step->isDefault) {
        return "default";
    }
    return std::filesystem::path(step->file.c_str()).filename().string() + (step->isFixed ? " (fixed)" : "");
}

void PrintOptions(const vyn::COptionManager& manager, vyn::CMgrCategory* category) {
    const char* key = category->GetPath();
    const vyn::CMgrOptionSet* options = category->GetOptionSet();
    for (void* pos = options ? options->GetFirstOptionPosition() : nullptr; pos;) {
        const char* name = options->GetNextOption(pos)->szName;
        printf("  %-12s %-9s = %-6s  from %s\n", key, name, manager.GetValue(key, name),
               Source(manager, key, name).c_str());
    }
    for (void* pos = category->GetFirstCategoryPosition(); pos;) {
        PrintOptions(manager, category->GetNextCategory(pos));
    }
}

void Set(vyn::COptionManager& manager, const char* key, const char* name, const char* value) {
    const bool editable = manager.IsEditable(key, name) != 0;
    manager.SetValue(key, name, value);
    printf("  %s/%s := %s%s\n", key, name, value, editable ? "" : "   refused: fixed by a lower file");
}

std::vector<std::string> Lines(const std::string& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Prints both texts line by line, with "-" and "+" where they differ, by the longest common subsequence.
void PrintDifference(const std::vector<std::string>& before, const std::vector<std::string>& after) {
    std::vector<std::vector<int>> common(before.size() + 1, std::vector<int>(after.size() + 1));
    for (size_t i = before.size(); i-- > 0;) {
        for (size_t j = after.size(); j-- > 0;) {
            common[i][j] =
                before[i] == after[j] ? common[i + 1][j + 1] + 1 : std::max(common[i + 1][j], common[i][j + 1]);
        }
    }
    size_t i = 0;
    size_t j = 0;
    while (i < before.size() || j < after.size()) {
        if (i < before.size() && j < after.size() && before[i] == after[j]) {
            printf("    %s\n", before[i++].c_str());
            ++j;
        } else if (j == after.size() || (i < before.size() && common[i + 1][j] >= common[i][j + 1])) {
            printf("  - %s\n", before[i++].c_str());
        } else {
            printf("  + %s\n", after[j++].c_str());
        }
    }
}

int Tour(const std::string& data, const std::string& work) {
    std::filesystem::create_directories(work);
    const std::string personal = work + "/personal.zop";
    const auto overwrite = std::filesystem::copy_options::overwrite_existing;
    std::filesystem::copy_file(data + "/personal.zop", personal, overwrite);

    vyn::COptionManager manager;
    manager.AddCategory(&catEditor);
    manager.AddCategory(&catBuild);
    manager.AddCategory(&catView);
    // The most personal file comes first: it takes the changes.
    vyn::COptionFile* top = manager.AddOptionFile(personal.c_str());
    if (!top || !manager.AddOptionFile((data + "/company.zop").c_str())) {
        fprintf(stderr, "OptionTour: the option files in %s can't be read\n", data.c_str());
        return 1;
    }

    printf("Options as loaded:\n");
    PrintOptions(manager, &manager);

    printf("\nChanges:\n");
    Set(manager, "Editor", "AutoSave", "false");
    Set(manager, "Editor/Text", "TabWidth", "4");
    Set(manager, "Build", "Parallel", "16");
    Set(manager, "View", "Zoom", "150");

    printf("\nOptions after the changes:\n");
    PrintOptions(manager, &manager);

    const std::string copy = work + "/saved.zop";
    std::filesystem::copy_file(personal, copy, overwrite);
    if (const int error = top->SaveAs(copy.c_str())) {
        fprintf(stderr, "OptionTour: save failed with %d\n", error);
        return 1;
    }
    printf("\nText of the personal file and of the saved copy:\n");
    PrintDifference(Lines(personal), Lines(copy));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: OptionTour <directory of the example files> <directory to work in>\n");
        return 2;
    }
    try {
        return Tour(argv[1], argv[2]);
    } catch (const std::exception& e) {
        fprintf(stderr, "OptionTour: %s\n", e.what());
        return 1;
    }
}
