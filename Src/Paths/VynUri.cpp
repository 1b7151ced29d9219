#include "VynUri.h"

#include <cstring>

namespace vyn {

namespace {

// ASCII only, whatever the locale says.
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool HasPrefix(const char* text, const char* prefix) {
    return text && strncmp(text, prefix, strlen(prefix)) == 0;
}

}  // namespace

bool VynIsAUri(const char* text) {
    if (!IsLetter(*text)) {
        return false;
    }
    while (IsLetter(*text) || IsDigit(*text)) {
        ++text;
    }
    return *text == ':';
}

bool VynIsAUrn(const char* text) {
    return HasPrefix(text, "urn:");
}

bool VynIsAReqixUri(const char* text) {
    return HasPrefix(text, "reqix:");
}

bool VynIsAQLUri(const char* text) {
    return HasPrefix(text, "ql:");
}

}  // namespace vyn
