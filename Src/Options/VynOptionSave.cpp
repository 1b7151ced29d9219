#include "Options/VynOptionSave_p.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <tuple>

#include "Rg/RgFile_p.h"
#include "Rg/RgReader_p.h"
#include "VynErrOut.h"
#include "VynOption.h"

namespace vyn {

namespace {

bool IsText(const char* text, std::string_view view) {
    return strncmp(text, view.data(), view.size()) == 0 && text[view.size()] == '\0';
}

bool HasQuote(const char* text) {
    return strchr(text, '"') != nullptr;
}

// Whether the line of the value reads back.
bool IsStorable(CRgValue& value) {
    if (HasQuote(value.GetName()) || HasQuote(value.GetValue())) {
        return false;
    }
    for (void* pos = value.GetFirstAttributePosition(); pos;) {
        CRgAttribute* attribute = value.GetNextAttribute(pos);
        if (HasQuote(attribute->GetName()) || HasQuote(attribute->GetValue())) {
            return false;
        }
    }
    return true;
}

// Whether the line at the name stands in the old text as a save writes it: `"name"="text" `, and the end of the line.
bool IsWrittenForm(std::string_view name, std::string_view text) {
    const char* behindName = name.data() + name.size();
    return text.data() == behindName + 3 && memcmp(behindName, "\"=\"", 3) == 0 &&
           strncmp(text.data() + text.size(), "\" \n", 3) == 0;
}

// The line of a value that memory doesn't know, as a save writes it.
void AppendUnknown(std::string& line, std::string_view name, std::string_view text,
                   const detail::RgAttributes& attributes) {
    detail::AppendAssignment(line, name, "\"", text);
    const char* separator = "(";
    for (const auto& attribute : attributes) {
        line += separator;
        detail::AppendAssignment(line, attribute.first, "\"", attribute.second);
        separator = ", ";
    }
    line += attributes.empty() ? "\n" : ")\n";
}

}  // namespace

namespace detail {

CNewText::Piece CNewText::Keep(std::string_view text) {
    m_made.append(text);
    return {false, m_made.size() - text.size(), text.size()};
}

void CNewText::Append(const Piece& piece) {
    if (!m_pieces.empty()) {
        Piece& last = m_pieces.back();
        if (last.isOld == piece.isOld && last.start + last.length == piece.start) {
            last.length += piece.length;
            return;
        }
    }
    m_pieces.push_back(piece);
}

void CNewText::Put(const char* start, std::string_view text) {
    if (start && strncmp(start, text.data(), text.size()) == 0) {
        Copy(start, text.size());
    } else {
        Append(Keep(text));
    }
}

void CNewText::InsertAt(size_t piece, size_t offset, std::string_view text) {
    m_insertions.push_back({piece, offset, Keep(text)});
}

std::vector<std::string_view> CNewText::GetPieces() const {
    std::vector<Insertion> insertions(m_insertions);
    std::stable_sort(insertions.begin(), insertions.end(), [](const Insertion& a, const Insertion& b) {
        return std::tie(a.piece, a.offset) < std::tie(b.piece, b.offset);
    });
    std::vector<std::string_view> views;
    views.reserve(m_pieces.size() + 2 * insertions.size());
    auto insertion = insertions.begin();
    for (size_t i = 0; i <= m_pieces.size(); ++i) {
        // A place counts the pieces up to and with the one that it lies in.
        const std::string_view piece = i == 0 ? std::string_view() : View(m_pieces[i - 1]);
        size_t taken = 0;
        for (; insertion != insertions.end() && insertion->piece == i; ++insertion) {
            views.push_back(piece.substr(taken, insertion->offset - taken));
            views.push_back(View(insertion->text));
            taken = insertion->offset;
        }
        views.push_back(piece.substr(taken));
    }
    return views;
}

bool CNewText::IsOldText() const {
    size_t place = 0;
    for (const std::string_view& piece : GetPieces()) {
        if (piece.data() != m_old.data() + place && m_old.substr(place, piece.size()) != piece) {
            return false;
        }
        place += piece.size();
    }
    return place == m_old.size();
}

/// Takes what the reader finds in the old file, and has the context write what becomes of it.
class CReplay {
public:
    explicit CReplay(CIncrSaveContext& context) : m_context(context) {}

    void BeginSection(const char* start) {
        m_context.Flush(m_context.HeadingAttributes());
        m_context.ClearPath();
        m_context.m_bUnderHeading = false;
        m_context.m_pHeading = start == m_context.m_oldText.data() ? nullptr : start - 1;
        DestroyAttributes(m_context.m_pDummy->GetAttributeList());
        m_pSection = m_context.m_pRoot;
    }

    void Element(std::string_view name) {
        m_name = name;
        m_context.AddSubPath(m_name.c_str());
        const CMgrCategory* category = m_pSection->FindSubCategory(m_name.c_str());
        CRgKey* subkey = category ? m_pSection->FindKey(m_name.c_str()) : nullptr;
        m_context.m_pCurrent = static_cast<COptRgKey*>(subkey);
        if (subkey) {
            m_context.Enter(m_context.m_pCurrent);
        }
        m_context.m_pDummy->m_pCategory = const_cast<CMgrCategory*>(category);
        m_pSection = subkey ? m_context.m_pCurrent : m_context.m_pDummy.get();
    }

    void EndHeading(const RgAttributes& attributes, const char*) {
        for (const auto& attribute : attributes) {
            m_context.m_pDummy->GetAttributeList()->AddTail(
                new CRgAttribute(std::string(attribute.first).c_str(), std::string(attribute.second).c_str()));
        }
    }

    // A known value is written as memory has it, once; an unknown one as it stands. A known value that memory doesn't
    // have leaves the file.
    void Value(std::string_view name, std::string_view text, const RgAttributes& attributes, const char* start,
               const char*) {
        CRgValue* present = m_pSection->FindNextValue(name);
        if (!present) {
            m_name = name;
            present = m_pSection->FindValue(m_name.c_str());
            if (!present && m_pSection->FindOption(m_name.c_str()) && !(m_context.m_bKeepKnown && !IsRemoved())) {
                return;
            }
        }
        if (present && m_context.IsDealtWith(*present)) {
            return;
        }
        if (!m_context.m_bUnderHeading) {
            m_context.SavePath(m_context.HeadingAttributes());
            m_context.ClearPath();
        }
        const bool isPlain = attributes.empty() && IsWrittenForm(name, text);
        if (isPlain && (!present || IsInMemory(*present, text))) {
            m_context.m_pText->Copy(start, name.size() + text.size() + 7);
            if (present) {
                m_context.TakeValue(present, true);
            }
            return;
        }
        m_line.clear();
        const bool isStored = present && IsStorable(*present);
        if (isStored) {
            AppendValue(m_line, name, present->GetType(), present->GetValue(), present->m_pAttributes);
        } else {
            AppendUnknown(m_line, name, text, attributes);
        }
        m_context.m_pText->Put(start, m_line);
        if (present) {
            m_context.TakeValue(present, isStored);
        }
    }

private:
    // Whether the known value of that name was taken out of memory since the file held it.
    bool IsRemoved() const {
        const auto& removed = static_cast<COptRootRgKey*>(m_context.m_pRoot)->m_mapRemoved;
        return removed.count(std::string(m_pSection->m_pCategory->GetPath()) + '/' + m_name) > 0;
    }

    static bool IsInMemory(CRgValue& value, std::string_view text) {
        return value.GetType() == CRgValue::eText && value.GetAttributeCount() == 0 && IsText(value.GetValue(), text);
    }

    CIncrSaveContext& m_context;
    COptRgKey* m_pSection = nullptr;  // the key of the section, or the dummy
    std::string m_name;
    std::string m_line;
};

/// Notes for each key whether one of its headings in the old file has attributes.
class CHeadingScan {
public:
    CHeadingScan(COptRgKey* root, void (*note)(CRgKey* key, void* data), void* data)
        : m_root(root), m_note(note), m_data(data) {}

    void BeginSection(const char*) { m_key = m_root; }
    void Element(std::string_view name) { m_key = m_key ? m_key->FindKey(std::string(name).c_str()) : nullptr; }
    void EndHeading(const RgAttributes& attributes, const char*) {
        if (m_key && !attributes.empty()) {
            m_note(m_key, m_data);
        }
    }
    void Value(std::string_view, std::string_view, const RgAttributes&, const char*, const char*) {}

private:
    CRgKey* m_root;
    CRgKey* m_key = nullptr;
    void (*m_note)(CRgKey* key, void* data);
    void* m_data;
};

}  // namespace detail

thread_local CIncrSaveContext* COptRgKey::m_pContext = nullptr;

CIncrSaveContext::CIncrSaveContext(COptRgKey* root)
    : m_pRoot(root),
      m_pCurrent(nullptr),
      m_pDummy(new COptDummyRgKey),
      m_pHeading(nullptr),
      m_bUnderHeading(false),
      m_bNewFile(false),
      m_bKeepKnown(false),
      m_bOldAttributesNoted(false),
      m_nStatus(0) {
    static std::atomic<unsigned> saves{0};
    m_nSave = ++saves;
    m_pText = std::make_unique<detail::CNewText>(std::string_view());
    // The dummy key isn't registered: a category that dies has no business with it.
    m_pDummy->m_pCategory = root->m_pCategory;
    COptRgKey::m_pContext = this;
}

CIncrSaveContext::~CIncrSaveContext() {
    COptRgKey::m_pContext = nullptr;
    m_pDummy->m_pCategory = nullptr;
}

// 0, or 1 when the old text is malformed.
int CIncrSaveContext::Replay(std::string_view oldText, bool keepKnown) {
    m_pText = std::make_unique<detail::CNewText>(oldText);
    m_oldText = oldText;
    m_bKeepKnown = keepKnown;
    detail::CReplay replay(*this);
    return detail::RgReader<detail::CReplay>(oldText.data(), replay).Read() ? 0 : 1;
}

// The file holds what this save has written.
void CIncrSaveContext::SetInFile() {
    for (CRgValue* value : m_changed) {
        value->SetInFile();
    }
}

// A section of the key begins.
void CIncrSaveContext::Enter(COptRgKey* key) {
    if (key->m_save.nSave != m_nSave) {
        key->m_save = {};
        key->m_save.nSave = m_nSave;
        key->m_save.nUnsaved = key->GetValueCount();
        key->m_save.pNext = key->IsOfOwnClass() && !key->m_bRepeated ? key->GetFirstValuePosition() : nullptr;
    }
}

// The attributes for the heading being read: those that it has in the old file. Where the old file has none on any
// heading of the key, the first one takes those that the key was given in memory.
MList<CRgAttribute*>* CIncrSaveContext::HeadingAttributes() {
    MList<CRgAttribute*>* own = m_pDummy->GetAttributeList();
    if (own->GetCount() > 0 || !m_pCurrent || m_pCurrent->m_save.bMet ||
        m_pCurrent->GetAttributeList()->GetCount() == 0) {
        return own;
    }
    NoteOldAttributes();
    return m_pCurrent->m_save.bOldAttributes ? own : m_pCurrent->GetAttributeList();
}

// A second look at the old text, which few saves need.
void CIncrSaveContext::NoteOldAttributes() {
    if (m_bOldAttributesNoted) {
        return;
    }
    m_bOldAttributesNoted = true;
    detail::CHeadingScan scan(
        m_pRoot,
        [](CRgKey* key, void* context) {
            static_cast<CIncrSaveContext*>(context)->Enter(static_cast<COptRgKey*>(key));
            static_cast<COptRgKey*>(key)->m_save.bOldAttributes = true;
        },
        this);
    detail::RgReader<detail::CHeadingScan>(m_oldText.data(), scan).Read();
}

bool CIncrSaveContext::IsDealtWith(const CRgValue& value) const {
    return value.m_nSaved == m_nSave;
}

// Notes that this save has dealt with a value of the current key, whose text it has written or couldn't.
void CIncrSaveContext::TakeValue(CRgValue* value, bool isStored) {
    value->m_nSaved = m_nSave;
    --m_pCurrent->m_save.nUnsaved;
    if (!isStored) {
        ReportUnstorable(m_pCurrent, value->GetName());
    } else if (value->m_bChanged) {
        m_changed.push_back(value);
    }
}

void CIncrSaveContext::ReportUnstorable(COptRgKey* key, const char* name) {
    vynerr << "Option not saved, its text has a quotation mark: " << key->m_pCategory->GetPath() << "/" << name << endl
           << flush;
    m_nStatus = EILSEQ;
}

void CIncrSaveContext::ReportHeading(const char* name) {
    vynerr << "Section not saved, its name can't stand in a heading: " << name << endl << flush;
    m_nStatus = EILSEQ;
}

void CIncrSaveContext::ClearPath() {
    m_strPath.clear();
    m_pHeading = nullptr;
}

void CIncrSaveContext::AddSubPath(const char* name) {
    if (!m_strPath.empty()) {
        m_strPath += '/';
    }
    m_strPath += name;
}

void CIncrSaveContext::SavePath(MList<CRgAttribute*>* attributes) {
    if (m_strPath.empty()) {
        // The heading of this section is written already. If it had attributes, a plain one follows it, once.
        const char* path = m_pCurrent ? m_pCurrent->m_pCategory->GetPath() : nullptr;
        if (!path || m_strLastPath == path || !m_pCurrent->IsThereUnsavedValues()) {
            return;
        }
        m_strPath = path;
        attributes = nullptr;
    }
    const bool withAttributes = detail::HasHeadingAttributes(attributes);
    SaveKeyPath(withAttributes ? attributes : nullptr);
    if (!withAttributes) {
        m_strLastPath = m_strPath;
        m_bUnderHeading = true;
    }
}

void CIncrSaveContext::SaveKeyPath(MList<CRgAttribute*>* attributes) {
    if (m_strPath.empty()) {
        return;
    }
    std::string heading;
    detail::AppendHeading(heading, m_strPath, attributes);
    m_pText->Put(m_pHeading, heading);
}

void CIncrSaveContext::Flush(MList<CRgAttribute*>* attributes) {
    if (m_pCurrent || detail::HasHeadingAttributes(attributes)) {
        SaveKeyPath(attributes);
    }
    if (m_pCurrent) {
        // Should the key have another section further down, that one replaces the place.
        m_pText->GetPlace(m_pCurrent->m_save.nPiece, m_pCurrent->m_save.nOffset);
        m_pCurrent->m_save.bMet = true;
    }
    m_pDummy->m_pCategory = m_pRoot->m_pCategory;
    m_pCurrent = nullptr;
}

void CIncrSaveContext::FlushUnsavedKeys() {
    Flush(HeadingAttributes());
    for (void* pos = m_pRoot->GetFirstKeyPosition(); pos;) {
        ClearPath();
        static_cast<COptRgKey*>(m_pRoot->GetNextKey(pos))->SaveUnsavedKeys();
    }
}

// Appends the lines of the values that this save hasn't written. False when there is none.
bool CIncrSaveContext::AppendUnsaved(COptRgKey* key, std::string& text) {
    const size_t length = text.size();
    m_pCurrent = key;
    for (void* pos = key->m_save.nUnsaved > 0 ? key->GetFirstValuePosition() : nullptr; pos;) {
        CRgValue* value = key->GetNextValue(pos);
        if (IsDealtWith(*value)) {
            continue;
        }
        const bool isStored = IsStorable(*value);
        if (isStored) {
            detail::AppendValue(text, value->GetName(), value->GetType(), value->GetValue(), value->m_pAttributes);
        }
        TakeValue(value, isStored);
    }
    m_pCurrent = nullptr;
    return text.size() > length;
}

int COptRgKey::IsThereUnsavedValues() {
    const bool isSaved = m_pContext && m_save.nSave == m_pContext->m_nSave;
    return (isSaved ? m_save.nUnsaved : GetValueCount()) > 0 ? 1 : 0;
}

void COptRgKey::SaveUnsavedValues() {
    std::string lines;
    if (m_pContext->AppendUnsaved(this, lines)) {
        m_pContext->m_pText->InsertAt(m_save.nPiece, m_save.nOffset, lines);
    }
}

bool COptRgKey::HasValues() {
    bool found = GetValueCount() > 0;
    for (void* pos = GetFirstKeyPosition(); pos && !found;) {
        found = static_cast<COptRgKey*>(GetNextKey(pos))->HasValues();
    }
    return found;
}

void COptRgKey::SaveUnsavedKeys() {
    CIncrSaveContext& context = *m_pContext;
    if (!detail::IsHeadingElement(GetName())) {
        if (HasValues()) {
            context.ReportHeading(GetName());
        }
        return;
    }
    const SString path = context.m_strPath;
    context.AddSubPath(GetName());
    context.Enter(this);
    std::string lines;
    if (m_save.bMet) {
        SaveUnsavedValues();
    } else if (context.AppendUnsaved(this, lines)) {
        context.SaveKeyPath(context.m_bNewFile ? nullptr : &m_listAttributes);
        context.m_pText->Put(nullptr, lines);
    }
    for (void* pos = GetFirstKeyPosition(); pos;) {
        static_cast<COptRgKey*>(GetNextKey(pos))->SaveUnsavedKeys();
    }
    context.m_strPath = path;
}

CRgKey* COptDummyRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    detail::DestroyAttributes(attributes);
    m_pCategory = const_cast<CMgrCategory*>(FindSubCategory(name));
    return this;
}

}  // namespace vyn
