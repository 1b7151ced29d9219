#include <typeinfo>

#include "Options/VynOption_p.h"
#include "Rg/RgFile_p.h"

namespace vyn {

COptRgValue* detail::MakeOptionValue(const COption* option, const char* value,
                                     MList<CRgAttribute*>* attributes) {
    if (!option) {
        DestroyAttributes(attributes);
        return nullptr;
    }
    COptRgValue* made = new COptRgValue(option, value);
    if (attributes) {
        made->GetAttributeList()->AddTail(attributes);
    }
    return made;
}

COptRgValue::COptRgValue(const COption* option, const char* value) : m_pOption(option), m_strValue(value) {}

const char* COptRgValue::GetName() const {
    return m_pOption->szName;
}

CRgValue::RvType COptRgValue::GetType() const {
    switch (m_pOption->nType) {
        case 2:
            return eBare;
        case 3:
            return eBareOther;
        default:
            return eText;
    }
}

int COptRgValue::SetName(const char*) {
    return 1;
}

int COptRgValue::SetType(RvType) {
    return 1;
}

int COptRgValue::SetValue(const char* value) {
    if (IsInFile() && !m_bHasBase) {
        m_strBase = m_strValue;
        m_bHasBase = true;
    }
    SetChanged();
    m_strValue = value;
    return 1;
}

void COptRgValue::SetInFile() {
    CRgValue::SetInFile();
    m_strBase.clear();
    m_bHasBase = false;
}

COptRgKey::COptRgKey(const char*) : m_pCategory(nullptr) {}

COptRgKey::~COptRgKey() {
    SetCategory(nullptr);
    COptRgKey::Empty();
}

const char* COptRgKey::GetName() const {
    return m_pCategory ? m_pCategory->GetName() : "";
}

const CMgrCategory* COptRgKey::FindSubCategory(const char* name) const {
    return m_pCategory ? m_pCategory->FindCategory(name, 0) : nullptr;
}

// The option that the category itself declares. A value of a file belongs to the section that it stands in,
// so a `/` in its name doesn't reach into a sub-category.
const COption* COptRgKey::FindOption(const char* name) const {
    const CMgrOptionSet* set = m_pCategory ? m_pCategory->GetOptionSet() : nullptr;
    return set ? set->FindOption(name) : nullptr;
}

CRgKey* COptRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    const CMgrCategory* category = FindSubCategory(name);
    if (!category) {
        detail::DestroyAttributes(attributes);
        return nullptr;
    }
    if (CRgKey* present = FindKey(name)) {
        if (attributes) {
            present->SetAttributes(attributes);
        }
        return present;
    }
    COptRgKey* key = new COptRgKey(name);
    key->SetCategory(category);
    if (attributes) {
        key->SetAttributes(attributes);
    }
    AddKey(key);
    return key;
}

CRgKey* COptRgKey::FindKey(const char* name) const {
    CRgKey* key = nullptr;
    m_mapKeys.Lookup(name, key);
    return key;
}

int COptRgKey::AddKey(CRgKey* key) {
    if (!CRgKey::AddKey(key)) {
        return 0;
    }
    m_mapKeys[key->GetName()] = key;
    static_cast<COptRgKey*>(key)->m_pParent = this;
    return 1;
}

int COptRgKey::RemoveKey(CRgKey* key) {
    if (FindKey(key->GetName()) == key) {
        m_mapKeys.RemoveKey(key->GetName());
    }
    return CRgKey::RemoveKey(key);
}

CRgValue* COptRgKey::CreateValue(const char* name, CRgValue::RvType, const char* value,
                                 MList<CRgAttribute*>* attributes) {
    COptRgValue* made = detail::MakeOptionValue(FindOption(name), value, attributes);
    if (!made) {
        return nullptr;
    }
    // Of several values of one name in a file the last one counts: an earlier one would come back with a save.
    if (CRgValue* earlier = FindValue(name)) {
        Unlink(earlier);
        delete earlier;
    }
    AddValue(made);
    return made;
}

CRgValue* COptRgKey::FindValue(const char* name) const {
    CRgValue* value = nullptr;
    m_mapValues.Lookup(name, value);
    return value;
}

int COptRgKey::AddValue(CRgValue* value) {
    m_mapValues[value->GetName()] = value;
    return CRgKey::AddValue(value);
}

int COptRgKey::RemoveValue(CRgValue* value) {
    if (m_listValues.Find(value)) {
        NoteRemoval(*value);
    }
    return Unlink(value);
}

int COptRgKey::Unlink(CRgValue* value) {
    if (FindValue(value->GetName()) == value) {
        m_mapValues.RemoveKey(value->GetName());
    }
    return CRgKey::RemoveValue(value);
}

// For a merging save: what the file has of the value is to go.
void COptRgKey::NoteRemoval(CRgValue& value) {
    const COptRgValue* known = dynamic_cast<COptRgValue*>(&value);
    CRgKey* top = this;
    while (CRgKey* parent = static_cast<COptRgKey*>(top)->m_pParent) {
        top = parent;
    }
    auto* root = dynamic_cast<COptRootRgKey*>(top);
    if (root && known && known->GetFileText()) {
        root->m_mapRemoved[GetAddress(value)] = known->GetFileText();
    }
}

void COptRgKey::NoteRemovals() {
    for (void* pos = GetFirstValuePosition(); pos;) {
        NoteRemoval(*GetNextValue(pos));
    }
    for (void* pos = GetFirstKeyPosition(); pos;) {
        static_cast<COptRgKey*>(GetNextKey(pos))->NoteRemovals();
    }
}

std::string COptRgKey::GetAddress(const CRgValue& value) const {
    return std::string(m_pCategory && m_pCategory->GetOwner() ? m_pCategory->GetPath() : "") + '/' +
           value.GetName();
}

void COptRgKey::Empty() {
    m_mapKeys.RemoveAll();
    m_mapValues.RemoveAll();
    CRgKey::Empty();
}

bool COptRgKey::IsOfOwnClass() const {
    return typeid(*this) == typeid(COptRgKey);
}

bool COptRootRgKey::IsOfOwnClass() const {
    return typeid(*this) == typeid(COptRootRgKey);
}

void COptRgKey::SetCategory(const CMgrCategory* category) {
    if (m_pCategory) {
        m_pCategory->UnregisterOptRgKey(this);
    }
    m_pCategory = const_cast<CMgrCategory*>(category);
    if (m_pCategory) {
        m_pCategory->RegisterOptRgKey(this);
    }
}

void COptRgKey::Detach() {
    if (m_pParent) {
        m_pParent->RemoveKey(this);
    }
    m_pCategory = nullptr;
    delete this;
}

}  // namespace vyn
