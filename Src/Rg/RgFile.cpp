#include "RgFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Files/File_p.h"
#include "Rg/AddressTable_p.h"
#include "Rg/RgFile_p.h"
#include "Rg/StructureStamp_p.h"

namespace vyn {

namespace detail {

bool CopyKeyElement(const char* text, size_t length, char (&element)[kKeyElementSize]) {
    if (length >= kKeyElementSize) {
        element[0] = '\0';
        errno = EINVAL;
        return false;
    }
    memcpy(element, text, length);
    element[length] = '\0';
    return true;
}

const char* SplitKeyPath(const char* path, char (&element)[kKeyElementSize]) {
    const char* end = strchr(path, '/');
    CopyKeyElement(path, end ? static_cast<size_t>(end - path) : strlen(path), element);
    return end ? end + 1 : nullptr;
}

}  // namespace detail

CRgFile::CRgFile(CRgKey* root)
    : m_pRoot(root ? root : new CDefRgKey("")), m_pFound(std::make_unique<detail::AddressTable>()) {}

CRgFile::~CRgFile() {
    delete m_pRoot;
}

int CRgFile::Load(const char* path) {
    if (m_strPath.empty()) {
        m_strPath = path;
    }
    return Read(path, true);
}

int CRgFile::Merge(const char* path) {
    return Read(path, false);
}

// The text is in memory before the tree is touched: the path may lie in the tree, and a file that can't be read changes
// nothing.
int CRgFile::Read(const char* path, bool anew) {
    std::string text;
    m_nLoadError = *path ? detail::ReadFile(path, text) : ENOENT;
    if (m_nLoadError != 0) {
        m_bContentLost = m_bContentLost || !m_bLoaded;
        return 1;
    }
    if (anew) {
        m_pRoot->Empty();
    }
    if (CRgLoader(*m_pRoot).LoadText(text) != 0) {
        LoseContent();
        m_nLoadError = EILSEQ;
        return 1;
    }
    m_bLoaded = true;
    m_bContentLost = m_bContentLost && !anew;
    return 0;
}

void CRgFile::LoseContent() {
    m_pRoot->Empty();
    m_bContentLost = true;
}

int CRgFile::Save(const char* path) {
    if (!path) {
        path = m_strPath.c_str();
    }
    if (!*path) {
        return 1;
    }
    if (const int error = detail::CheckWritable(path)) {
        return error;
    }
    char* text = nullptr;
    size_t size = 0;
    FILE* file = open_memstream(&text, &size);
    if (!file) {
        return errno;
    }
    bool whole = true;
    if (m_pRoot->IsOfOwnClass()) {
        whole = detail::DumpTree(file, *m_pRoot, nullptr);
    } else {
        m_pRoot->Dump(file, nullptr);
    }
    const bool failed = ferror(file) != 0;
    int error = fclose(file) != 0 || failed ? ENOMEM : 0;
    if (error == 0) {
        error = detail::ReplaceFile(path, std::string_view(text, size));
    }
    free(text);
    return error == 0 && !whole ? EILSEQ : error;
}

CRgKey* CRgFile::FindKey(const char* path) {
    CRgKey* key = m_pRoot;
    char element[detail::kKeyElementSize];
    while (key && path) {
        path = detail::SplitKeyPath(path, element);
        key = key->FindKey(element);
    }
    return key;
}

CRgKey* CRgFile::CreateKey(const char* path, const char* attributeName, const char* attributeValue) {
    CRgKey* key = m_pRoot;
    char element[detail::kKeyElementSize];
    path = detail::SplitKeyPath(path, element);
    for (; key && path; path = detail::SplitKeyPath(path, element)) {
        key = key->CreateKey(element, nullptr);
    }
    if (!key) {
        return nullptr;
    }
    MList<CRgAttribute*> attributes;
    if (attributeName && attributeValue) {
        attributes.AddTail(new CRgAttribute(attributeName, attributeValue));
    }
    return key->CreateKey(element, &attributes);
}

// The key at `path`, with what is missing created; null when the key class refuses an element.
CRgKey* CRgFile::MakeKey(const char* path) {
    CRgKey* key = m_pRoot;
    char element[detail::kKeyElementSize];
    while (key && path) {
        path = detail::SplitKeyPath(path, element);
        CRgKey* subkey = key->FindKey(element);
        key = subkey ? subkey : key->CreateKey(element, nullptr);
    }
    return key;
}

// A missing value isn't remembered: there is no end to the addresses that aren't there.
CRgValue* CRgFile::FindValue(const char* path, const char* name) {
    const detail::Address address(path, name);
    m_pFound->SetOrigin(reinterpret_cast<uintptr_t>(m_pRoot));
    if (const detail::AddressTable::Entry* found = m_pFound->Find(address)) {
        return *found->Values();
    }
    const uint64_t stamp = detail::StructureStamp::Take();
    bool certain = true;
    CRgValue* value = WalkToValue(path, name, certain);
    if (value && certain) {
        m_pFound->Remember(address, stamp, nullptr, &value, 1);
    }
    return value;
}

CRgValue* CRgFile::WalkToValue(const char* path, const char* name, bool& certain) const {
    const CRgKey* key = m_pRoot;
    char element[detail::kKeyElementSize];
    while (key && path) {
        certain = certain && key->IsOfOwnClass();
        path = detail::SplitKeyPath(path, element);
        key = key->FindKey(element);
    }
    if (!key) {
        return nullptr;
    }
    certain = certain && key->IsOfOwnClass();
    return key->FindValue(name);
}

const char* CRgFile::GetValue(const char* path, const char* name) {
    const CRgValue* value = FindValue(path, name);
    return value ? value->GetValue() : nullptr;
}

void CRgFile::SetValue(const char* path, const char* name, const char* value) {
    CRgKey* key = MakeKey(path);
    if (!key) {
        return;
    }
    if (CRgValue* present = key->FindValue(name)) {
        present->SetValue(value);
    } else {
        key->CreateValue(name, CRgValue::eText, value, nullptr);
    }
}

const char* CRgFile::GetAttributeValue(const char* path, const char* name, const char* attributeName) {
    CRgValue* value = FindValue(path, name);
    return value ? value->GetAttributeValue(attributeName) : nullptr;
}

void CRgFile::SetAttributeValue(const char* path, const char* name, const char* valueText, const char* attributeName,
                                const char* attributeValue) {
    CRgKey* key = MakeKey(path);
    if (!key) {
        return;
    }
    CRgValue* value = key->FindValue(name);
    if (!value) {
        value = key->CreateValue(name, CRgValue::eText, valueText, nullptr);
    }
    if (value) {
        value->SetAttributeValue(attributeName, attributeValue);
    }
}

void CRgFile::RemoveKey(CRgKey* key) {
    // A removed key has lost its parent, and an ancestor that holds a subkey doesn't qualify: one step is
    // all.
    if (key && key->m_pParent && key->GetKeyCount() == 0 && key->GetValueCount() == 0) {
        key->m_pParent->RemoveKey(key);
    }
}

void CRgFile::DestroyKey(CRgKey* key) {
    if (key && key->m_pParent && key->GetKeyCount() == 0) {
        CRgKey* parent = key->m_pParent;
        key->Empty();
        parent->RemoveKey(key);
    }
}

}  // namespace vyn
