#include "VynStyle.h"

#include <cstring>
#include <set>
#include <typeinfo>

#include "Text/InitOrder_p.h"

namespace vyn {

namespace {

// What every style has in common. A manager keeps pointers to rows and to names of sets, and so do the values
// in its files: these live as long as the library.
constexpr COption optBasedOn = {CStyle::InheritString, 1, "none", 0, 0};
constexpr COptionSet setAll = {"All", &optBasedOn, 1, nullptr};
constexpr COptionSet setStyles = {"Styles", nullptr, 0, nullptr};

// A copy of the name that outlives both the kind and the style: a manager into which the tree of a style was
// merged keeps the pointer too. There are as many as a tool has kinds.
const char* KeepName(const char* name) {
    static std::set<SString> names;
    return names.insert(name).first->c_str();
}

bool AreEqual(const char* value, const char* other) {
    return value && other && strcmp(value, other) == 0;
}

template <class T>
void RemoveFirst(MList<T>& list, T element) {
    if (void* pos = list.Find(element)) {
        list.RemoveAt(pos);
    }
}

}  // namespace

VYN_INIT(VYN_INIT_STYLE_KINDS) MList<CStyleKind*> CStyle::m_listStyleKind;

CStyle* CStyleList::FindStyle(const char* name) {
    for (void* pos = GetHeadPosition(); pos;) {
        CStyle* style = GetNext(pos);
        if (strcmp(style->GetName(), name) == 0) {
            return style;
        }
    }
    return nullptr;
}

CStyleKind::CStyleKind() : CStyleKind(nullptr, nullptr, 0) {}

CStyleKind::CStyleKind(const char* name, const COption* options, int count)
    : m_pOptions(options), m_strName(name), m_nMode(0), m_nOptions(count), m_listStyles(this) {}

CStyleKind::~CStyleKind() {
    for (void* pos = CStyle::m_listStyleKind.GetHeadPosition(); pos;) {
        void* entry = pos;
        if (CStyle::m_listStyleKind.GetNext(pos) == this) {
            CStyle::m_listStyleKind.RemoveAt(entry);
        }
    }
}

void CStyleKind::AddOptionSet(const char*, const COption*, int) {}

void CStyleKind::AddStyle(CStyle* style) {
    CheckPositions();
    m_listStyles.AddTail(style);
    m_mapPositions.emplace(style, m_listStyles.GetTailPosition());
    m_nPositionsAt = m_listStyles.GetChangeCount();
}

void CStyleKind::RemoveStyle(CStyle* style) {
    CheckPositions();
    const auto known = m_mapPositions.find(style);
    if (known == m_mapPositions.end()) {
        RemoveFirst<CStyle*>(m_listStyles, style);
    } else {
        m_listStyles.RemoveAt(known->second);
        m_mapPositions.erase(known);
    }
    m_nPositionsAt = m_listStyles.GetChangeCount();
}

// Forgets the positions when the tool has changed the list itself.
void CStyleKind::CheckPositions() {
    if (m_nPositionsAt != m_listStyles.GetChangeCount()) {
        m_mapPositions.clear();
    }
}

CStyle::CStyle(const char* name, CStyleKind* kind, const char* rootName, unsigned long mode, CStyle* parent)
    : m_nMode(mode) {
    DeclareTree(kind, name, rootName);
    JoinKind(kind);
    SetMgrCategory();
    if (parent) {
        SetParent(parent);
    }
    kind->AddStyle(this);
}

CStyle::CStyle(const char* name, const char* kindName, const char* rootName, CStyRgKey* key) {
    CStyleKind* kind = nullptr;
    for (void* pos = m_listStyleKind.GetHeadPosition(); pos && !kind;) {
        CStyleKind* known = m_listStyleKind.GetNext(pos);
        kind = strcmp(known->GetName(), kindName) == 0 ? known : nullptr;
    }
    if (!kind) {
        return;
    }
    DeclareTree(kind, name, rootName);
    if (key) {
        key->JoinTree(*this);
    }
    JoinKind(kind);
    SetMgrCategory();
    kind->AddStyle(this);
}

CStyle::~CStyle() {
    if (CStyleKind* kind = GetStyleKind()) {
        kind->RemoveStyle(this);
        RemoveFirst(m_listStyleKind, kind);
    }
    if (CStyle* parent = GetParent()) {
        parent->RemoveChild(this);
    }
}

// Names the style and declares its options at root name, "Styles", style name, kind name. The names of
// categories are copied, those of sets aren't.
void CStyle::DeclareTree(CStyleKind* kind, const char* name, const char* rootName) {
    m_strName = name;
    m_strRootName = rootName;
    SetName((m_strName + kind->GetName()).c_str());

    const COptionSet setKind = {KeepName(kind->GetName()), kind->GetOptions(), kind->GetOptionsCount(), &setAll};
    const CCategory catKind = {kind->GetName(), nullptr, 0, &setKind};
    const CCategory* const subName[] = {&catKind};
    const CCategory catName = {m_strName.c_str(), subName, 1, nullptr};
    const CCategory* const subStyles[] = {&catName};
    const CCategory catStyles = {"Styles", subStyles, 1, &setStyles};
    const CCategory* const subRoot[] = {&catStyles};
    const CCategory catRoot = {m_strRootName.c_str(), subRoot, 1, nullptr};
    AddCategory(&catRoot);
}

void CStyle::JoinKind(CStyleKind* kind) {
    m_pKind = kind;
    m_listStyleKind.AddTail(kind);
}

CStyle* CStyle::GetParentToAsk() const {
    CStyle* parent = m_pParent.Get();
    return parent && !parent->m_bAsked ? parent : nullptr;
}

const char* CStyle::GetDefault(const char* key, const char* name) const {
    const COption* option = FindDeclared(key, name);
    return option ? option->szDefault : nullptr;
}

const char* CStyle::GetValue(const char* key, const char* name) const {
    if (m_pMgrCategory && strcmp(key, m_pMgrCategory->GetPath()) == 0) {
        if (const char* value = GetFileValue(key, name)) {
            return value;
        }
        if (GetParentToAsk()) {
            return const_cast<CStyle*>(this)->GetHeritedValue(key, name);
        }
    }
    return GetDefault(key, name);
}

const char* CStyle::GetHeritedValue(const char* key, const char* name) {
    // The styles that have been asked, from this one up, are marked as long as the look-up goes on.
    struct Marks {
        CStyle* first;
        int count;
        ~Marks() {
            for (CStyle* style = first; style && count > 0; style = style->GetParent(), --count) {
                style->m_bAsked = false;
            }
        }
    } marks = {this, 0};

    if (!GetParentToAsk()) {
        return GetValue(key, name);
    }
    CStyle* style = this;
    while (CStyle* parent = style->GetParentToAsk()) {
        style->m_bAsked = true;
        ++marks.count;
        const char* path = parent->GetOwnPath();
        if (typeid(*parent) != typeid(CStyle)) {
            return parent->GetValue(path, name);
        }
        if (const char* value = parent->GetFileValue(path, name)) {
            return value;
        }
        style = parent;
    }
    return style->GetDefault(style->GetOwnPath(), name);
}

void CStyle::SetValue(const char* key, const char* name, const char* value) {
    if (!FindDeclared(key, name)) {
        return;
    }
    COptionFile* top = GetTopFile();
    if (!IsEditable(key, name)) {
        return;
    }
    CStyle* parent = GetParent();
    CRgKey* rgKey = top->FindKey(key);
    if (!rgKey) {
        if (!AreEqual(value, GetUnderneathValue(top, key, name)) && !AreEqual(value, GetHeritedValue(key, name))) {
            if (CRgKey* made = MakeKey(top, key)) {
                made->CreateValue(name, CRgValue::eText, value, nullptr);
            }
        }
    } else if (parent && (strcmp(name, InheritString) == 0 || AreEqual(value, GetHeritedValue(key, name)))) {
        if (CRgValue* present = rgKey->FindValue(name)) {
            rgKey->RemoveValue(present);
            delete present;
        }
    } else {
        top->SetValue(key, name, value);
    }
    if (parent) {
        MakeKey(top, key);
        top->SetValue(key, InheritString, parent->GetName());
    }
    NotifyAllChildren(this, kValueChanged);
}

COptionFile* CStyle::GetTopFile() {
    if (m_listFiles.GetCount() == 0) {
        m_listFiles.AddTail(new COptionFile(this));
    }
    void* pos = m_listFiles.GetHeadPosition();
    return m_listFiles.GetNext(pos);
}

// The key in the file. A new one carries the attribute by which the reader of style files knows the style;
// the leaf category has the name of a kind that is dead.
CRgKey* CStyle::MakeKey(COptionFile* file, const char* key) {
    if (CRgKey* present = file->FindKey(key)) {
        return present;
    }
    CStyleKind* kind = GetStyleKind();
    return file->CreateKey(key, kind ? kind->GetName() : m_pMgrCategory->GetName(), GetName());
}

void CStyle::SetParent(CStyle* parent) {
    if (!m_pMgrCategory) {
        return;
    }
    if (parent == this || (parent && !parent->m_pMgrCategory)) {
        parent = nullptr;
    }
    if (CStyle* old = GetParent()) {
        old->RemoveChild(this);
        if (!parent) {
            NotifyAllChildren(this, kParentGone);
            m_setChildren.clear();
        }
    }
    m_pParent = parent;
    if (parent) {
        // From the constructor this is the SetValue of this class, as it has to be.
        // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall)
        SetValue(GetOwnPath(), InheritString, parent->GetName());
        parent->AddChild(this);
    }
}

void CStyle::NotifyAllChildren(CStyle* sender, int kind) {
    for (CStyle* child : m_setChildren) {
        child->OnUpdate(sender, kind);
    }
}

void CStyle::OnUpdate(CStyle* sender, int kind) {
    if (kind == kParentGone && sender == GetParent()) {
        m_pParent = nullptr;
    }
}

void CStyle::SetMgrCategory() {
    CMgrCategory* category = this;
    while (void* pos = category->GetFirstCategoryPosition()) {
        category = category->GetNextCategory(pos);
    }
    m_pMgrCategory = category == this ? nullptr : category;
}

void CStyle::Copy(CStyle* style) {
    const CMgrOptionSet* options = m_pMgrCategory ? m_pMgrCategory->GetOptionSet() : nullptr;
    if (!options || !style || !style->m_pMgrCategory) {
        return;
    }
    for (void* pos = options->GetFirstOptionPosition(); pos;) {
        const char* name = options->GetNextOption(pos)->szName;
        const char* value = style->GetValue(style->GetOwnPath(), name);
        if (value && !AreEqual(value, GetValue(GetOwnPath(), name))) {
            SetValue(GetOwnPath(), name, value);
        }
    }
}

void CStyle::SetInitialValues() {
    const CStyRgKey* key = m_pKey.Get();
    for (void* pos = key ? key->GetFirstValuePosition() : nullptr; pos;) {
        const CRgValue* value = key->GetNextValue(pos);
        SetValue(GetOwnPath(), value->GetName(), value->GetValue());
        GetValue(GetOwnPath(), value->GetName());
    }
}

}  // namespace vyn
