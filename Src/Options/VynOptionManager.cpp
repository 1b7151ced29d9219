#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <typeinfo>

#include "Options/VynOption_p.h"
#include "Rg/AddressTable_p.h"
#include "Rg/StructureStamp_p.h"
#include "Text/InitOrder_p.h"
#include "VynOption.h"

namespace vyn {

VYN_INIT(VYN_INIT_OPTION_FILES) MMap<SString, COptionFile*> COptionManager::m_mapOptionFiles;
int COptionManager::m_bPredefinedAlreadyLoaded = 0;

COptionManager::COptionManager() : m_pFound(std::make_unique<detail::AddressTable>()) {}

COptionManager::~COptionManager() {
    for (void* pos = m_mapComponents.GetStartPosition(); pos;) {
        delete GetNextComponent(pos);
    }
    m_mapComponents.RemoveAll();
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        delete m_listFiles.GetNext(pos);
    }
    m_listFiles.RemoveAll();
}

COptionFile* COptionManager::Load(const char* path) {
    COptionFile* file = new COptionFile(this);
    if (file->Load(path) != 0) {
        delete file;
        return nullptr;
    }
    m_listFiles.AddTail(file);
    return file;
}

COptionFile* COptionManager::AddOptionFile(SPathName path) {
    if (COptionFile* known = GetOptionFile(path.c_str())) {
        AddFile(known);
        return known;
    }
    return Load(path.c_str());
}

COptionFile* COptionManager::AddPersonalFile(SPathName path) {
    auto* file = new COptionFile(this);
    file->m_bPersonal = true;
    file->Load(path.c_str());
    MList<COptionFile*> below;
    below.AddTail(&m_listFiles);
    m_listFiles.RemoveAll();
    m_listFiles.AddTail(file);
    m_listFiles.AddTail(&below);
    return file;
}

void COptionManager::RemoveOptionFile(SPathName path) {
    if (COptionFile* file = GetFile(path.c_str())) {
        RemoveFile(file);
    }
}

void COptionManager::SetValue(const char* key, const char* name, const char* value) {
    void* pos = m_listFiles.GetHeadPosition();
    if (!pos || !IsEditable(key, name)) {
        return;
    }
    COptionFile* top = m_listFiles.GetNext(pos);
    CRgKey* rgKey = top->FindKey(key);
    const char* underneath = GetUnderneathValue(top, key, name);
    if (strcmp(value, underneath ? underneath : "") != 0) {
        if (rgKey) {
            top->SetValue(key, name, value);
        } else if (CRgKey* made = top->CreateKey(key, nullptr, nullptr)) {
            made->CreateValue(name, CRgValue::eText, value, nullptr);
        }
        return;
    }
    // What equals the layers below needs no place in this file, unless it locks them.
    if (!rgKey || top->IsUnredefinable(key, name)) {
        return;
    }
    if (CRgValue* present = rgKey->FindValue(name)) {
        rgKey->RemoveValue(present);
        delete present;
    }
    if (rgKey->GetValueCount() == 0 && rgKey->GetKeyCount() == 0) {
        top->RemoveKey(rgKey);
        delete rgKey;
    }
}

// The text of the top value, unless a lower one is fixed: then of the lowest such. Null without values.
const char* COptionManager::Found::Text() const {
    if (count == 0) {
        return nullptr;
    }
    size_t i = count - 1;
    while (i > 0 && !detail::IsFixed(*values[i])) {
        --i;
    }
    return values[i]->GetValue();
}

// Remembers what an address leads to as long as it leads anywhere and only keys of this library's own classes are on
// the way. Texts and attributes, so "fixed" too, are read from the values each time.
// \param walked holds the values that couldn't be remembered.
COptionManager::Found COptionManager::Find(const char* key, const char* name, std::vector<CRgValue*>& walked) const {
    const detail::Address address(key, name);
    m_pFound->SetOrigin(m_listFiles.GetChangeCount());
    if (const detail::AddressTable::Entry* found = m_pFound->Find(address)) {
        return {found->Values(), found->m_nValues, found->m_pDeclared};
    }
    const uint64_t stamp = detail::StructureStamp::Take();
    bool certain = true;
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        const COptionFile* file = m_listFiles.GetNext(pos);
        certain = certain && typeid(*file) == typeid(COptionFile);  // a subclass may change its root
        if (CRgValue* value = file->WalkToValue(key, name, certain)) {
            walked.push_back(value);
        }
    }
    const COption* declared = walked.empty() ? WalkToDeclared(key, name) : nullptr;
    if (certain && (declared || !walked.empty())) {
        m_pFound->Remember(address, stamp, declared, walked.data(), walked.size());
    }
    return {walked.data(), walked.size(), declared};
}

const char* COptionManager::GetFileValue(const char* key, const char* name) const {
    std::vector<CRgValue*> walked;
    return Find(key, name, walked).Text();
}

const COption* COptionManager::FindDeclared(const char* key, const char* name) const {
    std::vector<CRgValue*> walked;
    const Found found = Find(key, name, walked);
    return found.count == 0 ? found.declared : WalkToDeclared(key, name);
}

const COption* COptionManager::WalkToDeclared(const char* key, const char* name) const {
    char buffer[512];
    if (strlen(key) + strlen(name) + 2 > sizeof buffer) {
        return FindOption((std::string(key) + '/' + name).c_str());
    }
    strcpy(stpcpy(stpcpy(buffer, key), "/"), name);
    return FindOption(buffer);
}

const char* COptionManager::GetValue(const char* key, const char* name) const {
    std::vector<CRgValue*> walked;
    const Found found = Find(key, name, walked);
    if (found.count > 0) {
        return found.Text();
    }
    return found.declared ? found.declared->szDefault : "";
}

const char* COptionManager::GetStrValue(const char* key, const char* name) const {
    return GetValue(key, name);
}

const char* COptionManager::GetStrValue(const char* key, const char* name, const char* defaultValue) const {
    const char* value = GetValue(key, name);
    return value ? value : defaultValue;
}

int COptionManager::GetBoolValue(const char* key, const char* name) const {
    return *GetValue(key, name) == 't' ? 1 : 0;
}

int COptionManager::GetBoolValue(const char* key, const char* name, int defaultValue) const {
    const char* value = GetValue(key, name);
    return value ? (*value == 't' ? 1 : 0) : defaultValue;
}

int COptionManager::GetIntValue(const char* key, const char* name) const {
    return atoi(GetValue(key, name));
}

int COptionManager::GetIntValue(const char* key, const char* name, int defaultValue) const {
    const char* value = GetValue(key, name);
    return value ? atoi(value) : defaultValue;
}

void COptionManager::SetStrValue(const char* key, const char* name, const char* value) {
    SetValue(key, name, value);
}

void COptionManager::SetBoolValue(const char* key, const char* name, int value) {
    SetValue(key, name, value ? "true" : "false");
}

void COptionManager::SetIntValue(const char* key, const char* name, int value) {
    char text[20];
    snprintf(text, sizeof text, "%d", value);
    SetValue(key, name, text);
}

int COptionManager::IsDefaultValue(const char* key, const char* name, const char* value) {
    return strcmp(value, FindDeclared(key, name)->szDefault) == 0 ? 1 : 0;
}

const char* COptionManager::GetUnderneathValue(COptionFile* file, const char* key, const char* name) {
    void* pos = file ? m_listFiles.Find(file) : m_listFiles.GetHeadPosition();
    m_listFiles.GetNext(pos);
    while (pos) {
        if (const char* value = m_listFiles.GetNext(pos)->GetValue(key, name)) {
            return value;
        }
    }
    const COption* option = FindDeclared(key, name);
    return option ? option->szDefault : nullptr;
}

int COptionManager::IsRedefined(const char* key, const char* name) {
    std::vector<CRgValue*> walked;
    return Find(key, name, walked).count > 0 ? 1 : 0;
}

int COptionManager::IsEditable(const char* key, const char* name) {
    void* pos = m_listFiles.GetHeadPosition();
    if (!pos) {
        return 1;
    }
    COptionFile* top = m_listFiles.GetNext(pos);
    if (!top->CanBeWritten()) {
        return 0;
    }
    std::vector<CRgValue*> walked;
    const Found found = Find(key, name, walked);
    for (size_t i = 0; i < found.count; ++i) {
        if (detail::IsFixed(*found.values[i])) {
            return top->IsUnredefinable(key, name);
        }
    }
    return 1;
}

void COptionManager::Reset() {
    if (void* pos = m_listFiles.GetHeadPosition()) {
        m_listFiles.GetNext(pos)->Reset();
    }
}

void COptionManager::ResetAll() {
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        m_listFiles.GetNext(pos)->Reset();
    }
}

void COptionManager::AddFile(COptionFile* file) {
    if (!m_listFiles.Find(file) && !GetFile(file->GetPathName())) {
        m_listFiles.AddTail(file);
    }
}

void COptionManager::RemoveFile(COptionFile* file) {
    if (void* pos = m_listFiles.Find(file)) {
        m_listFiles.RemoveAt(pos);
    }
    m_mapOptionFiles.RemoveKey(file->GetPathName());
}

COptionFile* COptionManager::GetFile(const char* path) {
    for (void* pos = path ? m_listFiles.GetHeadPosition() : nullptr; pos;) {
        COptionFile* file = m_listFiles.GetNext(pos);
        if (strcmp(file->GetPathName(), path) == 0) {
            return file;
        }
    }
    return nullptr;
}

COptionFile* COptionManager::GetOptionFile(const char* path) {
    COptionFile* file = nullptr;
    if (path) {
        m_mapOptionFiles.Lookup(path, file);
    }
    return file;
}

int COptionManager::Reload(const char* path) {
    COptionFile* file = GetFile(path);
    return file && file->Load(path) == 0 ? 1 : 0;
}

void COptionManager::ReloadAllFiles() {
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        Reload(m_listFiles.GetNext(pos)->GetPathName());
    }
}

void COptionManager::SaveAllFiles() {
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        m_listFiles.GetNext(pos)->Save(nullptr);
    }
}

int COptionManager::SaveAllFiles(SVector<SaveFailure>& failed) {
    failed.clear();
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        COptionFile* file = m_listFiles.GetNext(pos);
        if (const int error = file->Save(nullptr)) {
            failed.push_back({file, error});
        }
    }
    return failed.empty() ? 0 : failed.front().error;
}

void COptionManager::SetModified() {
    for (void* pos = m_listFiles.GetHeadPosition(); pos;) {
        m_listFiles.GetNext(pos)->SetModifiedFlag(1);
    }
}

void COptionManager::RemoveAllFiles() {
    m_listFiles.RemoveAll();
}

template <class Set>
const CMgrOptionSet* COptionManager::MakeComponent(const Set* set, const char* name) {
    CMgrOptionSet* component = nullptr;
    if (!m_mapComponents.Lookup(name, component)) {
        // The constructor asks for the component of the base set, so that the base sets are entered first.
        component = new CMgrOptionSet(set, this);
        m_mapComponents[name] = component;
    }
    return component;
}

const CMgrOptionSet* COptionManager::GetComponent(const COptionSet* set) {
    return set ? MakeComponent(set, set->szName) : nullptr;
}

const CMgrOptionSet* COptionManager::GetComponent(const CMgrOptionSet* set) {
    return set ? MakeComponent(set, set->GetName()) : nullptr;
}

const CMgrOptionSet* COptionManager::GetNextComponent(void*& pos) const {
    SString name;
    CMgrOptionSet* component = nullptr;
    m_mapComponents.GetNextAssoc(pos, name, component);
    return component;
}

}  // namespace vyn
