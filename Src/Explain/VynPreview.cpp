#include <cerrno>
#include <cstring>
#include <map>

#include "Files/File_p.h"
#include "Rg/RgReader_p.h"
#include "VynExplain.h"

namespace vyn {

namespace {

// The entries of a text, in their order.
class CEntries {
public:
    struct Entry {
        std::string address;
        std::string text;
        std::string line;  // text and attributes
    };

    explicit CEntries(const std::string& text) { detail::RgReader<CEntries>(text.c_str(), *this).Read(); }

    void BeginSection(const char*) { m_path.clear(); }
    void Element(std::string_view name) { m_path.append(m_path.empty() ? "" : "/").append(name); }
    void EndHeading(const detail::RgAttributes&, const char*) {}
    void Value(std::string_view name, std::string_view text, const detail::RgAttributes& attributes, const char*,
               const char*) {
        std::string line(text);
        for (const auto& attribute : attributes) {
            line.append("\n").append(attribute.first).append("=").append(attribute.second);
        }
        list.push_back({m_path + '/' + std::string(name), std::string(text), line});
    }

    std::vector<Entry> list;

private:
    std::string m_path;
};

// The positions of each address, of several by their order.
std::multimap<std::string, size_t> IndexOf(const std::vector<CEntries::Entry>& entries) {
    std::multimap<std::string, size_t> index;
    for (size_t i = 0; i < entries.size(); ++i) {
        index.emplace(entries[i].address, i);
    }
    return index;
}

void Compare(const std::string& oldText, SavePreview& preview) {
    const CEntries before(oldText);
    const CEntries after(preview.text);
    std::multimap<std::string, size_t> left = IndexOf(before.list);
    size_t reached = 0;
    for (const CEntries::Entry& entry : after.list) {
        const auto old = left.lower_bound(entry.address);
        if (old == left.end() || old->first != entry.address) {
            preview.changes.push_back({eAdded, entry.address, SString(), entry.text});
            continue;
        }
        const CEntries::Entry& former = before.list[old->second];
        const bool isInOrder = old->second >= reached;
        reached = isInOrder ? old->second : reached;
        if (former.line != entry.line) {
            preview.changes.push_back({eChanged, entry.address, former.text, entry.text});
        } else if (!isInOrder) {
            preview.changes.push_back({eMoved, entry.address, former.text, entry.text});
        } else {
            ++preview.kept;
        }
        left.erase(old);
    }
    for (const CEntries::Entry& entry : before.list) {
        const auto dropped = left.find(entry.address);
        if (dropped != left.end()) {
            preview.changes.push_back({eDropped, entry.address, entry.text, SString()});
            left.erase(dropped);
        }
    }
}

}  // namespace

SavePreview PreviewSave(COptionFile& file, const char* path) {
    SavePreview preview;
    const SString target(path ? path : file.GetPathName());
    std::string oldText;
    int error = target.empty() ? 1 : detail::CheckWritable(target.c_str());
    error = error ? error : detail::ReadFile(target.c_str(), oldText);
    if (error != 0 && error != ENOENT) {
        preview.status = error;
        return preview;
    }
    preview.text = oldText;
    preview.status = file.MakeText(target, error == ENOENT ? nullptr : &oldText, preview.text);
    Compare(oldText, preview);
    return preview;
}

}  // namespace vyn
