#include "VynStyle.h"

#include <cstring>
#include <set>

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

// Sets a flag for the length of a scope.
class CScopedFlag {
public:
    explicit CScopedFlag(bool& flag) : m_flag(flag), m_old(flag) { m_flag = true; }
    CScopedFlag(const CScopedFlag&) = delete;
    CScopedFlag& operator=(const CScopedFlag&) = delete;
    ~CScopedFlag() { m_flag = m_old; }

private:
    bool& m_flag;
    bool m_old;
};

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
    while (void* pos = CStyle::m_listStyleKind.Find(this)) {
        CStyle::m_listStyleKind.RemoveAt(pos);
    }
    for (void* pos = m_listStyles.GetHeadPosition(); pos;) {
        m_listStyles.GetNext(pos)->LoseKind();
    }
}

void CStyleKind::AddOptionSet(const char*, const COption*, int) {}

void CStyleKind::RemoveStyle(CStyle* style) {
    RemoveFirst<CStyle*>(m_listStyles, style);
}

CStyle::CStyle(const char* name, CStyleKind* kind, const char* rootName, unsigned long mode, CStyle* parent)
    : m_nMode(mode), m_pChildren(new CStyleList(kind)) {
    DeclareTree(kind, name, rootName);
    JoinKind(kind);
    SetMgrCategory();
    if (parent) {
        SetParent(parent);
    }
    kind->AddStyle(this);
}

CStyle::CStyle(const char* name, const char* kindName, const char* rootName, CStyRgKey* key)
    : m_pChildren(new CStyleList(nullptr)) {
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
        BindKeys(key);
    }
    JoinKind(kind);
    SetMgrCategory();
    kind->AddStyle(this);
}

CStyle::~CStyle() {
    if (m_pKind) {
        m_pKind->RemoveStyle(this);
    }
    NotifyAllChildren(this, kParentGone);
    if (m_pKind) {
        RemoveFirst(m_listStyleKind, m_pKind);
    }
    if (m_pParent) {
        m_pParent->RemoveChild(this);
    }
    while (void* pos = m_listTreeKeys.GetHeadPosition()) {
        m_listTreeKeys.GetNext(pos)->ForgetTree();
    }
    delete m_pChildren;
}

// Names the style and declares its options at root name, "Styles", style name, kind name. The names of
// categories are copied, those of sets aren't.
void CStyle::DeclareTree(CStyleKind* kind, const char* name, const char* rootName) {
    m_strName = name;
    m_strRootName = rootName;
    SetName((m_strName + kind->GetName()).c_str());

    const COptionSet setKind = {KeepName(kind->GetName()), kind->m_pOptions, kind->m_nOptions, &setAll};
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
    m_pChildren->m_pStyleKind = kind;
}

void CStyle::LoseKind() {
    m_pKind = nullptr;
    m_pChildren->m_pStyleKind = nullptr;
}

// Lets `key`, which stands for "Styles", and its parent, which stands for the root name, continue in this
// tree. A key that has a style stays in the tree of that style.
void CStyle::BindKeys(CStyRgKey* key) {
    CStyRgKey* parent = key->GetParent();
    const CMgrCategory* root = parent ? FindCategory(parent->GetName(), 0) : nullptr;
    if (!root || parent->m_pStyle || key->m_pStyle) {
        return;
    }
    parent->SetCategory(const_cast<CMgrCategory*>(root), this);
    if (const CMgrCategory* styles = root->FindCategory(key->GetName(), 0)) {
        key->SetCategory(const_cast<CMgrCategory*>(styles), this);
    }
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
    const COption* option = FindDeclared(key, name);
    return option ? option->szDefault : nullptr;
}

const char* CStyle::GetHeritedValue(const char* key, const char* name) {
    CStyle* parent = GetParentToAsk();
    if (!parent) {
        return GetValue(key, name);
    }
    const CScopedFlag asked(m_bAsked);
    return parent->GetValue(parent->GetOwnPath(), name);
}

void CStyle::SetValue(const char* key, const char* name, const char* value) {
    if (!FindDeclared(key, name)) {
        return;
    }
    COptionFile* top = GetTopFile();
    if (!IsEditable(key, name)) {
        return;
    }
    CRgKey* rgKey = top->FindKey(key);
    if (!rgKey) {
        if (!AreEqual(value, GetUnderneathValue(top, key, name)) &&
            !AreEqual(value, GetHeritedValue(key, name))) {
            if (CRgKey* made = MakeKey(top, key)) {
                made->CreateValue(name, CRgValue::eText, value, nullptr);
            }
        }
    } else if (m_pParent &&
               (strcmp(name, InheritString) == 0 || AreEqual(value, GetHeritedValue(key, name)))) {
        if (CRgValue* present = rgKey->FindValue(name)) {
            rgKey->RemoveValue(present);
            delete present;
        }
    } else {
        top->SetValue(key, name, value);
    }
    if (m_pParent) {
        MakeKey(top, key);
        top->SetValue(key, InheritString, m_pParent->GetName());
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
    return file->CreateKey(key, m_pKind ? m_pKind->GetName() : m_pMgrCategory->GetName(), GetName());
}

void CStyle::SetParent(CStyle* parent) {
    if (!m_pMgrCategory) {
        return;
    }
    if (parent == this || (parent && !parent->m_pMgrCategory)) {
        parent = nullptr;
    }
    if (m_pParent) {
        m_pParent->RemoveChild(this);
        if (!parent) {
            NotifyAllChildren(this, kParentGone);
            m_pChildren->RemoveAll();
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

void CStyle::RemoveChild(CStyle* child) {
    RemoveFirst<CStyle*>(*m_pChildren, child);
}

void CStyle::NotifyAllChildren(CStyle* sender, int kind) {
    if (m_bTelling) {
        return;
    }
    const CScopedFlag telling(m_bTelling);
    for (void* pos = m_pChildren->GetHeadPosition(); pos;) {
        m_pChildren->GetNext(pos)->OnUpdate(sender, kind);
    }
}

void CStyle::OnUpdate(CStyle* sender, int kind) {
    if (sender != m_pParent) {
        return;
    }
    if (kind == kValueChanged) {
        NotifyAllChildren(this, kValueChanged);
    } else if (kind == kParentGone) {
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
    for (void* pos = m_pKey ? m_pKey->GetFirstValuePosition() : nullptr; pos;) {
        const CRgValue* value = m_pKey->GetNextValue(pos);
        SetValue(GetOwnPath(), value->GetName(), value->GetValue());
        GetValue(GetOwnPath(), value->GetName());
    }
}

}  // namespace vyn
