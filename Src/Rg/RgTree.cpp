#include <cstdlib>
#include <cstring>
#include <new>
#include <set>
#include <typeinfo>
#include <vector>

#include "Rg/RgFile_p.h"
#include "Rg/StructureStamp_p.h"
#include "RgFile.h"
#include "Text/CharClass_p.h"
#include "VynErrOut.h"

namespace vyn {

namespace {

void ReportUnwritable(const char* name) {
    vynerr << "Section not saved: its name can't stand in a heading: " << name << endl << flush;
}

// Whether the loader reads the bare text as one token with the same text.
bool ReadsBackBare(const char* text) {
    const char* p = text;
    if (detail::IsLetter(*p)) {
        while (detail::IsLetter(*p) || detail::IsDigit(*p) || *p == '_') {
            ++p;
        }
        return !*p;
    }
    while (detail::IsDigit(*p)) {
        ++p;
    }
    // A number is read in 32 bits and loses its leading zeros.
    const ptrdiff_t length = p - text;
    if (*p || length == 0 || length > 10 || (length > 1 && *text == '0')) {
        return false;
    }
    return length < 10 || strcmp(text, "2147483647") <= 0;
}

// Whether a heading can hold the text as name or value of an attribute.
bool FitsHeading(const char* text) {
    return *text && !strchr(" \t\n\v\f\r", *text) && !strpbrk(text, "),=");
}

bool FitsHeading(CRgAttribute& attribute) {
    return FitsHeading(attribute.GetName()) && FitsHeading(attribute.GetValue());
}

}  // namespace

namespace detail {

char* CopyText(const char* text) {
    char* copy = strdup(text ? text : "");
    if (!copy) {
        throw std::bad_alloc();
    }
    return copy;
}

void DestroyAttributes(MList<CRgAttribute*>* attributes) {
    if (!attributes) {
        return;
    }
    for (void* pos = attributes->GetHeadPosition(); pos;) {
        delete attributes->GetNext(pos);
    }
    attributes->RemoveAll();
}

bool IsHeadingElement(const char* name) {
    return *name && !strchr(" \t\n\v\f\r", *name) && !strpbrk(name, "]/");
}

bool HasHeadingAttributes(MList<CRgAttribute*>* attributes) {
    for (void* pos = attributes ? attributes->GetHeadPosition() : nullptr; pos;) {
        if (FitsHeading(*attributes->GetNext(pos))) {
            return true;
        }
    }
    return false;
}

void AppendHeading(std::string& text, std::string_view path, MList<CRgAttribute*>* attributes) {
    text.append("\n[").append(path).append("]");
    const char* separator = " (";
    for (void* pos = attributes ? attributes->GetHeadPosition() : nullptr; pos;) {
        CRgAttribute* attribute = attributes->GetNext(pos);
        if (FitsHeading(*attribute)) {
            text.append(separator).append(attribute->GetName()).append("=").append(attribute->GetValue());
            separator = ", ";
        }
    }
    text.append(*separator == ',' ? ")\n\n" : "\n\n");
}

void AppendAssignment(std::string& text, std::string_view name, const char* quote, std::string_view value) {
    text.append("\"").append(name).append("\"=").append(quote).append(value).append(quote).append(" ");
}

void AppendValue(std::string& text, std::string_view name, CRgValue::RvType type, const char* value,
                 MList<CRgAttribute*>* attributes) {
    const char* quote = type == CRgValue::eText || !ReadsBackBare(value) ? "\"" : "";
    AppendAssignment(text, name, quote, value);
    if (attributes && attributes->GetCount() > 0) {
        const char* separator = "(";
        for (void* pos = attributes->GetHeadPosition(); pos;) {
            CRgAttribute* attribute = attributes->GetNext(pos);
            text.append(separator);
            AppendAssignment(text, attribute->GetName(), ReadsBackBare(attribute->GetValue()) ? quote : "\"",
                             attribute->GetValue());
            separator = ", ";
        }
        text.append(")");
    }
    text.append("\n");
}

// Walks the tree with a stack of its own, so that depth costs nothing. A key of a class that the library doesn't know
// writes itself.
bool DumpTree(FILE* file, const CRgKey& root, const char* parentPath) {
    struct Level {
        const CRgKey* key;
        void* pos;          // the next subkey
        size_t pathLength;  // of the path of the key
        bool isWritable;    // each element of the path can stand in a heading
    };
    std::set<std::string> refused;
    std::string path(parentPath ? parentPath : "");
    std::vector<Level> levels;
    const auto enter = [&](const CRgKey& key, bool isRoot, bool isWritable) {
        if (!isRoot) {
            if (!path.empty()) {
                path += '/';
            }
            path += key.GetName();
            if (isWritable && !IsHeadingElement(key.GetName())) {
                isWritable = false;
                if (refused.insert(key.GetName()).second) {
                    ReportUnwritable(key.GetName());
                }
            }
        }
        if (isWritable) {
            key.DumpValues(file, isRoot ? nullptr : path.c_str());
        }
        levels.push_back({&key, key.GetFirstKeyPosition(), path.size(), isWritable});
    };
    enter(root, !parentPath, true);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (!level.pos) {
            levels.pop_back();
            continue;
        }
        path.resize(level.pathLength);
        const CRgKey* key = level.key->GetNextKey(level.pos);
        if (key->IsOfOwnClass()) {
            enter(*key, false, level.isWritable);
        } else if (level.isWritable) {
            key->Dump(file, path.c_str());
        }
    }
    return refused.empty();
}

}  // namespace detail

CRgValue::~CRgValue() {
    detail::DestroyAttributes(m_pAttributes);
    delete m_pAttributes;
}

MList<CRgAttribute*>* CRgValue::GetAttributeList() {
    if (!m_pAttributes) {
        m_pAttributes = new MList<CRgAttribute*>;
    }
    return m_pAttributes;
}

int CRgValue::Dump(FILE* file) {
    return Dump(file, GetName(), GetType(), GetValue(), m_pAttributes);
}

int CRgValue::Dump(FILE* file, const char* name, RvType type, const char* value, MList<CRgAttribute*>* attributes) {
    std::string line;
    detail::AppendValue(line, name, type, value, attributes);
    fwrite_unlocked(line.data(), 1, line.size(), file);
    return 1;
}

CRgAttribute* CRgValue::FindAttribute(const char* name) {
    for (void* pos = GetFirstAttributePosition(); pos;) {
        CRgAttribute* attribute = GetNextAttribute(pos);
        if (strcmp(attribute->GetName(), name) == 0) {
            return attribute;
        }
    }
    return nullptr;
}

const char* CRgValue::GetAttributeValue(const char* name) {
    CRgAttribute* attribute = FindAttribute(name);
    return attribute ? attribute->GetValue() : nullptr;
}

void CRgValue::SetAttributeValue(const char* name, const char* value) {
    if (CRgAttribute* attribute = FindAttribute(name)) {
        attribute->SetValue(value);
        m_bChanged = 1;
    } else {
        AddAttribute(new CRgAttribute(name, value));
    }
}

CDefRgValue::CDefRgValue(const char* name, RvType type, const char* value)
    : m_szName(detail::CopyText(name)),
      m_szValue(detail::CopyText(value)),
      m_nType(static_cast<unsigned char>(type)),
      m_bOwnValue(true) {}

// Makes a value with its texts behind it, in one block of memory.
CDefRgValue* CDefRgValue::Make(const char* name, RvType type, const char* value) {
    const size_t nameSize = strlen(name) + 1;
    const size_t valueSize = strlen(value) + 1;
    auto* made = new (nameSize + valueSize) CDefRgValue(type);
    char* texts = reinterpret_cast<char*>(made + 1);
    made->m_bMade = true;
    made->m_szName = static_cast<char*>(memcpy(texts, name, nameSize));
    made->m_szValue = static_cast<char*>(memcpy(texts + nameSize, value, valueSize));
    return made;
}

CDefRgValue::~CDefRgValue() {
    if (!m_bMade || !HasMadeName()) {
        free(const_cast<char*>(m_szName));
    }
    if (m_bOwnValue) {
        free(const_cast<char*>(m_szValue));
    }
}

int CDefRgValue::SetName(const char* name) {
    const char* old = !m_bMade || !HasMadeName() ? m_szName : nullptr;
    m_szName = detail::CopyText(name);
    free(const_cast<char*>(old));
    return 1;
}

int CDefRgValue::SetType(RvType type) {
    m_nType = static_cast<unsigned char>(type);
    return 1;
}

int CDefRgValue::SetValue(const char* value) {
    const char* old = m_bOwnValue ? m_szValue : nullptr;
    m_szValue = detail::CopyText(value);
    m_bOwnValue = true;
    free(const_cast<char*>(old));
    SetChanged();
    return 1;
}

CRgKey::~CRgKey() {
    CRgKey::Empty();
}

CRgKey* CRgKey::FindKey(const char* name) const {
    for (void* pos = m_listKeys.GetHeadPosition(); pos;) {
        CRgKey* key = m_listKeys.GetNext(pos);
        if (strcmp(key->GetName(), name) == 0) {
            return key;
        }
    }
    return nullptr;
}

int CRgKey::AddKey(CRgKey* key) {
    detail::StructureStamp::Raise();
    m_listKeys.AddTail(key);
    return 1;
}

int CRgKey::RemoveKey(CRgKey* key) {
    // Also for a key of another parent: a subclass may have taken the key of that name out of its index.
    detail::StructureStamp::Raise();
    void* pos = m_listKeys.Find(key);
    if (!pos) {
        return 0;
    }
    key->m_pParent = nullptr;
    m_listKeys.RemoveAt(pos);
    return 1;
}

CRgValue* CRgKey::FindValue(const char* name) const {
    for (void* pos = m_listValues.GetHeadPosition(); pos;) {
        CRgValue* value = m_listValues.GetNext(pos);
        if (strcmp(value->GetName(), name) == 0) {
            return value;
        }
    }
    return nullptr;
}

int CRgKey::AddValue(CRgValue* value) {
    detail::StructureStamp::Raise();
    m_listValues.AddTail(value);
    return 1;
}

int CRgKey::RemoveValue(CRgValue* value) {
    detail::StructureStamp::Raise();
    void* pos = m_listValues.Find(value);
    if (!pos) {
        return 0;
    }
    m_listValues.RemoveAt(pos);
    return 1;
}

void CRgKey::SetAttributes(MList<CRgAttribute*>* attributes) {
    detail::DestroyAttributes(&m_listAttributes);
    m_listAttributes.AddTail(attributes);
}

CRgKey* CRgKey::UseAttributes(MList<CRgAttribute*>*, const char*) {
    return nullptr;
}

void CRgKey::Empty() {
    detail::StructureStamp::Raise();
    // Each key hands its subkeys on before it is deleted, so that a tree of any depth needs no deep stack.
    for (void* pos = m_listKeys.GetHeadPosition(); pos;) {
        void* current = pos;
        CRgKey* key = m_listKeys.GetNext(current);
        for (void* sub = key->m_listKeys.GetHeadPosition(); sub;) {
            key->m_listKeys.GetNext(sub)->m_pParent = nullptr;
        }
        m_listKeys.AddTail(&key->m_listKeys);
        key->m_listKeys.RemoveAll();
        delete m_listKeys.GetNext(pos);
    }
    m_listKeys.RemoveAll();
    for (void* pos = m_listValues.GetHeadPosition(); pos;) {
        delete m_listValues.GetNext(pos);
    }
    m_listValues.RemoveAll();
    detail::DestroyAttributes(&m_listAttributes);
}

int CRgKey::Dump(FILE* file, const char* parentPath) const {
    detail::DumpTree(file, *this, parentPath);
    return 0;
}

void CRgKey::DumpValues(FILE* file, const char* path) const {
    if (path && m_listValues.GetCount() > 0) {
        std::string heading;
        detail::AppendHeading(heading, path, nullptr);
        fwrite_unlocked(heading.data(), 1, heading.size(), file);
    }
    for (void* pos = m_listValues.GetHeadPosition(); pos;) {
        m_listValues.GetNext(pos)->Dump(file);
    }
}

bool CDefRgKey::IsOfOwnClass() const {
    return typeid(*this) == typeid(CDefRgKey);
}

bool CRgKey::IsOfOwnClass() const {
    return false;
}

CRgKey* CDefRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    detail::DestroyAttributes(attributes);
    if (CRgKey* present = FindKey(name)) {
        return present;
    }
    CRgKey* key = new CDefRgKey(name);
    AddKey(key);
    return key;
}

CRgKey* CDefRgKey::FindKey(const char* name) const {
    CRgKey* key = nullptr;
    m_mapKeys.Lookup(name, key);
    return key;
}

int CDefRgKey::AddKey(CRgKey* key) {
    CRgKey::AddKey(key);
    m_mapKeys[key->GetName()] = key;
    return 1;
}

int CDefRgKey::RemoveKey(CRgKey* key) {
    m_mapKeys.RemoveKey(key->GetName());
    return CRgKey::RemoveKey(key);
}

CRgValue* CDefRgKey::CreateValue(const char* name, CRgValue::RvType type, const char* value,
                                 MList<CRgAttribute*>* attributes) {
    detail::DestroyAttributes(attributes);
    CRgValue* made = CDefRgValue::Make(name, type, value);
    AddValue(made);
    return made;
}

void CDefRgKey::IndexValues() const {
    if (m_bValuesIndexed) {
        return;
    }
    for (void* pos = GetFirstValuePosition(); pos;) {
        CRgValue* value = GetNextValue(pos);
        m_mapValues[static_cast<CDefRgValue*>(value)->GetMadeName()] = value;
    }
    m_bValuesIndexed = true;
}

CRgValue* CDefRgKey::FindValue(const char* name) const {
    IndexValues();
    CRgValue* value = nullptr;
    m_mapValues.Lookup(name, value);
    return value;
}

int CDefRgKey::AddValue(CRgValue* value) {
    if (!m_bValuesIndexed && typeid(*value) == typeid(CDefRgValue)) {
        const auto* made = static_cast<CDefRgValue*>(value);
        if (made->m_bMade && made->HasMadeName()) {
            return CRgKey::AddValue(value);
        }
    }
    IndexValues();
    m_mapValues[value->GetName()] = value;
    return CRgKey::AddValue(value);
}

// A value that was renamed goes under the name that it was entered by: another value may have its name of now.
int CDefRgKey::RemoveValue(CRgValue* value) {
    SString name = value->GetName();
    CRgValue* entered = FindValue(name.c_str());
    for (void* pos = entered == value ? nullptr : m_mapValues.GetStartPosition(); pos && entered != value;) {
        m_mapValues.GetNextAssoc(pos, name, entered);
    }
    m_mapValues.RemoveKey(entered == value ? name : SString(value->GetName()));
    return CRgKey::RemoveValue(value);
}

void CDefRgKey::Empty() {
    m_mapKeys.RemoveAll();
    m_mapValues.RemoveAll();
    m_bValuesIndexed = false;
    CRgKey::Empty();
}

}  // namespace vyn
