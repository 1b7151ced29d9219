#pragma once

/// \file
/// Standard streams over a `FILE`, as the file scheme hands them out.

#include <cstdio>
#include <istream>
#include <memory>
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

    /// \return true when a file is open and neither at its end nor in error.
    bool IsGood() const;
    /// Writes what is pending and closes the file, if there is one.
    /// \return true when all that was ever written has arrived.
    bool Finish();

    std::unique_ptr<FILE, int (*)(FILE*)> m_pFile{nullptr, fclose};  // null when there is none

protected:
    int_type underflow() override;
    int_type overflow(int_type c) override;

private:
    // One byte less than the buffer, so that overflow has room for the byte that it is given.
    void ResetPutArea() { setp(m_szBuffer, m_szBuffer + sizeof m_szBuffer - 1); }

    char m_szBuffer[16384];  // the get area or the put area
};

/// What the file scheme passes as the mode of a stream. It has no influence.
enum SFileStreamMode { eFileStreamRead = 4, eFileStreamWrite = 8 };

/// \brief An input stream over a buffer, which may be null.
class SFile2IstreamAdapter : public std::basic_istream<char> {
public:
    explicit SFile2IstreamAdapter(std::unique_ptr<SFileStreamBuffer> buffer);

    /// Opens \p path, in place of the file that was open. \p mode doesn't matter.
    void open(const SString& path, int mode);
    /// \return true when a file is open and neither at its end nor in error.
    bool good() const;
    /// Closes the file.
    void close();

private:
    std::unique_ptr<SFileStreamBuffer> m_pBuffer;
};

/// \brief The same for output. The file is created, or emptied.
class SFile2OstreamAdapter : public std::basic_ostream<char> {
public:
    explicit SFile2OstreamAdapter(std::unique_ptr<SFileStreamBuffer> buffer);
    /// Writes what is pending and closes the file. What couldn't be written is reported on vynerr, since nobody can
    /// ask the stream any more.
    ~SFile2OstreamAdapter() override;

    void open(const SString& path, int mode);
    bool good() const;
    /// Closes the file. What is pending isn't written: that is left to the destructor of an open stream.
    void close();

private:
    std::unique_ptr<SFileStreamBuffer> m_pBuffer;
    SString m_strPath;  // for the report
};

}  // namespace vyn
