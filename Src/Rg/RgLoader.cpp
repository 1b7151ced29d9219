#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Rg/RgFile_p.h"
#include "RgFile.h"

namespace vyn {

namespace {

constexpr size_t kBufferSize = size_t{16} * 1024;

// The classes of the format, whatever the locale: bytes from 0x80 upward are in none of them.
bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

CRgLoader::CRgLoader(CRgKey& root)
    : m_root(root),
      m_pFile(nullptr),
      m_chCurrent(' '),
      m_nToken(eUnknown),
      m_pNext(nullptr),
      m_pEnd(nullptr),
      m_pBuffer(nullptr) {}

CRgLoader::~CRgLoader() = default;

int CRgLoader::Load(const char* path) {
    if (!*path) {
        return 1;
    }
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path, "r"), fclose);
    if (!file) {
        return 1;
    }
    m_pFile = file.get();
    // The loader reads in blocks of its own, and needs no second buffer behind them.
    setvbuf(m_pFile, nullptr, _IONBF, 0);
    char buffer[kBufferSize];
    m_pBuffer = buffer;
    m_pNext = m_pEnd = m_pBuffer;
    m_chCurrent = ' ';

    ReadSections();

    m_chCurrent = ' ';
    m_pBuffer = nullptr;
    m_pFile = nullptr;
    return m_nToken == eEnd ? 0 : 1;
}

// Reads the next block; false at the end of the file or on a read error.
bool CRgLoader::Fill() {
    const size_t size = fread(m_pBuffer, 1, kBufferSize, m_pFile);
    m_pNext = m_pBuffer;
    m_pEnd = m_pNext + size;
    return size > 0;
}

char CRgLoader::NextChar() {
    m_chCurrent = m_pNext < m_pEnd || Fill() ? *m_pNext++ : '\0';
    return m_chCurrent;
}

// False at the end of the input.
bool CRgLoader::SkipSpace() {
    while (IsSpace(m_chCurrent)) {
        NextChar();
    }
    return m_chCurrent != '\0';
}

// Appends the bytes from the current one on, as long as they are accepted, to the token text. NUL never is.
template <class Accept>
void CRgLoader::TakeWhile(Accept accept) {
    while (accept(m_chCurrent)) {
        m_strToken += m_chCurrent;
        const char* start = m_pNext;
        while (m_pNext < m_pEnd && accept(*m_pNext)) {
            ++m_pNext;
        }
        m_strToken.append(start, m_pNext);
        NextChar();
    }
}

// Takes a string behind its opening quote, up to the closing one or the end of the input. Most of a file is
// strings: they are taken in blocks.
void CRgLoader::TakeString() {
    m_strToken.clear();
    while (m_chCurrent != '"' && m_chCurrent != '\0') {
        const char* start = m_pNext - 1;
        const char* stop =
            static_cast<const char*>(memchr(m_pNext, '"', static_cast<size_t>(m_pEnd - m_pNext)));
        const size_t length = static_cast<size_t>((stop ? stop : m_pEnd) - start);
        const size_t taken = strnlen(start, length);
        m_strToken.append(start, taken);
        m_pNext = start + taken;
        NextChar();
    }
    if (m_chCurrent == '"') {
        NextChar();
    }
}

int CRgLoader::TakePunctuation(int kind) {
    NextChar();
    return m_nToken = kind;
}

int CRgLoader::TakeNumber() {
    uint32_t n = 0;
    for (; IsDigit(m_chCurrent); NextChar()) {
        n = n * 10 + static_cast<uint32_t>(m_chCurrent - '0');
    }
    char text[16];
    snprintf(text, sizeof text, "%d", static_cast<int32_t>(n));
    m_strToken = text;
    return m_nToken = eNumber;
}

int CRgLoader::TakeWord() {
    m_strToken.clear();
    TakeWhile([](char c) { return IsLetter(c) || IsDigit(c) || c == '_'; });
    if (m_strToken.CompareNoCase("true") == 0) {
        return m_nToken = eTrue;
    }
    return m_nToken = m_strToken.CompareNoCase("false") == 0 ? eFalse : eWord;
}

int CRgLoader::NextToken() {
    if (!SkipSpace()) {
        return m_nToken = eEnd;
    }
    switch (m_chCurrent) {
        case '"':
            NextChar();
            TakeString();
            return m_nToken = eString;
        case '(':
            return TakePunctuation(eOpen);
        case ')':
            return TakePunctuation(eClose);
        case '[':
            return TakePunctuation(eSectionOpen);
        case ']':
            return TakePunctuation(eSectionClose);
        case '=':
            return TakePunctuation(eAssign);
        case ',':
            return TakePunctuation(eComma);
        case '/':
            return TakePunctuation(eSlash);
        default:
            if (IsDigit(m_chCurrent)) {
                return TakeNumber();
            }
            return IsLetter(m_chCurrent) ? TakeWord() : TakePunctuation(eUnknown);
    }
}

int CRgLoader::NextKey() {
    if (!SkipSpace()) {
        return m_nToken = eEnd;
    }
    if (m_chCurrent == ']') {
        return TakePunctuation(eSectionOpen);  // not eSectionClose: a path doesn't end in an empty element
    }
    if (m_chCurrent == '/') {
        return TakePunctuation(eSlash);
    }
    m_strToken.clear();
    TakeWhile([](char c) { return c != ']' && c != '/' && c != '\0'; });
    return m_nToken = eName;
}

int CRgLoader::NextAttribute() {
    if (!SkipSpace()) {
        return m_nToken = eEnd;
    }
    switch (m_chCurrent) {
        case ')':
            return TakePunctuation(eClose);
        case ',':
            return TakePunctuation(eSlash);  // not eComma: part of the format
        case '=':
            return TakePunctuation(eAssign);
        default:
            m_strToken.clear();
            TakeWhile([](char c) { return c != ')' && c != ',' && c != '=' && c != '\0'; });
            return m_nToken = eName;
    }
}

void CRgLoader::ReadSections() {
    do {
        NextToken();
    } while (m_nToken == eUnknown);
    while (m_nToken == eSectionOpen && ReadSection()) {
    }
}

// Reads a section behind its `[`. False when the heading is malformed or the input ended in it.
bool CRgLoader::ReadSection() {
    CRgKey* key = &m_root;
    CRgKey* lastGood = nullptr;
    SString pendingName;
    while (NextKey() == eName) {
        if (key) {
            pendingName = m_strToken;
            key = key->CreateKey(m_strToken.c_str(), nullptr);
            if (key) {
                lastGood = key;
            }
        }
        if (NextToken() != eSlash) {
            break;
        }
    }
    if (m_nToken != eSectionClose) {
        return false;
    }

    MList<CRgAttribute*> attributes;
    if (NextToken() == eOpen) {
        ReadAttributes(&CRgLoader::NextAttribute, attributes);
    }
    if (attributes.GetCount() > 0) {
        if (key) {
            key->SetAttributes(&attributes);
        } else {
            key = lastGood ? lastGood->UseAttributes(&attributes, pendingName.c_str()) : nullptr;
            if (!key) {
                detail::DestroyAttributes(&attributes);
            }
        }
    }

    SString name;
    SString value;
    while (m_nToken == eString && ReadValue(key, name, value)) {
    }
    return true;
}

// Reads `name = value` pairs behind a `(`, and the token behind the list.
void CRgLoader::ReadAttributes(int (CRgLoader::*next)(), MList<CRgAttribute*>& attributes) {
    SString name;
    do {
        (this->*next)();
        name = m_strToken;
        if (NextToken() != eAssign) {
            break;
        }
        (this->*next)();
        attributes.AddTail(new CRgAttribute(name.c_str(), m_strToken.c_str()));
    } while (NextToken() != eClose);
    NextToken();
}

// Reads a value whose name is the current token. False when no `=` follows it. `name` and `value` are room to
// work in, kept from value to value.
bool CRgLoader::ReadValue(CRgKey* key, SString& name, SString& value) {
    name = m_strToken;
    if (NextToken() != eAssign) {
        return false;
    }
    NextToken();
    value = m_strToken;
    MList<CRgAttribute*> attributes;
    if (NextToken() == eOpen) {
        ReadAttributes(&CRgLoader::NextToken, attributes);
    }
    if (key) {
        key->CreateValue(name.c_str(), CRgValue::eText, value.c_str(), &attributes);
    } else {
        detail::DestroyAttributes(&attributes);
    }
    return true;
}

}  // namespace vyn
