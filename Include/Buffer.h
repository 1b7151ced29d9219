#pragma once

/// \file
/// A growing character buffer. One buffer belongs to one thread at a time.

#include <cstddef>

#include "VynExport.h"

namespace vyn {

/// \brief Growing buffer whose text is contiguous and always NUL-terminated.
///
/// The capacity is the most bytes of text that the allocation holds; it never shrinks. No operation throws:
/// an append that meets a null text leaves EINVAL in `errno`, one that finds no memory or passes 4 GiB
/// ENOMEM, and both leave the buffer as it was. A buffer that found no memory when it was made has no text, and
/// appends to it leave EINVAL.
class VYN_API CBuffer {
public:
    /// \param size bytes allocated at first and added at each growth, at least 1; the capacity is one less.
    explicit CBuffer(int size);
    /// Copies the text.
    CBuffer(const CBuffer& other);
    CBuffer& operator=(const CBuffer&) = delete;
    ~CBuffer();

    /// \return the text; valid until the next append.
    operator const char*();
    /// \return the length in bytes.
    unsigned GetLength();
    /// \return true when the length is 0.
    bool IsEmpty();
    /// \return true when \p text has the length of the buffer and the same bytes; false for null.
    bool operator==(const char* text);
    /// \return the byte at \p i, with no bounds test.
    char operator[](unsigned i);

    /// Appends the byte.
    void operator+=(char c);
    /// Appends the text.
    void operator+=(const char* text);
    /// Appends the text of \p other, which may be this buffer.
    void operator+=(const CBuffer& other);
    /// Appends \p n in decimal.
    void operator+=(int n);
    /// Appends "true" or "false".
    void operator+=(bool b);
    /// The text becomes empty; the capacity stays.
    void Empty();

private:
    void Append(const char* text, std::size_t n);
    bool Grow(std::size_t extra);

    char* m_pBuffer;
    char* m_pWrite;  // m_pBuffer + m_nLength
    unsigned m_nLength;
    unsigned m_nCapacity;
    unsigned m_nGrowth;
};

}  // namespace vyn
