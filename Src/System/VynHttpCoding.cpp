#include <algorithm>
#include <array>
#include <cstring>

#include "Text/CharClass_p.h"
#include "Text/InitOrder_p.h"
#include "VynHttp.h"

namespace vyn {

namespace {

// The coders work from these tables alone, so that they can be called before base64_chars is built.
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr bool IsOneOf(signed char c, const char* bytes) {
    for (; *bytes; ++bytes) {
        if (*bytes == c) {
            return true;
        }
    }
    return false;
}

// The tests take signed characters: a byte of 128 or above is negative, and none of them.
constexpr bool isAlphaOrDigitChar(signed char c) {
    return detail::IsLetter(c) || detail::IsDigit(c);
}

constexpr bool isReservedChar(signed char c) {
    return IsOneOf(c, "&/:;=?@");
}

constexpr bool isSpecialChar(signed char c) {
    return IsOneOf(c, "!$'()*+,-._");
}

constexpr bool isNormalChar(signed char c) {
    return isAlphaOrDigitChar(c) || IsOneOf(c, "!'()*-._~");
}

constexpr bool PassesPlainCoding(signed char c) {
    return isAlphaOrDigitChar(c) || isReservedChar(c) || isSpecialChar(c);
}

// How one byte goes out.
struct CodedByte {
    char text[3];
    unsigned char length;
};
using CodingTable = std::array<CodedByte, 256>;

constexpr CodingTable MakeCodingTable(bool (*passes)(signed char)) {
    constexpr char kDigits[] = "0123456789abcdef";
    CodingTable table = {};
    for (int byte = 0; byte < 256; ++byte) {
        CodedByte& entry = table[static_cast<size_t>(byte)];
        if (passes(static_cast<signed char>(byte))) {
            entry = {{static_cast<char>(byte)}, 1};
        } else {
            entry = {{'%', kDigits[byte >> 4], kDigits[byte & 15]}, 3};
        }
    }
    return table;
}

constexpr CodingTable MakeAgentCodingTable() {
    CodingTable table = MakeCodingTable(isNormalChar);
    table[' '] = {{'+'}, 1};
    return table;
}

constexpr CodingTable kPlainCoding = MakeCodingTable(PassesPlainCoding);
constexpr CodingTable kAgentCoding = MakeAgentCodingTable();

// What each byte counts as a digit behind a "%": only four bits are kept, so that a letter's case makes no
// difference and nothing has to be refused.
constexpr std::array<unsigned char, 256> MakeDigitTable() {
    std::array<unsigned char, 256> table = {};
    for (int byte = 0; byte < 256; ++byte) {
        const int value = byte >= '0' && byte <= '9' ? byte - '0' : byte - 'a' + 10;
        table[static_cast<size_t>(byte)] = static_cast<unsigned char>(value & 15);
    }
    return table;
}

constexpr std::array<unsigned char, 256> kDigitValues = MakeDigitTable();

// Codes block by block. The input is looked up anew for each block, since both may be one string.
void Encode(const std::string& in, const CodingTable& table, std::string& out) {
    constexpr size_t kBlock = 1024;
    // Whole table entries are copied, which takes a little more room than their texts.
    char coded[kBlock * sizeof CodedByte::text + sizeof(CodedByte)];
    const size_t length = in.size();
    if (length > kBlock) {
        // To grow in steps would copy a long text over and over; memory that isn't written to costs nothing.
        out.reserve(out.size() + length * sizeof CodedByte::text);
    }
    for (size_t i = 0; i < length;) {
        const char* const from = in.data();
        const size_t end = std::min(length, i + kBlock);
        char* to = coded;
        for (; i < end; ++i) {
            const CodedByte& entry = table[static_cast<unsigned char>(from[i])];
            memcpy(to, &entry, sizeof entry);
            to += entry.length;
        }
        out.append(coded, static_cast<size_t>(to - coded));
    }
}

unsigned DigitValue(char c) {
    return kDigitValues[static_cast<unsigned char>(c)];
}

// The input is read after the output has grown, since both may be one string. plus: what a "+" becomes.
void Decode(const std::string& in, char plus, std::string& out) {
    const size_t start = out.size();
    const size_t inLength = in.size();
    out.resize(start + inLength);
    const char* from = in.data();
    const char* const end = from + inLength;
    char* to = &out[start];
    while (from != end) {
        char c = *from++;
        if (c == '%' && from != end) {
            const unsigned high = DigitValue(*from++);
            const unsigned low = from != end ? DigitValue(*from++) : 0;
            c = static_cast<char>(high << 4 | low);
        } else if (c == '+') {
            c = plus;
        }
        *to++ = c;
    }
    out.resize(static_cast<size_t>(to - out.data()));
}

constexpr unsigned char kNotBase64 = 64;

constexpr std::array<unsigned char, 256> MakeBase64Values() {
    std::array<unsigned char, 256> table = {};
    for (unsigned char& value : table) {
        value = kNotBase64;
    }
    for (unsigned char i = 0; i < 64; ++i) {
        table[static_cast<unsigned char>(kAlphabet[i])] = i;
    }
    return table;
}

constexpr std::array<unsigned char, 256> kBase64Values = MakeBase64Values();

// The characters of twelve bits at a time.
struct Base64Pair {
    char text[2];
};

constexpr std::array<Base64Pair, 4096> MakeBase64Pairs() {
    std::array<Base64Pair, 4096> table = {};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = {{kAlphabet[i >> 6], kAlphabet[i & 63]}};
    }
    return table;
}

constexpr std::array<Base64Pair, 4096> kBase64Pairs = MakeBase64Pairs();

unsigned Base64Value(char c) {
    return kBase64Values[static_cast<unsigned char>(c)];
}

}  // namespace

VYN_INIT(VYN_INIT_BASE64) const std::string base64_chars = kAlphabet;

void EncodeURL(const UTF8String& in, std::string& out) {
    Encode(in, kPlainCoding, out);
}

void DecodeURL(const std::string& in, UTF8String& out) {
    Decode(in, '+', out);
}

void EncodeAgentURL(const UTF8String& in, std::string& out) {
    Encode(in, kAgentCoding, out);
}

void DecodeAgentURL(const std::string& in, UTF8String& out) {
    Decode(in, ' ', out);
}

std::string base64_encode(const unsigned char* bytes, unsigned length) {
    std::string text((size_t{length} + 2) / 3 * 4, '=');
    char* to = &text[0];
    const unsigned char* const end = bytes + length;
    for (; end - bytes >= 3; bytes += 3, to += 4) {
        const unsigned group = unsigned{bytes[0]} << 16 | unsigned{bytes[1]} << 8 | bytes[2];
        memcpy(to, kBase64Pairs[group >> 12].text, 2);
        memcpy(to + 2, kBase64Pairs[group & 4095].text, 2);
    }
    if (end - bytes == 2) {
        memcpy(to, kBase64Pairs[unsigned{bytes[0]} << 4 | bytes[1] >> 4].text, 2);
        to[2] = kAlphabet[(bytes[1] & 15) << 2];
    } else if (end - bytes == 1) {
        memcpy(to, kBase64Pairs[unsigned{bytes[0]} << 4].text, 2);
    }
    return text;
}

std::string base64_decode(const std::string& text) {
    std::string bytes((text.size() + 3) / 4 * 3, '\0');
    char* to = &bytes[0];
    const char* from = text.data();
    const char* const end = from + text.size();
    for (; end - from >= 4; from += 4) {
        const unsigned a = Base64Value(from[0]);
        const unsigned b = Base64Value(from[1]);
        const unsigned c = Base64Value(from[2]);
        const unsigned d = Base64Value(from[3]);
        if ((a | b | c | d) & kNotBase64) {
            break;
        }
        *to++ = static_cast<char>(a << 2 | b >> 4);
        *to++ = static_cast<char>(b << 4 | c >> 2);
        *to++ = static_cast<char>(c << 6 | d);
    }
    // The last group has one byte less than it has characters.
    unsigned group = 0;
    int bits = 0;
    for (; from != end && Base64Value(*from) != kNotBase64; ++from) {
        group = group << 6 | Base64Value(*from);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            *to++ = static_cast<char>(group >> bits);
        }
    }
    bytes.resize(static_cast<size_t>(to - bytes.data()));
    return bytes;
}

}  // namespace vyn
