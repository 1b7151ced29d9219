// What a merging save takes over from the file before it writes.

#include <cstring>
#include <set>
#include <vector>

#include "VynOption.h"

namespace vyn {

namespace detail {

/// Brings memory up to date with the file, but for what was set or removed here since the load.
class CMerge {
public:
    CMerge(COptRootRgKey& memory, SVector<SString>& conflicts) : m_memory(memory), m_conflicts(conflicts) {}

    /// \param file the tree of what the file holds now; it loses what memory takes over.
    void Merge(COptRgKey& file) {
        TakeOver(m_memory, file);
        Follow(m_memory, &file);
    }

private:
    static bool IsEqual(CRgValue& a, CRgValue& b) {
        if (strcmp(a.GetValue(), b.GetValue()) != 0 || a.GetAttributeCount() != b.GetAttributeCount()) {
            return false;
        }
        void* pos = a.GetFirstAttributePosition();
        for (void* other = b.GetFirstAttributePosition(); pos;) {
            CRgAttribute* mine = a.GetNextAttribute(pos);
            CRgAttribute* theirs = b.GetNextAttribute(other);
            if (strcmp(mine->GetName(), theirs->GetName()) != 0 || strcmp(mine->GetValue(), theirs->GetValue()) != 0) {
                return false;
            }
        }
        return true;
    }

    void Replace(COptRgKey& key, COptRgValue* old, COptRgKey& source, CRgValue* value) {
        m_taken.insert(value);
        source.Unlink(value);
        if (old) {
            key.Unlink(old);
            delete old;
        }
        key.AddValue(value);
    }

    // What the file held of the value when memory last saw it; null when there was none.
    const char* KnownText(const COptRgValue* value, const std::string& address) const {
        if (value && value->GetFileText()) {
            return value->GetFileText();
        }
        const auto removed = m_memory.m_mapRemoved.find(address);
        return removed == m_memory.m_mapRemoved.end() ? nullptr : removed->second.c_str();
    }

    // Takes over what the file has: what is new there, and what was changed there alone.
    void TakeOver(COptRgKey& key, COptRgKey& file) {
        for (void* pos = file.GetFirstValuePosition(); pos;) {
            CRgValue* theirs = file.GetNextValue(pos);
            auto* ours = static_cast<COptRgValue*>(key.FindValue(theirs->GetName()));
            const std::string address = key.GetAddress(*theirs);
            const bool isRemoved = !ours && m_memory.m_mapRemoved.count(address) > 0;
            if (!isRemoved && !(ours && ours->IsChanged())) {
                if (!ours || !IsEqual(*ours, *theirs)) {
                    Replace(key, ours, file, theirs);
                }
                continue;
            }
            const char* known = KnownText(ours, address);
            if ((!known || strcmp(known, theirs->GetValue()) != 0) &&
                !(ours && strcmp(ours->GetValue(), theirs->GetValue()) == 0)) {
                m_conflicts.push_back(address);
            }
        }
        for (void* pos = file.GetFirstKeyPosition(); pos;) {
            auto* theirs = static_cast<COptRgKey*>(file.GetNextKey(pos));
            if (auto* ours = static_cast<COptRgKey*>(key.CreateKey(theirs->GetName(), nullptr))) {
                TakeOver(*ours, *theirs);
            }
        }
    }

    // Drops what the file no longer has, unless it was set here.
    void Follow(COptRgKey& key, COptRgKey* file) {
        std::vector<COptRgValue*> gone;
        for (void* pos = key.GetFirstValuePosition(); pos;) {
            auto* ours = static_cast<COptRgValue*>(key.GetNextValue(pos));
            if (ours->IsInFile() && !(file && file->FindValue(ours->GetName())) && !m_taken.count(ours)) {
                gone.push_back(ours);
            }
        }
        for (COptRgValue* ours : gone) {
            if (ours->IsChanged()) {
                m_conflicts.push_back(key.GetAddress(*ours));
            } else {
                key.Unlink(ours);
                delete ours;
            }
        }
        for (void* pos = key.GetFirstKeyPosition(); pos;) {
            auto* ours = static_cast<COptRgKey*>(key.GetNextKey(pos));
            Follow(*ours, file ? static_cast<COptRgKey*>(file->FindKey(ours->GetName())) : nullptr);
        }
    }

    COptRootRgKey& m_memory;
    SVector<SString>& m_conflicts;
    std::set<CRgValue*> m_taken;  // values that came from the file's tree
};

}  // namespace detail

// False when the text is malformed.
bool COptionFile::Merge(std::string text) {
    COptRootRgKey file;
    file.m_pCategory = m_pManager;
    const bool isSound = CRgLoader(file).LoadText(text) == 0;
    if (isSound) {
        detail::CMerge(*static_cast<COptRootRgKey*>(m_pRoot), m_listConflicts).Merge(file);
    }
    file.Empty();
    file.m_pCategory = nullptr;
    return isSound;
}

}  // namespace vyn
