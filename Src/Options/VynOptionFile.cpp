#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Files/File_p.h"
#include "Options/VynOptionSave_p.h"
#include "Options/VynOption_p.h"
#include "VynOption.h"

namespace vyn {

const char* const szUnRefinable = "fixed";

COptionFile::COptionFile(COptionManager* manager)
    : CRgFile(new COptRootRgKey), m_bPredefined(0), m_pManager(manager), m_bModified(0) {
    // Not registered with the manager: a file goes before the categories do.
    static_cast<COptRgKey*>(m_pRoot)->m_pCategory = manager;
}

COptionFile::~COptionFile() = default;

int COptionFile::Load(const char* path) {
    const int status = CRgFile::Load(path);
    if (status == 0) {
        m_bModified = 0;
        static_cast<COptRootRgKey*>(m_pRoot)->m_mapRemoved.clear();
    }
    return status;
}

int COptionFile::Save(const char* path) {
    return Rewrite(path ? SString(path) : m_strPath, true);
}

int COptionFile::SaveAs(const char* path) {
    return Rewrite(path ? SString(path) : m_strPath, false);
}

int COptionFile::Rewrite(const SString& path, bool overwrite) {
    m_listConflicts.clear();
    if (path.empty()) {
        return 1;
    }
    if (const int error = detail::CheckWritable(path.c_str())) {
        return error;
    }
    detail::FileReplacement replacement(path.c_str());
    if (const int error = replacement.Lock()) {
        return error;
    }
    std::string oldText;
    int error = replacement.Read(oldText);
    const bool isNew = error == ENOENT;
    if (error != 0 && !isNew) {
        return error;
    }
    if (strlen(oldText.c_str()) != oldText.size()) {
        return EILSEQ;
    }

    auto& root = static_cast<COptRgKey&>(*m_pRoot);
    CIncrSaveContext context(&root);
    context.m_bNewFile = isNew;
    if (!isNew && ((IsMergedInto(path) && !Merge(root, oldText, m_listConflicts)) ||
                   context.Replay(oldText, m_bContentLost) != 0)) {
        LoseContent();
        return 1;
    }
    context.FlushUnsavedKeys();
    if (isNew || !context.m_pText->IsOldText()) {
        const auto durability =
            m_pManager->IsSyncedSaves() ? detail::Durability::eSynced : detail::Durability::eUnsynced;
        const auto pieces = context.m_pText->GetPieces();
        error =
            overwrite ? replacement.ReplaceOrOverwrite(pieces, durability) : replacement.Replace(pieces, durability);
        if (error != 0) {
            return error;
        }
    }
    if (path == m_strPath) {
        context.SetInFile();
        m_bContentLost = m_bContentLost && !isNew;  // a file that was made holds what memory does
        static_cast<COptRootRgKey*>(m_pRoot)->m_mapRemoved.clear();
    }
    if (context.m_nStatus == 0) {
        m_bModified = 0;
    }
    return context.m_nStatus;
}

// Only of its own file memory knows what has changed since the load.
bool COptionFile::IsMergedInto(const SString& path) const {
    return path == m_strPath && m_pManager->IsMergingSaves();
}

// Whether changes may go to the file. A personal file that is missing can be made by a save.
bool COptionFile::CanBeWritten() const {
    if (m_bPersonal && GetLoadError() != 0 && GetLoadError() != ENOENT) {
        return false;
    }
    if (m_strPath.empty() || access(m_strPath.c_str(), W_OK) == 0) {
        return true;
    }
    const SString directory(SPathName(m_strPath).GetDirectory());
    return m_bPersonal && errno == ENOENT && access(directory.empty() ? "." : directory.c_str(), W_OK) == 0;
}

int COptionFile::SetModifiedFlag(int flag) {
    const int old = m_bModified;
    m_bModified = flag;
    return old;
}

int COptionFile::IsUnredefinable(const char* key, const char* name) {
    CRgValue* value = FindValue(key, name);
    return value && detail::IsFixed(*value) ? 1 : 0;
}

void COptionFile::SetRedefineFlag(const char* key, const char* name, const char* value, int flag) {
    SetAttributeValue(key, name, value, szUnRefinable, flag ? "true" : "false");
}

void COptionFile::Reset() {
    static_cast<COptRgKey*>(m_pRoot)->NoteRemovals();
    m_pRoot->Empty();
    m_bContentLost = false;
}

}  // namespace vyn
