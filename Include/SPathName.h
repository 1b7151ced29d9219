#pragma once

/// \file
/// The path value of the library and its helpers. Distinct objects are independent, but MakeExpandPath and
/// MakeAbsolutePath share the static result of filename_expand and belong to one thread at a time.

#include <string>

#include "SString.h"
#include "VynExport.h"

namespace vyn {

/// \brief A path of Unix or Windows or a URI, kept in normal form.
///
/// Text that is assigned has each backslash replaced by "/" and, when it counts as absolute, its `/./` and `/../`
/// steps taken out; a relative text keeps them. Absolute are URIs, drive paths as `c:/x` among them, and what
/// begins with "/". Assigned text is shorter than 1024 bytes: else the path becomes empty and `errno` EINVAL.
/// Results of type `char*` are the caller's to `free`; a `const char*` points into the path and lasts until
/// it changes. Texts passed in may be null only where that is said.
/// \code
/// SPathName path("/data/models/../a.mod");  // "/data/a.mod"
/// path.SubSuffix();                         // "/data/a"
/// path.AddPathElement("b");                 // "/data/a/b"
/// \endcode
class VYN_API SPathName : public SString {
public:
    SPathName() = default;
    SPathName(const SPathName&) = default;  ///< Copies.
    SPathName(SPathName&&) = default;       ///< Takes over the text of the other path.
    /// Takes the text up to its first NUL, brought into normal form.
    SPathName(const SString& text) : SPathName(text.c_str()) {}
    /// Takes the text in normal form. Null means the empty path.
    SPathName(const char* text);

    SPathName& operator=(const SPathName&) = default;  ///< Copies.
    SPathName& operator=(SPathName&&) = default;       ///< Takes over the text of the other path.
    /// Assigns the text up to its first NUL, brought into normal form.
    SPathName& operator=(const SString& text) { return *this = SPathName(text); }
    /// Assigns the text in normal form. Null means the empty path.
    SPathName& operator=(const char* text) { return *this = SPathName(text); }

    /// \return 1 for an absolute path, else 0.
    int IsAbsolutePath() const;
    /// \return the last "." of the last element and what follows; null when the element has no ".".
    const char* GetSuffix() const;
    /// \return the text behind the last separator; all of it when there is none.
    const char* GetTail() const;
    /// \return the text before the last separator, with a "/" again when that is the root of the file system
    /// or of a drive; empty when there is no separator.
    SString GetDirectory() const;
    /// \return a copy of the last element without its suffix.
    char* GetBaseName() const;
    /// \return a copy with "/" for each backslash.
    char* GetUnixPath() const;
    /// \return a copy with a backslash for each "/".
    char* GetWinPath() const;

    /// Expands the path as filename_expand does.
    void MakeExpandPath();
    /// Expands the path and puts the current directory in front unless it then begins with "/". This goes for
    /// drive paths and URIs as well. An empty path stays empty.
    void MakeAbsolutePath();
    /// Expands the path when that makes it absolute; else puts the directory of \p base in front of the text
    /// as it stood.
    /// \param base a file: its last element doesn't count. Empty means the current directory. `errno` is
    /// ERANGE when the directory, or the path behind it, didn't fit in 1023 bytes and was left out.
    void MakeAbsolutePath(const SPathName& base);
    /// The path becomes what leads to it from the directory of \p base, both taken as full paths without
    /// expansion.
    /// \param base a file: a directory has to end in "/" to count as a whole.
    void MakeRelativePath(const SPathName& base);
    /// Appends \p suffix, with the dot that it brings along, to a path that has no suffix.
    void AddSuffix(const char* suffix);
    /// The same.
    void AddSuffix(const SString& suffix) { AddSuffix(suffix.c_str()); }
    /// Removes the suffix.
    void SubSuffix();
    /// Appends \p element as it stands behind one separator, so that an empty one just gives a path that
    /// isn't empty its final "/". Steps in the result are taken out when it is absolute. A result of 1024 bytes
    /// or more is refused: the path stays as it is, and `errno` is ENAMETOOLONG.
    void AddPathElement(const char* element);
    /// The same.
    void AddPathElement(const SString& element) { AddPathElement(element.c_str()); }

    /// Creates the directory, and its parents except the first element of a relative path.
    /// \return 1 when the directory was made or existed, else 0 with the `errno` of the system; 0 for "/" itself. Of a
    /// drive, 1 when its root is a directory.
    int CreateDirectoryA() const;
};

/// Both are equal when all bytes are.
VYN_API bool operator==(const SPathName& lhs, const SPathName& rhs);
/// The opposite.
VYN_API bool operator!=(const SPathName& lhs, const SPathName& rhs);
/// Compares with \p rhs in normal form.
VYN_API bool operator==(const SPathName& lhs, const char* rhs);
/// The opposite.
VYN_API bool operator!=(const SPathName& lhs, const char* rhs);
/// The same for the texts of other strings, as that of GetDirectory, on either side.
VYN_API bool operator==(const SPathName& lhs, const std::string& rhs);
/// The opposite.
VYN_API bool operator!=(const SPathName& lhs, const std::string& rhs);
/// The same.
VYN_API bool operator==(const std::string& lhs, const SPathName& rhs);
/// The opposite.
VYN_API bool operator!=(const std::string& lhs, const SPathName& rhs);

/// \param text not null, as for the next two.
/// \return the last "/" of the text, the last backslash when it has no "/", null when it has neither.
VYN_API char* FindLastDirSep(char* text);
/// \return the first "/" of the text, the first backslash when it has no "/", null when it has neither.
VYN_API char* FindFirstDirSep(char* text);
/// \return 1 when \p text is a URI or begins with "/", else 0.
VYN_API int IsAbsolutePathLocal(const char* text);

/// Copies \p in with its steps taken out. `/./` becomes a "/", and a ".." takes away the element before it, an
/// empty one too; without a "/" before, it takes away all there is: `/a/..` becomes empty, `c:/../b` becomes
/// `/b`. A final `/.` stays.
/// \param out at least as large as \p in with its NUL; may be \p in.
/// \return 1 when something was taken out, else 0.
VYN_API int WexPathCanonicalize(char* out, const char* in);

/// \return the suffix of \p path, with its dot and without the query of a URI; empty when there is none.
VYN_API SString GetExtentionFromPath(const SPathName& path);

}  // namespace vyn
