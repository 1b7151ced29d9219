#include "VynDeclarations.h"

#include <cerrno>
#include <deque>

#include "Files/File_p.h"
#include "Rg/RgFile_p.h"
#include "Rg/RgReader_p.h"

namespace vyn {

namespace {

constexpr const char* kindAttribute = "kind";

// The names of the kinds that a file tells; text needs none.
const std::pair<const char*, int> kinds[] = {{"bare", eBareOption}, {"other", eOtherBareOption}};

// Takes one entry at a time from the reader.
class CRowReader {
public:
    struct Entry {
        std::string key, name, text;
        int kind;
    };

    void BeginSection(const char*) { m_key.clear(); }
    void Element(std::string_view name) { m_key.append(m_key.empty() ? "" : "/").append(name); }
    void EndHeading(const detail::RgAttributes&, const char*) {}
    // Without the attribute the way in which the text is written tells.
    void Value(std::string_view name, std::string_view text, const detail::RgAttributes& attributes, const char* start,
               const char* end) {
        // A number that was rewritten doesn't stand in the input, and a missing text is that of the name.
        const bool isInInput = text.data() > start && text.data() < end;
        const bool isQuoted = isInInput && text.data()[-1] == '"';
        int kind = isQuoted ? eTextOption : eBareOption;
        for (const auto& attribute : attributes) {
            for (const auto& row : kinds) {
                if (attribute.first == kindAttribute && attribute.second == row.first) {
                    kind = row.second;
                }
            }
        }
        entries.push_back({m_key, std::string(name), std::string(text), kind});
    }

    std::vector<Entry> entries;

private:
    std::string m_key;
};

// Whether a heading holds the element, and an address.
bool IsElement(const std::string& element) {
    return !element.empty() && !detail::IsSpace(element[0]) && element.find(']') == std::string::npos;
}

std::vector<std::string> SplitKey(const std::string& key) {
    std::vector<std::string> elements;
    for (size_t at = 0; at != std::string::npos;) {
        const size_t slash = key.find('/', at);
        elements.push_back(key.substr(at, slash == std::string::npos ? slash : slash - at));
        at = slash == std::string::npos ? slash : slash + 1;
    }
    return elements;
}

// Static tables that aren't static: nothing moves once it is made.
class CTables {
public:
    const char* Keep(const std::string& text) { return m_texts.emplace_back(text).c_str(); }

    std::vector<COption>& NewRows() { return m_rows.emplace_back(); }

    // The category at the path `elements` with these rows, in those that it lies in.
    const CCategory* Chain(const std::vector<std::string>& elements, const std::vector<COption>& rows) {
        const COptionSet* set = &m_sets.emplace_back(
            COptionSet{Keep(elements.back()), rows.data(), static_cast<int>(rows.size()), nullptr});
        const CCategory* category = nullptr;
        for (auto element = elements.rbegin(); element != elements.rend(); ++element) {
            const CCategory* const* below = category ? &m_below.emplace_back(category) : nullptr;
            category = &m_categories.emplace_back(CCategory{Keep(*element), below, below ? 1 : 0, set});
            set = &m_empty;
        }
        return category;
    }

private:
    std::deque<std::string> m_texts;
    std::deque<std::vector<COption>> m_rows;
    std::deque<COptionSet> m_sets;
    std::deque<const CCategory*> m_below;
    std::deque<CCategory> m_categories;
    const COptionSet m_empty = {"", nullptr, 0, nullptr};
};

}  // namespace

void CDeclarations::Add(const char* key, const COption& option) {
    m_rows[key][option.szName] = {option.nType, option.szDefault};
}

void CDeclarations::AddFrom(CMgrCategory& category) {
    const CMgrOptionSet* set = category.GetPath() ? category.GetOptionSet() : nullptr;
    for (void* pos = set ? set->GetFirstOptionPosition() : nullptr; pos;) {
        Add(category.GetPath(), *set->GetNextOption(pos));
    }
    for (void* pos = category.GetFirstCategoryPosition(); pos;) {
        AddFrom(*category.GetNextCategory(pos));
    }
}

int CDeclarations::Load(const char* path) {
    return Read(path, false);
}

int CDeclarations::LoadEntries(const char* path) {
    return Read(path, true);
}

int CDeclarations::Read(const char* path, bool areEntries) {
    std::string text;
    if (const int error = detail::ReadFile(path, text)) {
        return error;
    }
    CRowReader reader;
    if (!detail::RgReader<CRowReader>(text.c_str(), reader).Read()) {
        return EILSEQ;
    }
    for (const CRowReader::Entry& entry : reader.entries) {
        std::map<std::string, Row>& rows = m_rows[entry.key];
        if (areEntries) {
            rows.insert({entry.name, {entry.kind, std::string()}});
        } else {
            rows[entry.name] = {entry.kind, entry.text};
        }
    }
    return 0;
}

int CDeclarations::Save(const char* path) const {
    std::string text;
    for (const auto& [key, rows] : m_rows) {
        for (const std::string& element : SplitKey(key)) {
            if (!IsElement(element)) {
                return EILSEQ;
            }
        }
        text.append(text.empty() ? "[" : "\n[").append(key).append("]\n\n");
        for (const auto& [name, row] : rows) {
            if ((name + row.text).find('"') != std::string::npos) {
                return EILSEQ;
            }
            text.append("\"").append(name).append("\"=\"").append(row.text).append("\"");
            for (const auto& kind : kinds) {
                if (kind.second == row.kind) {
                    text.append(" (\"").append(kindAttribute).append("\"=\"").append(kind.first).append("\")");
                }
            }
            text.append("\n");
        }
    }
    return detail::ReplaceFile(path, text);
}

bool CDeclarations::Has(const char* key, const char* name) const {
    const auto rows = m_rows.find(key);
    return rows != m_rows.end() && rows->second.count(name) != 0;
}

void CDeclarations::AddTo(COptionManager& manager) const {
    auto tables = std::make_shared<CTables>();
    for (const auto& [key, byName] : m_rows) {
        const std::vector<std::string> elements = SplitKey(key);
        bool hasAddress = true;
        for (const std::string& element : elements) {
            hasAddress = hasAddress && element.size() < detail::kKeyElementSize;
        }
        if (!hasAddress) {
            continue;
        }
        std::vector<COption>& rows = tables->NewRows();
        for (const auto& [name, row] : byName) {
            rows.push_back({tables->Keep(name), row.kind, tables->Keep(row.text), 0, 0});
        }
        manager.AddCategory(tables->Chain(elements, rows));
    }
    manager.m_tables.push_back(std::move(tables));
}

}  // namespace vyn
