#include "DumpContext.h"

namespace vyn {

CFileDumpContext::CFileDumpContext(FILE* file) : m_pFile(file) {}

CFileDumpContext::CFileDumpContext(const char* path) : m_strName(path), m_pFile(fopen(m_strName.c_str(), "we")) {}

CDumpCtx* CFileDumpContext::operator<<(int value) {
    if (m_pFile) {
        fprintf(m_pFile, "%d", value);
    }
    return this;
}

CDumpCtx* CFileDumpContext::operator<<(bool value) {
    if (m_pFile) {
        fprintf(m_pFile, "%s", value ? "true" : "false");
    }
    return this;
}

CDumpCtx* CFileDumpContext::operator<<(char value) {
    if (m_pFile) {
        fprintf(m_pFile, "%c", value);
    }
    return this;
}

CDumpCtx* CFileDumpContext::operator<<(const char* value) {
    if (m_pFile) {
        fprintf(m_pFile, "%s", value);
    }
    return this;
}

CFileDumpContext::~CFileDumpContext() {
    if (m_pFile && !m_strName.empty()) {
        fclose(m_pFile);
    }
}

CStringDumpContext::CStringDumpContext() : m_buffer(512) {}

CDumpCtx* CStringDumpContext::operator<<(int value) {
    m_buffer += value;
    return this;
}

CDumpCtx* CStringDumpContext::operator<<(bool value) {
    m_buffer += value;
    return this;
}

CDumpCtx* CStringDumpContext::operator<<(char value) {
    m_buffer += value;
    return this;
}

CDumpCtx* CStringDumpContext::operator<<(const char* value) {
    m_buffer += value;
    return this;
}

CStringDumpContext::operator const char*() {
    return m_buffer;
}

}  // namespace vyn
