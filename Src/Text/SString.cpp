#include "SString.h"

#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "Text/CharClass_p.h"
#include "Text/Environment_p.h"

namespace vyn {

namespace {

bool bNormalizeLineEndings = false;

// The reference that stands for `c` in XML character data; null when the byte stands for itself.
const char* XMLReplacement(signed char c) {
    switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#x09;";
        case '\n':
            return "&#x0A;";
        case '\r':
            return bNormalizeLineEndings ? "" : "&#x0D;";
        default:
            return c < 32 ? " " : nullptr;
    }
}

}  // namespace

int SString::Compare(const char* rhs) const {
    return strcmp(c_str(), rhs);
}

int SString::Compare(const SString& rhs) const {
    return strcmp(c_str(), rhs.c_str());
}

int SString::CompareNoCase(const char* rhs) const {
    return strcasecmp(c_str(), rhs);
}

int SString::CompareNoCase(const SString& rhs) const {
    return strcasecmp(c_str(), rhs.c_str());
}

int SString::Find(const char* needle) const {
    if (!needle) {
        throw std::logic_error("SString::Find: null");
    }
    const char* found = strstr(c_str(), needle);
    return found ? static_cast<int>(found - c_str()) : -1;
}

int SString::Insert(int pos, const char* text) {
    insert(static_cast<size_t>(pos), text);
    return static_cast<int>(length());
}

int SString::Insert(int pos, char c) {
    insert(static_cast<size_t>(pos), 1, c);
    return static_cast<int>(length());
}

int SString::Insert(int pos, const SString& text) {
    return Insert(pos, text.c_str());
}

void SString::MakeUpper() {
    detail::ToUpper(*this);
}

void SString::MakeLower() {
    detail::ToLower(*this);
}

bool VynGetCurrentDirectory(SString& dir) {
    dir.clear();
    char* buffer = getcwd(nullptr, 1024);
    if (!buffer) {
        return false;
    }
    dir = buffer;
    free(buffer);
    return true;
}

void SetNormalizeLineEndings(bool on) {
    bNormalizeLineEndings = on;
}

void XMLMapSingleDataCharacter(const char* src, char* dst, unsigned dstSize) {
    if (!dst) {
        errno = EINVAL;
        return;
    }
    dst[0] = '\0';
    const char* replacement = XMLReplacement(static_cast<signed char>(*src));
    if (!replacement) {
        dst[0] = *src;
        dst[1] = '\0';
        return;
    }
    size_t size = strlen(replacement) + 1;
    if (dstSize < size) {
        errno = ERANGE;
        return;
    }
    memcpy(dst, replacement, size);
}

const char* VynGetEnvironmentVariable(const SString& name) {
    return detail::Environment(name.c_str());
}

const char* VynGetEnvironmentVariable(const char* name) {
    const char* value = detail::Environment(name);
    if (!value) {
        return nullptr;
    }
    static auto& text = *new UTF8String;  // never destroyed: a tool may hold the result until its very end
    text = value;
    return text.c_str();
}

}  // namespace vyn
