#include "Buffer.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vyn {

CBuffer::CBuffer(int size)
    : m_pBuffer(static_cast<char*>(malloc(static_cast<size_t>(size)))),
      m_pWrite(m_pBuffer),
      m_nLength(0),
      m_nCapacity(m_pBuffer ? static_cast<unsigned>(size) - 1 : 0),
      m_nGrowth(static_cast<unsigned>(size)) {
    if (m_pBuffer) {
        *m_pBuffer = '\0';
    }
}

CBuffer::CBuffer(const CBuffer& other)
    : m_pBuffer(other.m_pBuffer ? static_cast<char*>(malloc(size_t{other.m_nCapacity} + 1)) : nullptr),
      m_pWrite(m_pBuffer),
      m_nLength(0),
      m_nCapacity(m_pBuffer ? other.m_nCapacity : 0),
      m_nGrowth(other.m_nGrowth) {
    if (m_pBuffer) {
        memcpy(m_pBuffer, other.m_pBuffer, size_t{other.m_nLength} + 1);
        m_nLength = other.m_nLength;
        m_pWrite += m_nLength;
    }
}

CBuffer::~CBuffer() {
    free(m_pBuffer);
}

CBuffer::operator const char*() {
    return m_pBuffer ? m_pBuffer : "";
}

unsigned CBuffer::GetLength() {
    return m_nLength;
}

bool CBuffer::IsEmpty() {
    return m_nLength == 0;
}

bool CBuffer::operator==(const char* text) {
    return text && strlen(text) == m_nLength && memcmp(text, *this, m_nLength) == 0;
}

char CBuffer::operator[](unsigned i) {
    return m_pBuffer[i];
}

// Makes room for `extra` bytes more, which are at most what two unsigned hold.
bool CBuffer::Grow(size_t extra) {
    if (!m_pBuffer) {
        errno = EINVAL;
        return false;
    }
    const size_t capacity = m_nCapacity + extra;
    char* grown = capacity < UINT_MAX ? static_cast<char*>(realloc(m_pBuffer, capacity + 1)) : nullptr;
    if (!grown) {
        errno = ENOMEM;
        return false;
    }
    m_pBuffer = grown;
    m_pWrite = m_pBuffer + m_nLength;
    m_nCapacity = static_cast<unsigned>(capacity);
    return true;
}

void CBuffer::operator+=(char c) {
    if (m_nLength == m_nCapacity && !Grow(m_nGrowth)) {
        return;
    }
    *m_pWrite++ = c;
    *m_pWrite = '\0';
    ++m_nLength;
}

void CBuffer::Append(const char* text, size_t n) {
    if (n == 0) {
        return;
    }
    // A text of this very buffer moves when the buffer grows.
    const bool own = m_pBuffer && text >= m_pBuffer && text <= m_pWrite;
    const size_t offset = own ? static_cast<size_t>(text - m_pBuffer) : 0;
    if (m_nLength + n >= m_nCapacity && !Grow(n + m_nGrowth)) {
        return;
    }
    memcpy(m_pWrite, own ? m_pBuffer + offset : text, n);
    m_pWrite += n;
    *m_pWrite = '\0';
    m_nLength += static_cast<unsigned>(n);
}

void CBuffer::operator+=(const char* text) {
    if (!text) {
        errno = EINVAL;
        return;
    }
    Append(text, strlen(text));
}

void CBuffer::operator+=(const CBuffer& other) {
    if (!other.m_pBuffer) {
        errno = EINVAL;
        return;
    }
    Append(other.m_pBuffer, other.m_nLength);
}

void CBuffer::operator+=(int n) {
    char text[32];
    snprintf(text, sizeof text, "%d", n);
    *this += text;
}

void CBuffer::operator+=(bool b) {
    *this += b ? "true" : "false";
}

void CBuffer::Empty() {
    m_nLength = 0;
    m_pWrite = m_pBuffer;
    if (m_pBuffer) {
        *m_pBuffer = '\0';
    }
}

}  // namespace vyn
