#include "Uris/VynUriFileStream_p.h"

#include "Uris/VynUri_p.h"

namespace vyn {

SFileStreamBuffer::SFileStreamBuffer() {
    std::streambuf::setbuf(m_szBuffer, sizeof m_szBuffer);
    ResetPutArea();
}

bool SFileStreamBuffer::IsGood() const {
    return m_pFile && !feof(m_pFile.get()) && !ferror(m_pFile.get());
}

bool SFileStreamBuffer::Finish() {
    if (!m_pFile) {
        return true;
    }
    const size_t count = static_cast<size_t>(pptr() - pbase());
    const bool written = fwrite(pbase(), 1, count, m_pFile.get()) == count && !ferror(m_pFile.get());
    return fclose(m_pFile.release()) == 0 && written;
}

SFileStreamBuffer::int_type SFileStreamBuffer::underflow() {
    if (!m_pFile) {
        return traits_type::eof();
    }
    const size_t count = fread(m_szBuffer, 1, sizeof m_szBuffer, m_pFile.get());
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
    const size_t written = m_pFile ? fwrite(m_szBuffer, 1, count, m_pFile.get()) : 0;
    ResetPutArea();
    return written > 0 ? static_cast<int_type>(written) : traits_type::eof();
}

SFile2IstreamAdapter::SFile2IstreamAdapter(std::unique_ptr<SFileStreamBuffer> buffer)
    : std::basic_istream<char>(buffer.get()), m_pBuffer(std::move(buffer)) {}

void SFile2IstreamAdapter::open(const SString& path, int) {
    if (m_pBuffer) {
        m_pBuffer->m_pFile.reset(fopen(path.c_str(), "re"));
    }
}

bool SFile2IstreamAdapter::good() const {
    return m_pBuffer && m_pBuffer->IsGood();
}

void SFile2IstreamAdapter::close() {
    if (m_pBuffer) {
        m_pBuffer->m_pFile.reset();
    }
}

SFile2OstreamAdapter::SFile2OstreamAdapter(std::unique_ptr<SFileStreamBuffer> buffer)
    : std::basic_ostream<char>(buffer.get()), m_pBuffer(std::move(buffer)) {}

SFile2OstreamAdapter::~SFile2OstreamAdapter() {
    if (m_pBuffer && !m_pBuffer->Finish()) {
        detail::ReportWriteError(m_strPath);
    }
}

void SFile2OstreamAdapter::open(const SString& path, int) {
    if (m_pBuffer) {
        m_pBuffer->m_pFile.reset(fopen(path.c_str(), "we"));
        m_strPath = path;
    }
}

bool SFile2OstreamAdapter::good() const {
    return m_pBuffer && m_pBuffer->IsGood();
}

void SFile2OstreamAdapter::close() {
    if (m_pBuffer) {
        m_pBuffer->m_pFile.reset();
    }
}

}  // namespace vyn
