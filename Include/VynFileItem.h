#pragma once

/// \file
/// Files on the disk: what a path names, which files match a pattern, copies, and the permission to write.
/// Patterns may be URNs and are expanded as all paths are, so the listing operations belong to one thread at
/// a time; the rest keeps nothing between calls.

#include <utility>
#include <vector>

#include "SPathName.h"

namespace vyn {

/// \brief A path, and what the file system knows about it.
///
/// A plain value. Nothing is kept from one question to the next.
/// \code
/// std::vector<VynFileItem> files;
/// VynFileItem directory("/home/u/models");
/// directory.GetFilesList(files);                  // what lies in it
/// directory.GetFiles("urn:k4user:*.zop", files);  // and what matches, each file once
/// \endcode
class VYN_API VynFileItem {
public:
    /// What a path names.
    enum FileTypes : int {
        eFile = 0,       ///< a regular file
        eDirectory = 1,  ///< a directory
        eOther = 3,      ///< anything else, or nothing that can be reached
    };

    /// Keeps the path as it is.
    VynFileItem(SPathName path) : m_path(std::move(path)) {}

    /// Appends what matches a pattern, sorted, to \p out, but for what \p out holds already and for "." and
    /// "..". The path of this item plays no part. No match is no problem; a directory that can't be read, or
    /// isn't there, is reported on vynerr, and nothing is appended. A pattern that is too long for a path is
    /// reported likewise, and so are matches that are, which are left out; `errno` is ENAMETOOLONG then.
    /// \param pattern of the system's `glob`: "*", "?" and "[...]", none of which match a leading dot. A URN
    /// is resolved, and a relative one is taken from the current directory.
    void GetFiles(SPathName pattern, std::vector<VynFileItem>& out);

    /// \return what the path names, links followed.
    FileTypes GetFileType();

    /// Sets \p out to what lies in this directory, hidden names left out; to nothing when this isn't one. The
    /// path of a directory is a pattern here too, and its length is treated as that of a pattern.
    void GetFilesList(std::vector<VynFileItem>& out);

    /// \return the last element of the path.
    SPathName GetName() const;
    /// \return the path.
    SPathName GetFullPath() const { return m_path; }

private:
    SPathName m_path;
};

/// Both are equal when their paths are.
VYN_API bool operator==(const VynFileItem& lhs, const VynFileItem& rhs);

/// Copies the bytes of a file over another file. The same file, also by way of a link, is left as it is. The target is
/// replaced as a whole once all bytes are on the disk, keeps its own permissions, and a symbolic link stays one. What
/// is no regular file, such as a device, is written to.
/// \return true when all bytes were written; else `errno` is that of the system, and the target is what it was before,
/// or doesn't exist.
VYN_API bool VynCopyFile(const SString& from, const SString& to);

/// Takes the permission to write from the owner of a file when \p readOnly is true, else gives it. The other
/// permissions stay.
/// \return true on success; else `errno` is that of the system.
VYN_API bool VynSetReadOnly(const SString& path, bool readOnly);

/// \brief Takes the permission to write from the owner of a file, against what the name says, and puts the
/// old permissions back at the end of the scope.
class VYN_API SUnsetReadOnly {
public:
    /// Makes the change that VynSetReadOnly makes with true.
    explicit SUnsetReadOnly(const SString& path);
    SUnsetReadOnly(const SUnsetReadOnly&) = delete;
    SUnsetReadOnly& operator=(const SUnsetReadOnly&) = delete;
    /// Puts the permissions back; after a failed change there is nothing to do.
    ~SUnsetReadOnly();

    /// \return true when the change took place.
    operator bool() const { return !m_strPath.empty(); }

private:
    SString m_strPath;  // empty when the change failed
    unsigned m_nMode;   // the old permissions, unset when the change failed
};

}  // namespace vyn
