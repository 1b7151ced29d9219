#include "VynCheck.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <unordered_map>

#include "Explain/Scan_p.h"
#include "Files/File_p.h"
#include "VynStyle.h"
#include "VynUri.h"

namespace vyn {

namespace {

// In the order of FindingCode.
const char* const names[] = {
    "unexpected",      "text-after-value", "text-before-heading", "open-heading",    "open-string",
    "open-attributes", "odd-attributes",   "missing-text",        "number-changed",  "nul-byte",
    "foreign-mark",    "repeated-value",   "repeated-section",    "name-too-long",   "unstorable",
    "unknown-section", "unknown-option",   "no-integer",          "no-boolean",      "same-as-underneath",
    "overruled",       "idle-fixed",       "parent-missing",      "parent-circle",   "urn-malformed",
    "urn-refused",     "urn-shadowed",     "urn-target",          "unfinished-save",
};

// The number of letters to insert, drop, replace or swap with their neighbour.
size_t Distance(const std::string& a, const std::string& b) {
    std::vector<size_t> before;
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        before = last;
        last = row;
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
    }
    return row[b.size()];
}

// The candidate that is nearest to `name`; empty when none is near, as for a text that is no name.
std::string Nearest(const std::string& name, const std::vector<std::string>& candidates) {
    constexpr size_t longest = 100;
    std::string nearest;
    size_t best = name.size() > longest ? 0 : name.size() / 3 + 1;
    for (const std::string& candidate : candidates) {
        const size_t gap = std::max(candidate.size(), name.size()) - std::min(candidate.size(), name.size());
        const size_t distance = gap < best ? Distance(name, candidate) : best;
        if (distance < best) {
            best = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

bool IsInteger(const std::string& text) {
    const size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    return text.size() > start &&
           std::all_of(text.begin() + static_cast<ptrdiff_t>(start), text.end(), detail::IsDigit);
}

bool IsBoolean(const std::string& text) {
    return text == "true" || text == "false";
}

void CollectPaths(CMgrCategory& category, std::vector<std::string>& paths) {
    for (void* pos = category.GetFirstCategoryPosition(); pos;) {
        CMgrCategory* sub = category.GetNextCategory(pos);
        paths.emplace_back(sub->GetPath());
        CollectPaths(*sub, paths);
    }
}

std::vector<std::string> OptionNames(const CMgrCategory& category) {
    std::vector<std::string> result;
    const CMgrOptionSet* set = category.GetOptionSet();
    for (void* pos = set ? set->GetFirstOptionPosition() : nullptr; pos;) {
        result.emplace_back(set->GetNextOption(pos)->szName);
    }
    return result;
}

// Splits the path root/Styles/style/kind; false for another path.
bool SplitStylePath(const std::string& path, std::string& name, std::string& family) {
    std::vector<std::string> elements;
    for (size_t at = 0; at != std::string::npos;) {
        const size_t slash = path.find('/', at);
        elements.push_back(path.substr(at, slash == std::string::npos ? slash : slash - at));
        at = slash == std::string::npos ? slash : slash + 1;
    }
    if (elements.size() != 4 || elements[1] != "Styles") {
        return false;
    }
    name = elements[2];
    family = elements[0] + '/' + elements[3];
    return true;
}

// The checks that need no tables.
class CPlainCheck {
public:
    CPlainCheck(const detail::CScan& scan, detail::CFindings& findings) : m_scan(scan), m_findings(findings) {}

    void Run() {
        CheckRepetitions();
        CheckParents();
    }

private:
    void CheckRepetitions() {
        std::unordered_map<std::string, const char*> sections;
        std::unordered_map<std::string, const char*> values;
        for (const detail::ScannedSection& section : m_scan.Sections()) {
            const auto added = sections.emplace(section.path, section.place);
            // A save puts a plain heading of the same path behind one with attributes.
            if (!added.second && !HasAttributes(added.first->second)) {
                Repeat(FindingCode::eRepeatedSection, section.place, section.path, added.first->second);
            }
        }
        for (const detail::ScannedValue& value : m_scan.Values()) {
            const std::string& path = m_scan.Sections()[value.section].path;
            const auto added = values.emplace(path + '\n' + value.name, value.place);
            if (!added.second) {
                Repeat(FindingCode::eRepeatedValue, value.place, value.name, added.first->second);
            }
        }
    }

    static bool HasAttributes(const char* heading) {
        const char* close = strchr(heading, ']');
        return close && close[1 + strspn(close + 1, " \t")] == '(';
    }

    void Repeat(FindingCode code, const char* place, const std::string& what, const char* first) {
        m_findings.Add(code, place, {what, std::to_string(m_findings.LineOf(first))});
    }

    static std::string Member(const std::string& family, const std::string& style) {
        return std::string(family).append("/").append(style);
    }

    // A parent is a style of the same root and kind.
    void CheckParents() {
        std::map<std::string, std::string> parents;  // by family and name
        std::string name;
        std::string family;
        for (const detail::ScannedSection& section : m_scan.Sections()) {
            if (SplitStylePath(section.path, name, family)) {
                parents.emplace(Member(family, name), std::string());
            }
        }
        for (const detail::ScannedValue& value : m_scan.Values()) {
            if (IsParentOf(value, name, family)) {
                parents[Member(family, name)] = Member(family, value.text);
            }
        }
        for (const detail::ScannedValue& value : m_scan.Values()) {
            if (!IsParentOf(value, name, family)) {
                continue;
            }
            const std::string own = Member(family, name);
            if (parents.count(Member(family, value.text)) == 0) {
                m_findings.Add(FindingCode::eParentMissing, value.place, {name, value.text});
            } else if (LeadsTo(parents, Member(family, value.text), own)) {
                m_findings.Add(FindingCode::eParentCircle, value.place, {name, value.text});
            }
        }
    }

    bool IsParentOf(const detail::ScannedValue& value, std::string& name, std::string& family) const {
        return value.name == CStyle::InheritString && value.text != "none" && !value.text.empty() &&
               SplitStylePath(m_scan.Sections()[value.section].path, name, family);
    }

    static bool LeadsTo(const std::map<std::string, std::string>& parents, std::string from, const std::string& style) {
        std::set<std::string> asked;
        while (from != style) {
            const auto next = parents.find(from);
            if (next == parents.end() || !asked.insert(from).second) {
                return false;
            }
            from = next->second;
        }
        return true;
    }

    const detail::CScan& m_scan;
    detail::CFindings& m_findings;
};

// The checks against a manager's tables and the files below.
class CDeclaredCheck {
public:
    CDeclaredCheck(const char* path, COptionManager& manager, const detail::CScan& scan, detail::CFindings& findings)
        : m_manager(manager), m_scan(scan), m_findings(findings), m_file(manager.GetFile(path)) {
        CollectPaths(manager, m_paths);
    }

    void Run() {
        std::vector<const CMgrCategory*> categories;
        for (const detail::ScannedSection& section : m_scan.Sections()) {
            categories.push_back(FindCategory(section));
        }
        for (const detail::ScannedValue& value : m_scan.Values()) {
            if (const CMgrCategory* category = categories[value.section]) {
                CheckValue(value, *category);
            }
        }
    }

private:
    const CMgrCategory* FindCategory(const detail::ScannedSection& section) {
        const CMgrCategory* category = &m_manager;
        std::string rest = section.path;
        while (category && !rest.empty()) {
            const size_t slash = rest.find('/');
            const std::string element = rest.substr(0, slash);
            category = element.size() > 255 ? nullptr : category->FindCategory(element.c_str(), 0);
            rest = slash == std::string::npos ? "" : rest.substr(slash + 1);
        }
        std::string name;
        std::string family;
        if (!category && !SplitStylePath(section.path, name, family)) {
            m_findings.AddWithGuess(FindingCode::eUnknownSection, section.place, section.path,
                                    Nearest(section.path, m_paths));
        }
        return category;
    }

    void CheckValue(const detail::ScannedValue& value, const CMgrCategory& category) {
        const CMgrOptionSet* set = category.GetOptionSet();
        const COption* option = set ? set->FindOption(value.name.c_str()) : nullptr;
        if (!option) {
            m_findings.AddWithGuess(FindingCode::eUnknownValue, value.place, value.name,
                                    Nearest(value.name, OptionNames(category)));
            return;
        }
        if (IsBoolean(option->szDefault) && !IsBoolean(value.text)) {
            m_findings.Add(FindingCode::eNoBoolean, value.place, {value.name, value.text});
        } else if (option->nType != eTextOption && IsInteger(option->szDefault) && !IsInteger(value.text)) {
            m_findings.Add(FindingCode::eNoInteger, value.place, {value.name, value.text});
        }
        const char* key = m_scan.Sections()[value.section].path.c_str();
        CheckMemory(value, key);
        if (!IsOverruled(value, key)) {
            CheckUnderneath(value, key);
        }
        CheckFixed(value);
    }

    // Only memory can hold a text that no file can.
    void CheckMemory(const detail::ScannedValue& value, const char* key) {
        const char* text = m_file ? m_file->GetValue(key, value.name.c_str()) : nullptr;
        if (text && strchr(text, '"')) {
            m_findings.Add(FindingCode::eUnstorable, value.place, {value.name});
        }
    }

    bool IsOverruled(const detail::ScannedValue& value, const char* key) {
        for (void* pos = FirstBelow(); pos;) {
            COptionFile* file = m_manager.GetNextFile(pos);
            if (file->IsUnredefinable(key, value.name.c_str())) {
                const int line = file->FindKey(key)->FindValue(value.name.c_str())->GetLine();
                m_findings.Add(FindingCode::eOverruled, value.place,
                               {value.name, file->GetPathName(), std::to_string(line)});
                return true;
            }
        }
        return false;
    }

    // The position of the file below the checked one, which lies on top unless it is in the stack.
    void* FirstBelow() const {
        void* pos = m_manager.GetFirstFilePosition();
        while (m_file && pos) {
            if (m_manager.GetNextFile(pos) == m_file) {
                return pos;
            }
        }
        return pos;
    }

    void CheckUnderneath(const detail::ScannedValue& value, const char* key) {
        const char* underneath = m_file ? m_manager.GetUnderneathValue(m_file, key, value.name.c_str())
                                        : m_manager.GetValue(key, value.name.c_str());
        // A fixed value says more than its text.
        if (underneath && value.text == underneath && value.fixed != "true") {
            m_findings.Add(FindingCode::eSameAsUnderneath, value.place, {value.name});
        }
    }

    void CheckFixed(const detail::ScannedValue& value) {
        const bool isTop = m_file && FirstBelow() && IsTop();
        if (value.fixed.empty() || value.fixed == "false" || (value.fixed == "true" && !isTop)) {
            return;
        }
        m_findings.Add(FindingCode::eIdleFixed, value.place, {value.name});
    }

    bool IsTop() const {
        void* pos = m_manager.GetFirstFilePosition();
        return m_manager.GetNextFile(pos) == m_file;
    }

    COptionManager& m_manager;
    const detail::CScan& m_scan;
    detail::CFindings& m_findings;
    COptionFile* m_file;  // the object of the stack for the checked file; null when it has none
    std::vector<std::string> m_paths;
};

}  // namespace

const char* GetFindingName(FindingCode code) {
    return names[static_cast<size_t>(code)];
}

int ReportLoad(const char* path, CFindingSink& sink) {
    std::string text;
    if (const int error = detail::ReadFile(path, text)) {
        return error;
    }
    detail::CFindings findings(text);
    const detail::CScan scan(text, findings);
    for (const Finding& finding : findings.Take()) {
        sink.Report(finding);
    }
    return scan.IsSound() ? 0 : EILSEQ;
}

int CheckFile(const char* path, COptionManager* manager, std::vector<Finding>& found) {
    found.clear();
    std::string text;
    if (const int error = detail::ReadFile(path, text)) {
        return error;
    }
    detail::CFindings findings(text);
    const std::string journal = detail::FindJournal(path);
    if (!journal.empty()) {
        findings.Add(FindingCode::eUnfinishedSave, text.data(), {journal});
    }
    const detail::CScan scan(text, findings);
    CPlainCheck(scan, findings).Run();
    if (manager) {
        CDeclaredCheck(path, *manager, scan, findings).Run();
    }
    found = findings.Take();
    return scan.IsSound() ? 0 : EILSEQ;
}

int CheckUrnMap(const char* path, std::vector<Finding>& found) {
    found.clear();
    std::string text;
    if (const int error = detail::ReadFile(path, text)) {
        return error;
    }
    detail::CFindings findings(text);
    std::map<std::string, const char*> seen;
    size_t next = 0;
    for (size_t at = 0; at < text.size(); at = next + 1) {
        at += std::min(text.find_first_not_of(" \t", at), text.size()) - at;
        next = std::min(text.find_first_of(";\n", at), text.size());
        const std::string entry = text.substr(at, next - at);
        const char* place = text.c_str() + at;
        if (entry.empty()) {
            continue;
        }
        const size_t colon = entry.find(':');
        if (colon == 0 || colon == std::string::npos) {
            findings.Add(FindingCode::eUrnMalformed, place, {entry});
            continue;
        }
        std::string name = entry.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return static_cast<char>(tolower(static_cast<unsigned char>(c))); });
        const std::string target = entry.substr(colon + 1);
        const auto added = seen.emplace(name, place);
        if (!SUrnResolver::CanUrnBeOverridden(entry)) {
            findings.Add(FindingCode::eUrnRefused, place, {name});
        } else if (!added.second) {
            findings.Add(FindingCode::eUrnShadowed, place,
                         {name, std::to_string(findings.LineOf(added.first->second))});
        } else if (target.empty() || target[0] != '/' || !SUrnResolver::DoesUrnTargetExist(name, target, false)) {
            findings.Add(FindingCode::eUrnTarget, place, {name, target});
        }
    }
    found = findings.Take();
    return 0;
}

}  // namespace vyn
