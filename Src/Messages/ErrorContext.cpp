#include "ErrorContext.h"

namespace vyn {

CErrorContext* _QbxCurrentErrorCtx = nullptr;

void CError::Flush() {
    if (_QbxCurrentErrorCtx) {
        *_QbxCurrentErrorCtx << this;
    }
}

CErrorContext* CErrorContext::operator<<(CError* error) {
    FlushError(error);
    return this;
}

CErrorContext* CErrorContext::operator<<(const char* text) {
    FlushMessage(text);
    return this;
}

CFileErrorContext::CFileErrorContext(const char* path) : m_strName(path), m_pFile(fopen(m_strName.c_str(), "we")) {}

CFileErrorContext::CFileErrorContext(FILE* file) : m_pFile(file) {}

void CFileErrorContext::FlushError(CError* error) {
    if (m_pFile) {
        fputs(error->m_strText.c_str(), m_pFile);
        ++m_nErrors;
    }
}

void CFileErrorContext::FlushMessage(const char* text) {
    if (m_pFile) {
        fputs(text, m_pFile);
    }
}

CFileErrorContext::~CFileErrorContext() {
    if (m_pFile && !m_strName.empty()) {
        fclose(m_pFile);
    }
}

void CBufferErrorContext::FlushError(CError* error) {
    LinkError(new CError(*error));
    ++m_nErrors;
}

void CBufferErrorContext::FlushMessage(const char* text) {
    LinkError(new CError(text));
}

CBufferErrorContext::~CBufferErrorContext() {
    for (void* pos = m_listErrors.GetHeadPosition(); pos;) {
        delete m_listErrors.GetNext(pos);
    }
}

void CBufferErrorContext::AddError(CError* error) {
    m_listErrors.AddTail(error);
}

void CBufferErrorContext::RemoveError(CError* error) {
    m_listErrors.RemoveAt(m_listErrors.Find(error));
}

void CBufferErrorContext::LinkError(CError* error) {
    AddError(error);
}

void CBufferErrorContext::UnlinkError(CError* error) {
    RemoveError(error);
}

void* CBufferErrorContext::GetFirstErrorPosition() const {
    return m_listErrors.GetHeadPosition();
}

CError* CBufferErrorContext::GetNextError(void*& pos) const {
    return m_listErrors.GetNext(pos);
}

bool CBufferErrorContext::ErrorPresent(CError* error) const {
    return m_listErrors.Find(error) != nullptr;
}

int CBufferErrorContext::GetErrorCount() const {
    return m_listErrors.GetCount();
}

long CBufferErrorContext::MapErrors(long (*fn)(CError*, void*), void* data) const {
    long result = 0;
    for (void* pos = m_listErrors.GetHeadPosition(); pos && result == 0;) {
        CError* error = m_listErrors.GetNext(pos);
        result = fn(error, data);
    }
    return result;
}

}  // namespace vyn
