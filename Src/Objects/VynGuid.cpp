#include "VynGuid.h"

#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace k4 {

void GUID::ToString(std::string& out) const {
    char text[37];
    snprintf(text, sizeof text, "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X", Data1, Data2, Data3, Data4[0],
             Data4[1], Data4[2], Data4[3], Data4[4], Data4[5], Data4[6], Data4[7]);
    out = text;
}

bool GUID::FromString(const std::string& text, GUID& out) {
    unsigned head[3] = {};
    unsigned tail[8] = {};
    const int fields = sscanf(text.c_str(), "%8x-%4x-%4x-%2x%2x-%2x%2x%2x%2x%2x%2x", &head[0], &head[1], &head[2],
                              &tail[0], &tail[1], &tail[2], &tail[3], &tail[4], &tail[5], &tail[6], &tail[7]);
    out = GUID{};
    if (fields != 11) {
        return false;
    }
    out.Data1 = head[0];
    out.Data2 = static_cast<std::uint16_t>(head[1]);
    out.Data3 = static_cast<std::uint16_t>(head[2]);
    for (int i = 0; i < 8; ++i) {
        out.Data4[i] = static_cast<std::uint8_t>(tail[i]);
    }
    return true;
}

bool operator==(const GUID& a, const GUID& b) {
    static_assert(sizeof(GUID) == 16, "the comparison takes all bytes, so there is no padding");
    return memcmp(&a, &b, sizeof(GUID)) == 0;
}

}  // namespace k4

namespace {

std::uint32_t guidCounter = 0;

// Writes `value` as six characters to `out`, least significant first, and returns the end of what was
// written.
char* Encode64(std::uint32_t value, char* out) {
    static constexpr char kTable[] = "ELVISAlive5BCD0FGH3JK1MNOPQR4TU2WXYZabcd9fgh7jk6mnopqrstu8wxyz-*";
    static_assert(sizeof kTable == 64 + 1, "one character for each value of six bits");
    for (int i = 0; i < 6; ++i) {
        *out++ = kTable[value & 63];
        value >>= 6;
    }
    return out;
}

}  // namespace

void VynCreateGuid(vyn::SString& out) {
    timeval now = {};
    gettimeofday(&now, nullptr);
    char text[24];
    char* end = Encode64(guidCounter++, text);
    end = Encode64(static_cast<std::uint32_t>(getpid()), end);
    end = Encode64(static_cast<std::uint32_t>(now.tv_sec), end);
    end = Encode64(static_cast<std::uint32_t>(gethostid()), end);
    out.assign(text, end);
}
