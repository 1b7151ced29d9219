#include <cstdlib>
#include <cstring>
#include <typeinfo>

#include "Options/VynOption_p.h"
#include "Rg/RgFile_p.h"

namespace vyn {

COptRgValue* detail::MakeOptionValue(const COption* option, const char* value, MList<CRgAttribute*>* attributes) {
    if (!option) {
        DestroyAttributes(attributes);
        return nullptr;
    }
    const size_t size = strlen(value) + 1;
    auto* made = new (size) COptRgValue(option);
    made->m_szValue = static_cast<char*>(memcpy(static_cast<void*>(made + 1), value, size));
    if (attributes && attributes->GetCount() > 0) {
        made->GetAttributeList()->AddTail(attributes);
    }
    return made;
}

COptRgValue::COptRgValue(const COption* option, const char* value)
    : m_pOption(option), m_szValue(detail::CopyText(value)) {}

COptRgValue::~COptRgValue() {
    for (const char* text : {m_szValue, m_szBase}) {
        if (HasOwnMemory(text)) {
            free(const_cast<char*>(text));
        }
    }
}

const char* COptRgValue::GetName() const {
    return m_pOption->szName;
}

CRgValue::RvType COptRgValue::GetType() const {
    switch (m_pOption->nType) {
        case eBareOption:
            return eBare;
        case eOtherBareOption:
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
    const char* old = m_szValue;
    m_szValue = detail::CopyText(value);
    SetChanged();
    if (IsInFile() && !m_szBase) {
        m_szBase = old;
    } else if (HasOwnMemory(old)) {
        free(const_cast<char*>(old));
    }
    return 1;
}

void COptRgValue::SetInFile() {
    CRgValue::SetInFile();
    if (HasOwnMemory(m_szBase)) {
        free(const_cast<char*>(m_szBase));
    }
    m_szBase = nullptr;
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
    const CMgrOptionSet* set = m_pCategory ? m_pCategory->GetOptionSet() : nullptr;
    const COption* option = set ? set->FindOptionAfter(m_pLastOption, name) : nullptr;
    COptRgValue* made = detail::MakeOptionValue(option, value, attributes);
    if (!made) {
        return nullptr;
    }
    // The rows of one table have a name each: as long as they come in their order, none comes twice.
    const bool isNew = !m_bIndexed && set->IsInTable(option) && option > m_pLastOption;
    // Of several values of one name in a file the last one counts: an earlier one would come back with a save.
    if (CRgValue* earlier = isNew ? nullptr : FindValue(name)) {
        Unlink(earlier);
        delete earlier;
    }
    m_pLastOption = option;
    m_pNewValue = made;
    AddValue(made);
    m_pNewValue = nullptr;
    return made;
}

void COptRgKey::IndexValues() const {
    if (m_bIndexed) {
        return;
    }
    for (void* pos = GetFirstValuePosition(); pos;) {
        CRgValue* value = GetNextValue(pos);
        m_mapValues[value->GetName()] = value;
    }
    m_bIndexed = true;
}

CRgValue* COptRgKey::FindValue(const char* name) const {
    IndexValues();
    CRgValue* value = nullptr;
    m_mapValues.Lookup(name, value);
    return value;
}

// The value behind the one that was found before, when it has that name: most files have the order of memory. Null when
// only FindValue can tell.
CRgValue* COptRgKey::FindNextValue(std::string_view name) {
    if (!m_save.pNext) {
        return nullptr;
    }
    void* pos = m_save.pNext;
    CRgValue* value = GetNextValue(pos);
    const char* next = value->GetName();
    if (strncmp(next, name.data(), name.size()) != 0 || next[name.size()] != '\0') {
        return nullptr;
    }
    m_save.pNext = pos;
    return value;
}

int COptRgKey::AddValue(CRgValue* value) {
    const bool isNew = value == m_pNewValue;
    if (!isNew) {
        m_bRepeated = m_bRepeated || FindValue(value->GetName());
    }
    if (m_bIndexed) {
        m_mapValues[value->GetName()] = value;
    }
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
    return std::string(m_pCategory && m_pCategory->GetOwner() ? m_pCategory->GetPath() : "") + '/' + value.GetName();
}

void COptRgKey::Empty() {
    m_mapKeys.RemoveAll();
    m_mapValues.RemoveAll();
    m_bIndexed = false;
    m_bRepeated = false;
    m_pLastOption = nullptr;
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
