#include "SPathName.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Paths/SPathName_p.h"
#include "VynUri.h"
#include "filename_expand.h"

namespace vyn {

namespace {

using detail::MallocText;
using detail::sizePath;

MallocText ExpandedFullPath(const SString& text) {
    return MallocText(full_path_name(filename_expand(text.c_str())));
}

// Takes the steps out of `text` when it counts as absolute.
void Canonicalize(std::string& text) {
    if (!IsAbsolutePathLocal(text.c_str())) {
        return;
    }
    if (WexPathCanonicalize(&text[0], text.c_str())) {
        text.resize(strlen(text.c_str()));
    }
}

char* CopyReplacing(const SString& text, char from, char to) {
    char* copy = strdup(text.c_str());
    std::replace(copy, copy + strlen(copy), from, to);
    return copy;
}

bool IsDrive(const std::string& text) {
    return text.size() == 2 && VynIsAUri(text.c_str());
}

bool IsDirectory(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Creates each directory that ends at a separator of `path`, from its second one on.
void CreateParents(std::string path) {
    char* separator = FindFirstDirSep(&path[0]);
    while (separator && (separator = FindFirstDirSep(separator + 1)) && separator[1]) {
        const char next = separator[1];
        separator[1] = '\0';
        mkdir(path.c_str(), 0777);
        separator[1] = next;
    }
}

}  // namespace

SPathName::SPathName(const char* text) : SString(text) {
    if (size() >= sizePath) {
        clear();
        errno = EINVAL;
        return;
    }
    std::replace(begin(), end(), '\\', '/');
    Canonicalize(*this);
}

int SPathName::IsAbsolutePath() const {
    return IsAbsolutePathLocal(c_str());
}

const char* SPathName::GetSuffix() const {
    return name_suffix(const_cast<char*>(c_str()));
}

const char* SPathName::GetTail() const {
    const char* separator = FindLastDirSep(const_cast<char*>(c_str()));
    return separator ? separator + 1 : c_str();
}

SString SPathName::GetDirectory() const {
    if (GetTail() == c_str()) {
        return SString();
    }
    SString directory(substr(0, static_cast<size_t>(GetTail() - c_str()) - 1));
    if (directory.empty() || IsDrive(directory)) {
        directory += '/';
    }
    return directory;
}

char* SPathName::GetBaseName() const {
    std::string text(c_str());
    return strdup(name_base(&text[0]));
}

char* SPathName::GetUnixPath() const {
    return CopyReplacing(*this, '\\', '/');
}

char* SPathName::GetWinPath() const {
    return CopyReplacing(*this, '/', '\\');
}

void SPathName::MakeExpandPath() {
    *this = filename_expand(c_str());
}

void SPathName::MakeAbsolutePath() {
    if (!empty()) {
        *this = ExpandedFullPath(*this).get();
    }
}

void SPathName::MakeAbsolutePath(const SPathName& base) {
    if (base.empty()) {
        MakeAbsolutePath();
        return;
    }
    const char* expanded = filename_expand(c_str());
    if (IsAbsolutePathLocal(expanded)) {
        *this = expanded;
        return;
    }
    std::string path(ExpandedFullPath(base).get());
    if (path.size() >= sizePath) {
        errno = ERANGE;
        path.clear();
    }
    path.resize(path.find_last_of("/\\") + 1);
    if (path.size() + size() < sizePath) {
        path += *this;
    } else {
        errno = ERANGE;
    }
    *this = path.c_str();
}

void SPathName::MakeRelativePath(const SPathName& base) {
    const MallocText path(full_path_name(c_str()));
    const MallocText from(full_path_name(base.c_str()));
    *this = MallocText(get_rel_path(path.get(), from.get())).get();
}

void SPathName::AddSuffix(const char* suffix) {
    if (!GetSuffix()) {
        append(suffix);
    }
}

void SPathName::SubSuffix() {
    std::string text(c_str());
    *this = name_unsuffix(&text[0]);
}

void SPathName::AddPathElement(const char* element) {
    // Built aside, since `element` may point into this path.
    std::string path(*this);
    if (!path.empty()) {
        if (path.back() != '/' && path.back() != '\\') {
            path += '/';
        }
        if (element[0] == '/') {
            ++element;
        }
    }
    path += element;
    Canonicalize(path);
    if (detail::FitsPath(path.c_str())) {
        swap(path);
    }
}

int SPathName::CreateDirectoryA() const {
    std::string path(c_str());
    if (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    if (IsDrive(path)) {
        return IsDirectory(path + "/") ? 1 : 0;
    }
    if (mkdir(path.c_str(), 0777) == 0) {
        return 1;
    }
    if (errno == ENOENT) {
        CreateParents(path);
        if (mkdir(path.c_str(), 0777) == 0) {
            return 1;
        }
    }
    return errno == EEXIST && IsDirectory(path) ? 1 : 0;
}

bool operator==(const SPathName& lhs, const SPathName& rhs) {
    return lhs.Compare(rhs) == 0;
}

bool operator!=(const SPathName& lhs, const SPathName& rhs) {
    return !(lhs == rhs);
}

bool operator==(const SPathName& lhs, const char* rhs) {
    return lhs == SPathName(rhs);
}

bool operator!=(const SPathName& lhs, const char* rhs) {
    return !(lhs == rhs);
}

bool operator==(const SPathName& lhs, const std::string& rhs) {
    return lhs == rhs.c_str();
}

bool operator!=(const SPathName& lhs, const std::string& rhs) {
    return !(lhs == rhs);
}

bool operator==(const std::string& lhs, const SPathName& rhs) {
    return rhs == lhs;
}

bool operator!=(const std::string& lhs, const SPathName& rhs) {
    return !(rhs == lhs);
}

char* FindLastDirSep(char* text) {
    char* slash = strrchr(text, '/');
    return slash ? slash : strrchr(text, '\\');
}

char* FindFirstDirSep(char* text) {
    char* slash = strchr(text, '/');
    return slash ? slash : strchr(text, '\\');
}

int IsAbsolutePathLocal(const char* text) {
    return text[0] == '/' || VynIsAUri(text) ? 1 : 0;
}

int WexPathCanonicalize(char* out, const char* in) {
    int removed = 0;
    char* end = out;
    while (*in) {
        if (strncmp(in, "/./", 3) == 0) {
            in += 2;
            removed = 1;
        } else if (strncmp(in, "/..", 3) == 0 && (in[3] == '/' || !in[3])) {
            in += 3;
            removed = 1;
            // Back to the last "/" of the output, which goes too; to its start when there is none.
            while (end > out && *--end != '/') {
            }
        } else {
            *end++ = *in++;
        }
    }
    *end = '\0';
    return removed;
}

SString GetExtentionFromPath(const SPathName& path) {
    const std::string text(path.c_str());
    const SPathName withoutQuery(text.substr(0, text.find('?')).c_str());
    return SString(withoutQuery.GetSuffix());
}

}  // namespace vyn
