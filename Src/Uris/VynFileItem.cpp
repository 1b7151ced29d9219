#include "VynFileItem.h"

#include <glob.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_set>

#include "Paths/SPathName_p.h"
#include "VynErrOut.h"
#include "VynUri.h"

namespace vyn {

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

// What the system finds for a pattern.
class Matches {
public:
    explicit Matches(const char* pattern) : m_nStatus(glob(pattern, GLOB_ERR, nullptr, &m_glob)) {}
    Matches(const Matches&) = delete;
    Matches& operator=(const Matches&) = delete;
    ~Matches() { globfree(&m_glob); }

    int Status() const { return m_nStatus; }
    char** begin() const { return m_glob.gl_pathv; }
    char** end() const { return m_glob.gl_pathv + m_glob.gl_pathc; }

private:
    glob_t m_glob{};
    int m_nStatus;
};

// Tells on vynerr why a pattern gives nothing, or not all; `errno` is `error` afterwards.
void Report(const char* reason, int error, const SPathName& pattern) {
    vynerr << reason << ": " << pattern << endl << flush;
    errno = error;
}

void ReportTooLong(const SPathName& pattern) {
    Report(strerror(ENAMETOOLONG), ENAMETOOLONG, pattern);
}

void ReportFailure(int status, int error, const SPathName& pattern) {
    if (status == GLOB_NOMATCH) {
        return;
    }
    const bool known = status == GLOB_NOSPACE || status == GLOB_ABORTED;
    Report(known ? strerror(error) : "Unknown error", error, pattern);
}

// The element `name` of the directory, in the form that a match of that name takes.
SPathName ElementOf(SPathName directory, const char* name) {
    directory.AddPathElement(name);
    return directory;
}

}  // namespace

void VynFileItem::GetFiles(SPathName pattern, std::vector<VynFileItem>& out) {
    SPathName absolute;
    SUrnResolver::ResolveUrn(pattern, absolute);
    const bool fits = detail::FitsPath(absolute.c_str());
    errno = 0;
    absolute.MakeAbsolutePath();
    if (!fits || (absolute.empty() && errno == EINVAL)) {
        ReportTooLong(pattern);
        return;
    }
    const SPathName self = ElementOf(absolute.GetDirectory(), ".");
    const SPathName parent = ElementOf(absolute.GetDirectory(), "..");

    const std::unique_ptr<char, decltype(&free)> text(absolute.GetUnixPath(), free);
    const Matches matches(text.get());
    if (matches.Status() != 0) {
        ReportFailure(matches.Status(), errno, absolute);
        return;
    }
    std::unordered_set<std::string> known;
    for (const VynFileItem& item : out) {
        known.insert(item.m_path);
    }
    bool tooLong = false;
    for (const char* match : matches) {
        SPathName path(match);
        tooLong = tooLong || path.empty();
        if (!path.empty() && path.Compare(self) != 0 && path.Compare(parent) != 0 &&
            known.insert(path).second) {
            out.push_back(std::move(path));
        }
    }
    if (tooLong) {
        ReportTooLong(absolute);
    }
}

VynFileItem::FileTypes VynFileItem::GetFileType() {
    struct stat info;
    if (stat(m_path.c_str(), &info) != 0) {
        return eOther;
    }
    if (S_ISDIR(info.st_mode)) {
        return eDirectory;
    }
    return S_ISREG(info.st_mode) ? eFile : eOther;
}

void VynFileItem::GetFilesList(std::vector<VynFileItem>& out) {
    // This item may be one of `out`.
    VynFileItem directory(*this);
    out.clear();
    if (directory.GetFileType() != eDirectory) {
        return;
    }
    errno = 0;
    const SPathName pattern = ElementOf(directory.m_path, "*");
    if (errno == ENAMETOOLONG) {
        ReportTooLong(directory.m_path);
        return;
    }
    directory.GetFiles(pattern, out);
}

SPathName VynFileItem::GetName() const {
    return m_path.GetTail();
}

bool operator==(const VynFileItem& lhs, const VynFileItem& rhs) {
    return lhs.GetFullPath() == rhs.GetFullPath();
}

bool VynCopyFile(const SString& from, const SString& to) {
    const File source(fopen(from.c_str(), "rb"), fclose);
    if (!source) {
        return false;
    }
    const File target(fopen(to.c_str(), "wb"), fclose);
    if (!target) {
        return false;
    }
    // Each block goes straight to the disk, so that a full one shows here and not when the file is closed.
    setvbuf(target.get(), nullptr, _IONBF, 0);
    char block[8192];
    while (const size_t size = fread(block, 1, sizeof(block), source.get())) {
        if (fwrite(block, 1, size, target.get()) != size) {
            return false;
        }
    }
    return feof(source.get()) != 0;
}

bool VynSetReadOnly(const SString& path, bool readOnly) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        return false;
    }
    const mode_t mode = readOnly ? info.st_mode & ~mode_t{S_IWUSR} : info.st_mode | S_IWUSR;
    return chmod(path.c_str(), mode) == 0;
}

SUnsetReadOnly::SUnsetReadOnly(const SString& path) : m_strPath(path), m_nMode(0) {
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        m_strPath.clear();
        return;
    }
    m_nMode = info.st_mode;
    if (chmod(path.c_str(), m_nMode & ~unsigned{S_IWUSR}) != 0) {
        m_strPath.clear();
    }
}

SUnsetReadOnly::~SUnsetReadOnly() {
    if (!m_strPath.empty()) {
        chmod(m_strPath.c_str(), m_nMode);
    }
}

}  // namespace vyn
