#pragma once

// The options of the tool and the three files that their values come from.

#include <Platform.h>
#include <VynExplain.h>
#include <VynOption.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>

// Name, kind, default, and two fields that are always 0.
inline const vyn::COption optPage[] = {{"Width", 2, "60", 0, 0}, {"Margin", 2, "0", 0, 0}, {"Footer", 1, "", 0, 0}};
inline const vyn::COption optFilter[] = {{"Command", 1, "", 0, 0}, {"Seconds", 2, "10", 0, 0}};
inline const vyn::COptionSet setPage = {"Page", optPage, std::size(optPage), nullptr};
inline const vyn::COptionSet setFilter = {"Filter", optFilter, std::size(optFilter), nullptr};
inline const vyn::COptionSet setTextTool = {"TextTool", nullptr, 0, nullptr};
inline const vyn::CCategory catPage = {"Page", nullptr, 0, &setPage};
inline const vyn::CCategory catFilter = {"Filter", nullptr, 0, &setFilter};
inline const vyn::CCategory* const subTextTool[] = {&catPage, &catFilter};
inline const vyn::CCategory catTextTool = {"TextTool", subTextTool, std::size(subTextTool), &setTextTool};

// A file in share/texttool of the tree that the program lies in: bin/ and share/ are neighbours.
inline vyn::SPathName DataPath(const char* name) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    vyn::SPathName path(program.parent_path().parent_path().c_str());
    path.AddPathElement("share/texttool");
    path.AddPathElement(name);
    return path;
}

class Settings : public vyn::COptionManager {
public:
    Settings() {
        AddCategory(&catTextTool);  // first the tables: of a file only what they declare is kept
        vyn::SPathName path(vyn::VynGetUserDir());
        path.AddPathElement("texttool.zop");
        m_personal = AddPersonalFile(path);
        AddOptionFile(DataPath("team.zop"));
        AddOptionFile(DataPath("company.zop"));
    }

    int Width() const { return GetIntValue("TextTool/Page", "Width"); }
    int Margin() const { return GetIntValue("TextTool/Page", "Margin"); }
    std::string Footer() const { return GetValue("TextTool/Page", "Footer"); }
    std::string FilterCommand() const { return GetValue("TextTool/Filter", "Command"); }
    // Not 0, which would be no limit.
    int FilterSeconds() const { return std::max(GetIntValue("TextTool/Filter", "Seconds"), 1); }

    // Changes what an argument as "Page/Width=40" names; the answer tells what stands in the way.
    vyn::ChangeAnswer Assign(const std::string& argument) {
        const size_t equals = argument.find('=');
        const size_t slash = argument.rfind('/', equals);
        const std::string key = "TextTool/" + argument.substr(0, slash);
        const std::string name = argument.substr(slash + 1, equals - slash - 1);
        const std::string value = argument.substr(equals + 1);
        const vyn::ChangeAnswer answer = vyn::CanChange(*this, key.c_str(), name.c_str());
        if (answer.obstacle == vyn::eNoObstacle) {
            SetValue(key.c_str(), name.c_str(), value.c_str());
        }
        return answer;
    }

    // Only the user's own file: 0 on success, else as COptionFile::Save.
    int Save() { return m_personal->Save(nullptr); }
    const char* PersonalPath() const { return m_personal->GetPathName(); }

private:
    vyn::COptionFile* m_personal;  // owned by the manager
};
