#pragma once

/// \file
/// Error objects and the contexts that write or collect them. A tool derives its own errors and contexts from
/// these. No locks: a context belongs to one thread at a time, and threads that flush into the current
/// context take turns.

#include <cstdio>

#include "SString.h"
#include "VynM.h"

namespace vyn {

/// \brief An error: a text that is handed to a context.
class VYN_API CError {
public:
    /// An error with an empty text.
    CError() = default;
    /// \param text copied; null means the empty text.
    explicit CError(const char* text) : m_strText(text) {}
    CError(const CError&) = default;             ///< Copies.
    CError& operator=(const CError&) = default;  ///< Copies.

    /// Hands this object to the current context, `_QbxCurrentErrorCtx`. Without one nothing happens.
    virtual void Flush();
    virtual ~CError() = default;

    /// The text as it is written, with no newline added.
    SString m_strText;
};

/// \brief Where errors and messages go.
///
/// `*context << &error` and `*context << "text"` hand them over.
class VYN_API CErrorContext {
public:
    CErrorContext() = default;
    CErrorContext(const CErrorContext&) = delete;
    CErrorContext& operator=(const CErrorContext&) = delete;

    /// Takes an error. \param error not null; stays with the caller.
    virtual void FlushError(CError* error) = 0;
    /// Takes a message. \param text not null.
    virtual void FlushMessage(const char* text) = 0;
    virtual ~CErrorContext() = default;

    /// Calls FlushError. \return this context.
    CErrorContext* operator<<(CError* error);
    /// Calls FlushMessage. \return this context.
    CErrorContext* operator<<(const char* text);

    /// The number of errors flushed into the context; messages don't count.
    int m_nErrors = 0;
};

/// The context of CError::Flush, null at first. The tool sets it and keeps the context alive; the library
/// only reads it.
extern VYN_API CErrorContext* _QbxCurrentErrorCtx;

/// \brief Writes errors and messages to a file, each text as it stands.
///
/// Without a file, as when it couldn't be opened, nothing is written and nothing counted.
class VYN_API CFileErrorContext : public CErrorContext {
public:
    /// A context without a file.
    CFileErrorContext() = default;
    /// Opens the file at \p path for writing, which empties it, and closes it at the end.
    explicit CFileErrorContext(const char* path);
    /// Writes to \p file, which stays with the caller and isn't closed. Null means no file.
    explicit CFileErrorContext(FILE* file);

    /// Writes the text of \p error and counts it.
    void FlushError(CError* error) override;
    void FlushMessage(const char* text) override;
    ~CFileErrorContext() override;

private:
    SString m_strName;  // empty unless this object opened the file
    FILE* m_pFile = nullptr;
};

/// \brief Collects errors and messages as CError objects, which it owns.
class VYN_API CBufferErrorContext : public CErrorContext {
public:
    CBufferErrorContext() = default;

    /// Links a plain CError with the text of \p error and counts it. Of a derived class only the text is
    /// kept.
    void FlushError(CError* error) override;
    /// Links a plain CError with \p text, which isn't counted as an error.
    void FlushMessage(const char* text) override;
    /// Deletes every linked error.
    ~CBufferErrorContext() override;
    /// Appends \p error, which isn't null and now belongs to this context.
    virtual void AddError(CError* error);
    /// Takes \p error out and hands it back to the caller.
    /// \pre \p error is linked.
    virtual void RemoveError(CError* error);

    /// Calls AddError.
    void LinkError(CError* error);
    /// Calls RemoveError.
    void UnlinkError(CError* error);

    /// \return the first position; null when nothing is linked.
    void* GetFirstErrorPosition() const;
    /// \param[in,out] pos moves to the next error or to null. Not null.
    /// \return the error at \p pos, which belongs to this context.
    CError* GetNextError(void*& pos) const;
    /// \return whether \p error itself is linked.
    bool ErrorPresent(CError* error) const;
    /// \return the number of linked errors, messages too.
    int GetErrorCount() const;
    /// Calls `fn(error, data)` for each linked error in order, up to the first result that isn't 0. \p fn may
    /// take out the error that it is given.
    /// \return the last result; 0 when nothing is linked.
    long MapErrors(long (*fn)(CError*, void*), void* data) const;

private:
    MList<CError*> m_listErrors;
};

}  // namespace vyn
