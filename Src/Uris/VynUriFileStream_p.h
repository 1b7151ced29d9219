#pragma once

/// \file
/// Standard streams over a `FILE`, as the file scheme hands them out.

#include <cstdio>
#include <istream>
#include <ostream>
#include <streambuf>

#include "SString.h"

namespace vyn {

/// \brief A stream buffer over a file that is open for reading or for writing.
///
/// There is no `sync`: what is written reaches the file when the buffer is full and when the stream goes.
class SFileStreamBuffer : public std::basic_streambuf<char> {
public:
    SFileStreamBuffer();

    FILE* m_pFile = nullptr;  // null when there is none; its adapter opens and closes it

protected:
    int_type underflow() override;
    int_type overflow(int_type c) override;

private:
    friend class SFile2OstreamAdapter;

    // One byte less than the buffer, so that overflow has room for the byte that it is given.
    void ResetPutArea() { setp(m_szBuffer, m_szBuffer + sizeof m_szBuffer - 1); }
    // Writes all that is pending, with no look at the result.
    void WritePending();

    char m_szBuffer[16384];  // the get area or the put area
};

/// \brief An input stream over a buffer, which it owns and which may be null.
class SFile2IstreamAdapter : public std::basic_istream<char> {
public:
    explicit SFile2IstreamAdapter(SFileStreamBuffer* buffer);
    ~SFile2IstreamAdapter() override;

    /// Opens \p path, in place of the file that was open. \p mode doesn't matter.
    void open(const SString& path, int mode);
    /// \return true when a file is open and neither at its end nor in error.
    bool good() const;
    /// Closes the file.
    void close();

private:
    SFileStreamBuffer* m_pBuffer;
};

/// \brief The same for output. The file is created, or emptied.
class SFile2OstreamAdapter : public std::basic_ostream<char> {
public:
    explicit SFile2OstreamAdapter(SFileStreamBuffer* buffer);
    /// Writes what is pending and closes the file.
    ~SFile2OstreamAdapter() override;

    void open(const SString& path, int mode);
    bool good() const;
    /// Closes the file. What is pending isn't written: that is left to the destructor of an open stream.
    void close();

private:
    SFileStreamBuffer* m_pBuffer;
};

}  // namespace vyn
