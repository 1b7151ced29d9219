#include "VynOptionTables.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "Rg/RgFile_p.h"
#include "Rg/StructureStamp_p.h"
#include "VynOptionKey.h"
#include "VynOptionManager.h"

namespace vyn {

int COption::IsDefaultValue(const char* value) {
    return strcmp(value, szDefault) == 0 ? 1 : 0;
}

namespace {

// Whether no two rows have one name. Now and then it says no of rows that have a name each.
bool HaveDistinctNames(const COption* first, const COption* end) {
    size_t size = 16;
    while (size < 2 * static_cast<size_t>(end - first)) {
        size *= 2;
    }
    std::vector<unsigned> hashes(size);  // 0 in a free place
    for (const COption* option = first; option < end; ++option) {
        const unsigned hash = detail::TextKey(option->szName).hash | 1;
        size_t i = (hash >> 1) & (size - 1);
        for (; hashes[i] != 0; i = (i + 1) & (size - 1)) {
            if (hashes[i] == hash) {
                return false;
            }
        }
        hashes[i] = hash;
    }
    return true;
}

}  // namespace

int COption::GetIntValue() const {
    return atoi(szDefault);
}

CMgrOptionSet::CMgrOptionSet() : m_szName(""), m_pNext(nullptr) {}

CMgrOptionSet::CMgrOptionSet(const COptionSet* set, COptionManager* manager)
    : m_szName(set ? set->szName : ""), m_pNext(manager->GetComponent(set ? set->pBaseSet : nullptr)) {
    IndexOptions(set);
}

CMgrOptionSet::CMgrOptionSet(const CMgrOptionSet* set, COptionManager* manager)
    : m_szName(set ? set->m_szName : ""), m_pNext(manager->GetComponent(set ? set->m_pNext : nullptr)) {
    IndexOptions(set);
}

CMgrOptionSet::~CMgrOptionSet() = default;

COption* CMgrOptionSet::FindOption(const char* name) const {
    // The base sets are indexed here too; they are walked for options that were merged into one of them
    // later.
    for (const CMgrOptionSet* set = this; set; set = set->m_pNext) {
        const COption* option = nullptr;
        if (set->Index().Lookup(name, option)) {
            return const_cast<COption*>(option);
        }
    }
    return nullptr;
}

const COption* CMgrOptionSet::FindOptionAfter(const COption* last, const char* name) const {
    const COption* next = last ? last + 1 : m_pTable;
    return IsInTable(next) && strcmp(next->szName, name) == 0 ? next : FindOption(name);
}

const COption* CMgrOptionSet::GetNextOption(void*& pos) const {
    SString name;
    const COption* option = nullptr;
    Index().GetNextAssoc(pos, name, option);
    return option;
}

void CMgrOptionSet::IndexOptions(const COptionSet* set) {
    if (set) {
        IndexOptions(set->pBaseSet);
        MergeOptions(set);
    }
}

void CMgrOptionSet::IndexOptions(const CMgrOptionSet* set) {
    if (set) {
        IndexOptions(set->m_pNext);
        MergeOptions(set);
    }
}

void CMgrOptionSet::MergeOptions(const COptionSet* set) {
    // Without a set too: it is called where a category comes.
    detail::StructureStamp::Raise();
    if (!set || set->nOptions < 1) {
        return;
    }
    const COption* end = set->pOptions + set->nOptions;
    if (!m_bDeferred && m_mapOptions.GetCount() == 0 && HaveDistinctNames(set->pOptions, end)) {
        m_pTable = set->pOptions;
        m_pTableEnd = end;
        m_bDeferred = true;
        return;
    }
    Index();
    m_pTable = m_pTableEnd = nullptr;
    for (const COption* option = set->pOptions; option < end; ++option) {
        m_mapOptions[option->szName] = option;
    }
}

const MMap<SString, const COption*>& CMgrOptionSet::Index() const {
    for (const COption* option = m_pTable; m_bDeferred && option < m_pTableEnd; ++option) {
        m_mapOptions[option->szName] = option;
    }
    m_bDeferred = false;
    return m_mapOptions;
}

void CMgrOptionSet::MergeOptions(const CMgrOptionSet* set) {
    detail::StructureStamp::Raise();
    Index();
    m_pTable = m_pTableEnd = nullptr;
    for (void* pos = set ? set->GetFirstOptionPosition() : nullptr; pos;) {
        SString name;
        const COption* option = nullptr;
        set->Index().GetNextAssoc(pos, name, option);
        m_mapOptions[name] = option;
    }
}

void CMgrOptionSet::UnMergeOptions(const CMgrOptionSet* set) {
    detail::StructureStamp::Raise();
    Index();
    m_pTable = m_pTableEnd = nullptr;
    if (set == this) {
        m_mapOptions.RemoveAll();
        return;
    }
    for (void* pos = set ? set->GetFirstOptionPosition() : nullptr; pos;) {
        SString name;
        const COption* option = nullptr;
        set->Index().GetNextAssoc(pos, name, option);
        m_mapOptions.RemoveKey(name);
    }
}

CMgrCategory::CMgrCategory() : m_nRefCount(0), m_pOptionSet(nullptr), m_pOwner(nullptr) {}

CMgrCategory::CMgrCategory(const CCategory* category, CMgrCategory* owner)
    : m_nRefCount(0), m_strName(category->szName), m_pOptionSet(nullptr), m_pOwner(owner) {
    for (int i = 0; i < category->nCategories; ++i) {
        const CCategory* subcategory = category->ppCategories[i];
        if (FindSubCategory(subcategory->szName)) {
            MergeCategory(subcategory);
        } else {
            m_mapCategories[subcategory->szName] = new CMgrCategory(subcategory, this);
        }
    }
    m_pOptionSet = new CMgrOptionSet(category->pOptionSet, GetManager());
}

CMgrCategory::CMgrCategory(CMgrCategory* category, CMgrCategory* owner, int merged)
    : m_nRefCount(merged ? 1 : 0),
      m_strName(category->m_strName),
      m_strPath(category->m_strPath),
      m_pOptionSet(nullptr),
      m_pOwner(owner) {
    for (void* pos = category->GetFirstCategoryPosition(); pos;) {
        CMgrCategory* subcategory = category->GetNextCategory(pos);
        m_mapCategories[subcategory->m_strName] = new CMgrCategory(subcategory, this, merged);
    }
    m_pOptionSet = new CMgrOptionSet(category->GetOptionSet(), GetManager());
}

CMgrCategory::~CMgrCategory() {
    InformAllOptRgKeys();
    if (m_pOwner) {
        m_pOwner->m_mapCategories.RemoveKey(m_strName);
        detail::StructureStamp::Raise();
    }
    // A dying sub-category takes itself out of the map.
    while (void* pos = m_mapCategories.GetStartPosition()) {
        delete GetNextCategory(pos);
    }
    delete m_pOptionSet;
}

COptionManager* CMgrCategory::GetManager() const {
    const CMgrCategory* root = this;
    while (root->m_pOwner) {
        root = root->m_pOwner;
    }
    return const_cast<COptionManager*>(static_cast<const COptionManager*>(root));
}

COption* CMgrCategory::FindOption(const char* path) const {
    const CMgrCategory* category = this;
    const char* rest = path;
    while (const CMgrCategory* subcategory = category->FindCategory(path, rest)) {
        category = subcategory;
        path = rest;
    }
    return category->m_pOptionSet ? category->m_pOptionSet->FindOption(path) : nullptr;
}

const CMgrCategory* CMgrCategory::FindCategory(const char* path, const char*& rest) const {
    const char* slash = strchr(path, '/');
    if (!slash) {
        return nullptr;
    }
    rest = slash + 1;
    // A length of 0 would mean the whole text.
    return slash == path ? FindSubCategory("") : FindCategory(path, static_cast<unsigned>(slash - path));
}

const CMgrCategory* CMgrCategory::FindCategory(const char* name, unsigned length) const {
    if (length == 0) {
        return name ? FindSubCategory(name) : nullptr;
    }
    if (!name) {
        errno = EINVAL;
        return nullptr;
    }
    char element[detail::kKeyElementSize];
    return detail::CopyKeyElement(name, length, element) ? FindSubCategory(element) : nullptr;
}

CMgrCategory* CMgrCategory::FindSubCategory(const char* name) const {
    CMgrCategory* category = nullptr;
    m_mapCategories.Lookup(name, category);
    return category;
}

const char* CMgrCategory::GetPath() {
    if (m_strPath.empty()) {
        if (!m_pOwner) {
            return nullptr;
        }
        if (const char* ownerPath = m_pOwner->GetPath()) {
            m_strPath = ownerPath;
            m_strPath += '/';
        }
        m_strPath += m_strName;
    }
    return m_strPath.c_str();
}

CMgrCategory* CMgrCategory::GetNextCategory(void*& pos) const {
    SString name;
    CMgrCategory* category = nullptr;
    m_mapCategories.GetNextAssoc(pos, name, category);
    return category;
}

void CMgrCategory::MergeCategory(const CCategory* category) {
    CMgrCategory* present = FindSubCategory(category->szName);
    if (!present) {
        m_mapCategories[category->szName] = new CMgrCategory(category, this);
        return;
    }
    for (int i = 0; i < category->nCategories; ++i) {
        present->MergeCategory(category->ppCategories[i]);
    }
    present->m_pOptionSet->MergeOptions(category->pOptionSet);
}

void CMgrCategory::MergeManager(CMgrCategory* other) {
    ++m_nRefCount;
    for (void* pos = other->GetFirstCategoryPosition(); pos;) {
        CMgrCategory* theirs = other->GetNextCategory(pos);
        if (CMgrCategory* ours = FindSubCategory(theirs->GetName())) {
            ours->m_pOptionSet->MergeOptions(theirs->m_pOptionSet);
            ours->MergeManager(theirs);
        } else {
            m_mapCategories[theirs->m_strName] = new CMgrCategory(theirs, this, 1);
        }
    }
}

void CMgrCategory::RemoveManager(CMgrCategory* other) {
    if (m_nRefCount == 0) {
        return;
    }
    --m_nRefCount;
    for (void* pos = other->GetFirstCategoryPosition(); pos;) {
        CMgrCategory* theirs = other->GetNextCategory(pos);
        CMgrCategory* ours = FindSubCategory(theirs->GetName());
        if (!ours) {
            return;
        }
        ours->m_pOptionSet->UnMergeOptions(theirs->m_pOptionSet);
        ours->RemoveManager(theirs);
        if (ours->m_nRefCount == 0) {
            delete ours;
        }
    }
}

void CMgrCategory::RegisterOptRgKey(COptRgKey* key) {
    m_setKeys.insert(key);
}

void CMgrCategory::UnregisterOptRgKey(COptRgKey* key) {
    m_setKeys.erase(key);
}

void CMgrCategory::InformAllOptRgKeys() {
    while (!m_setKeys.empty()) {
        COptRgKey* key = *m_setKeys.begin();
        m_setKeys.erase(m_setKeys.begin());
        key->Detach();
    }
}

}  // namespace vyn
