#include "VynFileItem.h"

#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "Files/File_p.h"
#include "Paths/SPathName_p.h"
#include "VynErrOut.h"
#include "VynUri.h"

namespace vyn {

namespace {

constexpr size_t sizeBlock = 65536;

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

// 0 or an error number, as for the next one.
int CopyBytes(int from, int to) {
    std::vector<char> block(sizeBlock);
    while (true) {
        const ssize_t size = read(from, block.data(), block.size());
        if (size == 0 || (size < 0 && errno != EINTR)) {
            return size == 0 ? 0 : errno;
        }
        const std::string_view piece(block.data(), static_cast<size_t>(std::max<ssize_t>(size, 0)));
        if (const int error = detail::WriteAll(to, {piece})) {
            return error;
        }
    }
}

int Copy(const char* from, const char* to) {
    const detail::Descriptor source = detail::OpenFile(from, O_RDONLY);
    struct stat old, present;
    if (!source.IsOpen() || fstat(source.Get(), &old) != 0) {
        return errno;
    }
    const bool exists = stat(to, &present) == 0;
    if (exists && old.st_dev == present.st_dev && old.st_ino == present.st_ino) {
        return 0;
    }
    if (exists && !S_ISREG(present.st_mode)) {
        // A device or a FIFO stays what it is.
        detail::Descriptor target = detail::OpenFile(to, O_WRONLY);
        const int error = target.IsOpen() ? CopyBytes(source.Get(), target.Get()) : errno;
        return error ? error : target.Close();
    }
    if (const int error = detail::CheckWritable(to)) {
        return error;
    }
    detail::FileReplacement replacement(to);
    if (const int error = replacement.Lock()) {
        return error;
    }
    return replacement.Replace([&](int fd) { return CopyBytes(source.Get(), fd); }, detail::Durability::eSynced);
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

    const detail::MallocText text(absolute.GetUnixPath());
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
        if (!path.empty() && path.Compare(self) != 0 && path.Compare(parent) != 0 && known.insert(path).second) {
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
    errno = Copy(from.c_str(), to.c_str());
    return errno == 0;
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
    if (stat(path.c_str(), &info) != 0 || !VynSetReadOnly(path, true)) {
        m_strPath.clear();
        return;
    }
    m_nMode = info.st_mode;
}

SUnsetReadOnly::~SUnsetReadOnly() {
    if (!m_strPath.empty()) {
        chmod(m_strPath.c_str(), m_nMode);
    }
}

}  // namespace vyn
