#include "VynUri.h"

#include <cstring>

#include "Text/CharClass_p.h"

namespace vyn {

namespace {

bool HasPrefix(const char* text, const char* prefix) {
    return text && strncmp(text, prefix, strlen(prefix)) == 0;
}

}  // namespace

bool VynIsAUri(const char* text) {
    if (!detail::IsLetter(*text)) {
        return false;
    }
    while (detail::IsLetter(*text) || detail::IsDigit(*text)) {
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
