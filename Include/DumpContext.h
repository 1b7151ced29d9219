#pragma once

/// \file
/// Dump contexts, which write simple values as text to a file or a buffer. No locks: a context belongs to one
/// thread at a time.

#include <cstdio>

#include "Buffer.h"
#include "SString.h"

namespace vyn {

/// \brief Where simple values are written as text, one after the other with nothing between them.
class VYN_API CDumpCtx {
public:
    CDumpCtx() = default;
    CDumpCtx(const CDumpCtx&) = delete;
    CDumpCtx& operator=(const CDumpCtx&) = delete;

    /// Writes \p value in decimal. \return this context.
    virtual CDumpCtx* operator<<(int value) = 0;
    /// Writes "true" or "false". \return this context.
    virtual CDumpCtx* operator<<(bool value) = 0;
    /// Writes the character. \return this context.
    virtual CDumpCtx* operator<<(char value) = 0;
    /// Writes the text, which isn't null. \return this context.
    virtual CDumpCtx* operator<<(const char* value) = 0;
    virtual ~CDumpCtx() = default;
};

/// \brief Writes values to a file. Without a file, as when it couldn't be opened, nothing is written.
class VYN_API CFileDumpContext : public CDumpCtx {
public:
    /// A context without a file.
    CFileDumpContext() = default;
    /// Writes to \p file, which stays with the caller and isn't closed. Null means no file.
    explicit CFileDumpContext(FILE* file);
    /// Opens the file at \p path for writing, which empties it, and closes it at the end.
    explicit CFileDumpContext(const char* path);

    CDumpCtx* operator<<(int value) override;
    CDumpCtx* operator<<(bool value) override;
    CDumpCtx* operator<<(char value) override;
    CDumpCtx* operator<<(const char* value) override;
    ~CFileDumpContext() override;

private:
    SString m_strName;  // empty unless this object opened the file
    FILE* m_pFile = nullptr;
};

/// \brief Writes values to a buffer.
class VYN_API CStringDumpContext : public CDumpCtx {
public:
    CStringDumpContext();

    CDumpCtx* operator<<(int value) override;
    CDumpCtx* operator<<(bool value) override;
    CDumpCtx* operator<<(char value) override;
    CDumpCtx* operator<<(const char* value) override;

    /// \return the text so far; valid until the next value is written.
    operator const char*();

private:
    CBuffer m_buffer;
};

}  // namespace vyn
