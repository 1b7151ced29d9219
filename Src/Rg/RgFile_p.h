#pragma once

/// \file
/// What the option and style keys share with the plain Rg tree.

#include "RgFile.h"

namespace vyn::detail {

/// Room for one element of a key path: 255 bytes and the NUL.
constexpr size_t kKeyElementSize = 256;

/// Copies \p length bytes of \p text to \p element, NUL-terminated.
/// \return false when they don't fit; \p element is then empty and `errno` EINVAL.
bool CopyKeyElement(const char* text, size_t length, char (&element)[kKeyElementSize]);

/// Takes the first element off a key path, as CopyKeyElement does.
/// \return the path behind the `/` that ended the element; null when it was the last.
const char* SplitKeyPath(const char* path, char (&element)[kKeyElementSize]);

/// Deletes the attribute objects of \p attributes and empties the list; null is fine.
void DestroyAttributes(MList<CRgAttribute*>* attributes);

/// A file open for writing, with room to gather much text before each write. Closed with the object.
class COutputFile {
public:
    /// Opens \p path as `fopen` does; File() is null and `errno` set when that fails.
    COutputFile(const char* path, const char* mode) : m_pFile(fopen(path, mode)) {
        if (m_pFile) {
            setvbuf(m_pFile, m_buffer, _IOFBF, sizeof m_buffer);
        }
    }
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;
    ~COutputFile() { Close(); }

    FILE* File() const { return m_pFile; }
    void Close() {
        if (m_pFile) {
            fclose(m_pFile);
            m_pFile = nullptr;
        }
    }

private:
    FILE* m_pFile;
    char m_buffer[32 * 1024];
};

/// Writes the text with no lock and no formatting.
void Put(FILE* file, const char* text);

/// \return true when a heading can hold one of the attributes: its texts aren't empty and have no character of the
/// syntax.
/// \param attributes may be null.
bool HasHeadingAttributes(MList<CRgAttribute*>* attributes);

/// Writes a section heading, with the attributes that it can hold in parentheses. The others are left out: they would
/// make the file unreadable.
/// \param attributes may be null.
void PutHeading(FILE* file, const char* path, MList<CRgAttribute*>* attributes);

}  // namespace vyn::detail
