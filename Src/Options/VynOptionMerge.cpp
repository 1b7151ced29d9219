// What a merging save takes over from the file before it writes, and the same on a copy of memory, for a preview.

#include <cerrno>
#include <cstring>
#include <set>
#include <vector>

#include "Options/VynOptionSave_p.h"
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

    /// Makes an empty tree equal to \p from for a merge and a save.
    static void Copy(const COptRootRgKey& from, COptRootRgKey& to) {
        to.m_mapRemoved = from.m_mapRemoved;
        CopyKey(from, to);
    }

private:
    static void CopyKey(const COptRgKey& from, COptRgKey& to) {
        for (void* pos = from.GetFirstValuePosition(); pos;) {
            auto* value = static_cast<COptRgValue*>(from.GetNextValue(pos));
            const char* known = value->GetFileText();
            auto* copy = new COptRgValue(value->m_pOption, known ? known : value->GetValue());
            if (value->GetAttributeCount() > 0) {
                CopyAttributes(*value->GetAttributeList(), *copy->GetAttributeList());
            }
            if (known) {
                copy->SetInFile();
            }
            if (value->IsChanged()) {
                copy->SetValue(value->GetValue());
            }
            to.AddValue(copy);
        }
        for (void* pos = from.GetFirstKeyPosition(); pos;) {
            auto* key = static_cast<COptRgKey*>(from.GetNextKey(pos));
            auto* copy = new COptRgKey(key->GetName());
            copy->SetCategory(key->m_pCategory);
            CopyAttributes(*key->GetAttributeList(), *copy->GetAttributeList());
            to.AddKey(copy);
            CopyKey(*key, *copy);
        }
    }

    static void CopyAttributes(const MList<CRgAttribute*>& from, MList<CRgAttribute*>& to) {
        for (void* pos = from.GetHeadPosition(); pos;) {
            CRgAttribute* attribute = from.GetNext(pos);
            to.AddTail(new CRgAttribute(attribute->GetName(), attribute->GetValue()));
        }
    }

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

namespace {

// The root of a tree that belongs to no file.
struct LooseRoot : COptRootRgKey {
    explicit LooseRoot(COptionManager* manager) { m_pCategory = manager; }
    ~LooseRoot() override {
        Empty();
        m_pCategory = nullptr;  // as in a file, the root isn't registered with the manager
    }
};

}  // namespace

// False when the text is malformed.
bool COptionFile::Merge(COptRgKey& root, std::string text, SVector<SString>& conflicts) {
    LooseRoot file(m_pManager);
    if (CRgLoader(file).LoadText(text) != 0) {
        return false;
    }
    detail::CMerge(static_cast<COptRootRgKey&>(root), conflicts).Merge(file);
    return true;
}

// The text that a save would write, without one. A null old text means that there is no file. The result is that of
// Save.
int COptionFile::MakeText(const SString& path, const std::string* oldText, std::string& newText) {
    if (oldText && strlen(oldText->c_str()) != oldText->size()) {
        return EILSEQ;
    }
    auto* root = static_cast<COptRgKey*>(m_pRoot);
    LooseRoot merged(m_pManager);
    if (oldText && IsMergedInto(path)) {
        SVector<SString> conflicts;
        detail::CMerge::Copy(static_cast<COptRootRgKey&>(*root), merged);
        if (!Merge(merged, *oldText, conflicts)) {
            return 1;
        }
        root = &merged;
    }
    CIncrSaveContext context(root);
    context.m_bNewFile = !oldText;
    if (oldText && context.Replay(*oldText, m_bContentLost) != 0) {
        return 1;
    }
    context.FlushUnsavedKeys();
    newText.clear();
    for (const std::string_view& piece : context.m_pText->GetPieces()) {
        newText += piece;
    }
    return context.m_nStatus;
}

}  // namespace vyn
