#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Rg/RgFile_p.h"
#include "VynOption.h"

namespace vyn {

const char* const szUnRefinable = "fixed";

namespace {

// Empties `to` and writes the whole of `from` to it, then removes `from`. False with `errno` when a file
// can't be opened.
bool MoveContentFromOneFileToAnother(const char* from, const char* to) {
    FILE* source = fopen(from, "rt");
    if (!source) {
        return false;
    }
    FILE* target = fopen(to, "wt");
    if (!target) {
        const int error = errno;
        fclose(source);
        errno = error;
        return false;
    }
    fseek(source, 0, SEEK_END);
    const long size = ftell(source);
    fseek(source, 0, SEEK_SET);
    std::vector<char> content(size > 0 ? static_cast<size_t>(size) : 0);
    const size_t length = fread(content.data(), 1, content.size(), source);
    fwrite(content.data(), 1, length, target);
    fclose(source);
    fclose(target);
    unlink(from);
    return true;
}

// The new text takes the place of the old file, so it also takes its permissions.
void CopyMode(const char* from, FILE* to) {
    struct stat status;
    if (stat(from, &status) == 0) {
        fchmod(fileno(to),
               status.st_mode & 07777);  // where it can't be done, the mode of a new file has to do
    }
}

}  // namespace

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
    }
    return status;
}

int COptionFile::Save(const char* path) {
    return Rewrite(path ? SString(path) : m_strPath, true);
}

int COptionFile::SaveAs(const char* path) {
    return Rewrite(path ? SString(path) : m_strPath, false);
}

int COptionFile::Rewrite(const SString& path, bool copyIfNotReplaced) {
    int status = 0;
    if (access(path.c_str(), F_OK) != 0) {
        status = CRgFile::Save(path.c_str());
    } else if (access(path.c_str(), W_OK) != 0) {
        return errno;
    } else {
        const SString temporary(path + "~");
        status = Replay(path, temporary);
        // Replacing in one step leaves no moment without the file.
        if (status == 0 && rename(temporary.c_str(), path.c_str()) != 0 &&
            !(copyIfNotReplaced && MoveContentFromOneFileToAnother(temporary.c_str(), path.c_str()))) {
            return errno;
        }
    }
    if (status == 0) {
        m_bModified = 0;
    }
    return status;
}

// Writes the new text of `path` to `temporary`. 0, or the temporary file is gone and the result says why.
int COptionFile::Replay(const SString& path, const SString& temporary) {
    detail::COutputFile file(temporary.c_str(), "wt");
    if (!file.File()) {
        return errno;
    }
    CopyMode(path.c_str(), file.File());
    CIncrSaveContext context(static_cast<COptRgKey*>(m_pRoot));
    context.m_pFile = file.File();
    COptRgKey::m_pContext = &context;

    context.m_bCounting = true;
    int status = CRgLoader(*m_pRoot).Load(path.c_str());
    context.CountHeading();
    context.m_bCounting = false;
    if (status != 0) {
        m_pRoot->Empty();
    } else {
        status = CRgFile::Merge(path.c_str());
    }
    if (status == 0) {
        context.FlushUnsavedKeys();
    }

    COptRgKey::m_pContext = nullptr;
    file.Close();
    if (status != 0) {
        unlink(temporary.c_str());
    }
    return status;
}

int COptionFile::SetModifiedFlag(int flag) {
    const int old = m_bModified;
    m_bModified = flag;
    return old;
}

int COptionFile::IsUnredefinable(const char* key, const char* name) {
    const char* mark = GetAttributeValue(key, name, szUnRefinable);
    return mark && strcmp(mark, "true") == 0 ? 1 : 0;
}

void COptionFile::SetRedefineFlag(const char* key, const char* name, const char* value, int flag) {
    SetAttributeValue(key, name, value, szUnRefinable, flag ? "true" : "false");
}

void COptionFile::Reset() {
    m_pRoot->Empty();
}

}  // namespace vyn
