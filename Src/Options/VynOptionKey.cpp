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

CIncrSaveContext* COptRgKey::m_pContext = nullptr;

COptRgValue::COptRgValue(const COption* option, const char* value)
    : m_pOption(option), m_strValue(value), m_nFlags(0) {}

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
    m_strValue = value;
    return 1;
}

COptRgKey::COptRgKey(const char*) : m_pCategory(nullptr), m_nFlags(0) {}

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
    if (m_pContext) {
        detail::DestroyAttributes(attributes);
        return ReplayKey(name);
    }
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

// Follows a heading of the old file. Where memory has no key, the dummy key stands in, and keeps the
// category.
CRgKey* COptRgKey::ReplayKey(const char* name) {
    const CMgrCategory* category = FindSubCategory(name);
    CRgKey* subkey = category ? FindKey(name) : nullptr;
    m_pContext->AddSubPath(name);
    m_pContext->m_pDummy->m_pCategory = const_cast<CMgrCategory*>(category);
    m_pContext->m_pCurrent = static_cast<COptRgKey*>(subkey);
    return subkey ? subkey : m_pContext->m_pDummy;
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
    if (m_pContext) {
        ReplayValue(name, value, attributes);
        detail::DestroyAttributes(attributes);
        return nullptr;
    }
    COptRgValue* made = detail::MakeOptionValue(FindOption(name), value, attributes);
    if (!made) {
        return nullptr;
    }
    // Of several values of one name in a file the last one counts: an earlier one would come back with a save.
    if (CRgValue* earlier = FindValue(name)) {
        RemoveValue(earlier);
        delete earlier;
    }
    AddValue(made);
    return made;
}

// Copies one value line of the old file: a known value as memory has it, once; an unknown one as it stands. A
// known value that memory doesn't have leaves the file.
void COptRgKey::ReplayValue(const char* name, const char* value, MList<CRgAttribute*>* attributes) {
    if (m_pContext->m_bCounting) {
        return;
    }
    COptRgValue* present = static_cast<COptRgValue*>(FindValue(name));
    if (!present && !FindOption(name)) {
        m_pContext->SavePath(HeadingAttributes());
        CRgValue::Dump(m_pContext->m_pFile, name, CRgValue::eText, value, attributes);
        m_pContext->ClearPath();
        return;
    }
    if (!present || (present->m_nFlags & 1)) {
        return;
    }
    m_pContext->SavePath(HeadingAttributes());
    present->Dump(m_pContext->m_pFile);
    present->m_nFlags |= 1;
    m_pContext->ClearPath();
}

// The attributes for the heading being read: those that it has in the old file. Where the old file has none
// on any heading of the key, the first one takes those that the key was given in memory.
MList<CRgAttribute*>* COptRgKey::HeadingAttributes() {
    const bool fromMemory = (m_nFlags & (kDealtWith | kOldAttributes)) == 0;
    return m_pContext->m_bHeadingAttributes || fromMemory ? &m_listAttributes : nullptr;
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
    if (FindValue(value->GetName()) == value) {
        m_mapValues.RemoveKey(value->GetName());
    }
    return CRgKey::RemoveValue(value);
}

void COptRgKey::SetAttributes(MList<CRgAttribute*>* attributes) {
    if (m_pContext && m_pContext->m_bCounting) {
        m_nFlags |= kOldAttributes;
        detail::DestroyAttributes(attributes);
        return;
    }
    CRgKey::SetAttributes(attributes);
    if (m_pContext) {
        m_pContext->m_bHeadingAttributes = true;
    }
}

void COptRgKey::Empty() {
    m_mapKeys.RemoveAll();
    m_mapValues.RemoveAll();
    CRgKey::Empty();
}

bool COptRgKey::IsOfOwnClass() const {
    return typeid(*this) == typeid(COptRgKey);
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

int COptRgKey::IsThereUnsavedValues() {
    for (void* pos = GetFirstValuePosition(); pos;) {
        const COptRgValue* value = static_cast<COptRgValue*>(GetNextValue(pos));
        if (!(value->m_nFlags & 1)) {
            return 1;
        }
    }
    return 0;
}

void COptRgKey::SaveUnsavedValues() {
    for (void* pos = GetFirstValuePosition(); pos;) {
        COptRgValue* value = static_cast<COptRgValue*>(GetNextValue(pos));
        if (!(value->m_nFlags & 1)) {
            value->Dump(m_pContext->m_pFile);
            value->m_nFlags |= 1;
        }
    }
    m_nFlags |= kDealtWith;
}

void COptRgKey::SaveUnsavedKeys() {
    const SString path = m_pContext->m_strPath;
    m_pContext->AddSubPath(GetName());
    if (!(m_nFlags & kDealtWith) && IsThereUnsavedValues()) {
        m_pContext->m_pCurrent = this;
        m_pContext->Flush(&m_listAttributes);
    }
    m_nFlags = 0;
    for (void* pos = GetFirstValuePosition(); pos;) {
        static_cast<COptRgValue*>(GetNextValue(pos))->m_nFlags = 0;
    }
    for (void* pos = GetFirstKeyPosition(); pos;) {
        static_cast<COptRgKey*>(GetNextKey(pos))->SaveUnsavedKeys();
    }
    m_pContext->m_strPath = path;
}

CRgKey* COptRootRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    if (m_pContext) {
        m_pContext->BeginSection();
    }
    return COptRgKey::CreateKey(name, attributes);
}

bool COptRootRgKey::IsOfOwnClass() const {
    return typeid(*this) == typeid(COptRootRgKey);
}

CRgKey* COptDummyRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    detail::DestroyAttributes(attributes);
    m_pContext->AddSubPath(name);
    m_pCategory = const_cast<CMgrCategory*>(FindSubCategory(name));
    return this;
}

CIncrSaveContext::CIncrSaveContext(COptRgKey* root)
    : m_pRoot(root),
      m_pCurrent(nullptr),
      m_pDummy(new COptDummyRgKey),
      m_pFile(nullptr),
      m_bCounting(false),
      m_bHeadingAttributes(false) {
    // The dummy key isn't registered: a category that dies has no business with it.
    m_pDummy->m_pCategory = root->m_pCategory;
}

CIncrSaveContext::~CIncrSaveContext() {
    delete m_pDummy;
}

void CIncrSaveContext::ClearPath() {
    m_strPath.clear();
}

void CIncrSaveContext::AddSubPath(const char* name) {
    if (!m_strPath.empty()) {
        m_strPath += '/';
    }
    m_strPath += name;
}

// The first element of a heading has come.
void CIncrSaveContext::BeginSection() {
    if (m_bCounting) {
        CountHeading();
    } else {
        CloseSection();
    }
    ClearPath();
    detail::DestroyAttributes(m_pDummy->GetAttributeList());
    m_bHeadingAttributes = false;
}

// A section in the middle of the file under which nothing of the old text stayed gets a plain heading. What
// the file no longer has then leaves memory as well, so that the next save gives the same text.
void CIncrSaveContext::CloseSection() {
    COptRgKey* bare = m_strPath.empty() ? nullptr : m_pCurrent;
    Flush(nullptr);
    if (bare) {
        detail::DestroyAttributes(bare->GetAttributeList());
    }
}

// Notes that the old file has a heading of the current key.
void CIncrSaveContext::CountHeading() {
    if (m_pCurrent) {
        m_pCurrent->m_nFlags += COptRgKey::kHeading;
    }
    m_pCurrent = nullptr;
}

void CIncrSaveContext::SavePath(MList<CRgAttribute*>* attributes) {
    if (!m_strPath.empty() && detail::HasHeadingAttributes(attributes)) {
        detail::PutHeading(m_pFile, m_strPath.c_str(), attributes);
        return;
    }
    if (m_strPath.empty()) {
        // The heading of this section is written already. If it had attributes, a plain one follows it, once.
        const char* path = m_pCurrent ? m_pCurrent->m_pCategory->GetPath() : nullptr;
        if (!path || m_strLastPath == path || !m_pCurrent->IsThereUnsavedValues()) {
            return;
        }
        m_strPath = path;
    }
    detail::PutHeading(m_pFile, m_strPath.c_str(), nullptr);
    m_strLastPath = m_strPath;
}

void CIncrSaveContext::SaveKeyPath(MList<CRgAttribute*>* attributes) {
    if (!m_strPath.empty()) {
        detail::PutHeading(m_pFile, m_strPath.c_str(), attributes);
    }
}

void CIncrSaveContext::Flush(MList<CRgAttribute*>* attributes) {
    if (m_pCurrent) {
        SaveKeyPath(attributes);
        if (m_pCurrent->m_nFlags >= COptRgKey::kHeading) {
            m_pCurrent->m_nFlags -= COptRgKey::kHeading;
        }
        if (m_pCurrent->m_nFlags >= COptRgKey::kHeading) {
            // The old file has this section again further down: values left over may stand there.
            m_pCurrent->m_nFlags |= COptRgKey::kDealtWith;
        } else {
            m_pCurrent->SaveUnsavedValues();
        }
    }
    m_pDummy->m_pCategory = m_pRoot->m_pCategory;
    m_pCurrent = nullptr;
}

void CIncrSaveContext::FlushUnsavedKeys() {
    Flush(m_pCurrent ? m_pCurrent->HeadingAttributes() : nullptr);
    for (void* pos = m_pRoot->GetFirstKeyPosition(); pos;) {
        COptRgKey* key = static_cast<COptRgKey*>(m_pRoot->GetNextKey(pos));
        ClearPath();
        key->SaveUnsavedKeys();
    }
}

}  // namespace vyn
