#include "Uris/VynUriFileStream_p.h"

namespace vyn {

namespace {

void Close(SFileStreamBuffer* buffer) {
    if (buffer && buffer->m_pFile) {
        fclose(buffer->m_pFile);
        buffer->m_pFile = nullptr;
    }
}

void Open(SFileStreamBuffer* buffer, const SString& path, const char* mode) {
    if (buffer) {
        Close(buffer);
        buffer->m_pFile = fopen(path.c_str(), mode);
    }
}

bool IsGood(const SFileStreamBuffer* buffer) {
    return buffer && buffer->m_pFile && !feof(buffer->m_pFile) && !ferror(buffer->m_pFile);
}

}  // namespace

SFileStreamBuffer::SFileStreamBuffer() {
    std::streambuf::setbuf(m_szBuffer, sizeof m_szBuffer);
    ResetPutArea();
}

SFileStreamBuffer::int_type SFileStreamBuffer::underflow() {
    if (!m_pFile) {
        return traits_type::eof();
    }
    const size_t count = fread(m_szBuffer, 1, sizeof m_szBuffer, m_pFile);
    if (count == 0) {
        return traits_type::eof();
    }
    setg(m_szBuffer, m_szBuffer, m_szBuffer + count);
    return traits_type::to_int_type(m_szBuffer[0]);
}

SFileStreamBuffer::int_type SFileStreamBuffer::overflow(int_type c) {
    size_t count = static_cast<size_t>(pptr() - pbase());
    if (c != traits_type::eof()) {
        m_szBuffer[count++] = traits_type::to_char_type(c);
    }
    const size_t written = m_pFile ? fwrite(m_szBuffer, 1, count, m_pFile) : 0;
    ResetPutArea();
    return written > 0 ? static_cast<int_type>(written) : traits_type::eof();
}

void SFileStreamBuffer::WritePending() {
    if (m_pFile && pptr() > pbase()) {
        fwrite(pbase(), 1, static_cast<size_t>(pptr() - pbase()), m_pFile);
    }
}

SFile2IstreamAdapter::SFile2IstreamAdapter(SFileStreamBuffer* buffer)
    : std::basic_istream<char>(buffer), m_pBuffer(buffer) {}

SFile2IstreamAdapter::~SFile2IstreamAdapter() {
    close();
    delete m_pBuffer;
}

void SFile2IstreamAdapter::open(const SString& path, int) {
    Open(m_pBuffer, path, "r");
}

bool SFile2IstreamAdapter::good() const {
    return IsGood(m_pBuffer);
}

void SFile2IstreamAdapter::close() {
    Close(m_pBuffer);
}

SFile2OstreamAdapter::SFile2OstreamAdapter(SFileStreamBuffer* buffer)
    : std::basic_ostream<char>(buffer), m_pBuffer(buffer) {}

SFile2OstreamAdapter::~SFile2OstreamAdapter() {
    if (m_pBuffer) {
        m_pBuffer->WritePending();
    }
    close();
    delete m_pBuffer;
}

void SFile2OstreamAdapter::open(const SString& path, int) {
    Open(m_pBuffer, path, "w");
}

bool SFile2OstreamAdapter::good() const {
    return IsGood(m_pBuffer);
}

void SFile2OstreamAdapter::close() {
    Close(m_pBuffer);
}

}  // namespace vyn
