#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#ifdef __x86_64__
#include <immintrin.h>
#endif

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

constexpr size_t kRun = 16;

// Copies up to the next "%", sixteen bytes at a time; what is left of the text may be less. Returns the bytes copied.
#ifdef __x86_64__
size_t CopyRun(const char* from, size_t length, char plus, char* to) {
    const __m128i percent = _mm_set1_epi8('%');
    const __m128i plusSign = _mm_set1_epi8('+');
    const __m128i change = _mm_set1_epi8(static_cast<char>('+' ^ plus));
    size_t done = 0;
    for (; length - done >= kRun; done += kRun) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done));
        const __m128i copy = _mm_xor_si128(bytes, _mm_and_si128(_mm_cmpeq_epi8(bytes, plusSign), change));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done), copy);
        const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, percent));
        if (found != 0) {
            return done + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(found)));
        }
    }
    return done;
}
#else
size_t CopyRun(const char* from, size_t length, char plus, char* to) {
    size_t done = 0;
    for (; done < length && from[done] != '%'; ++done) {
        to[done] = from[done] == '+' ? plus : from[done];
    }
    return done;
}
#endif

// The input is read after the output has grown, since both may be one string. plus: what a "+" becomes.
void Decode(const std::string& in, char plus, std::string& out) {
    const size_t start = out.size();
    const size_t inLength = in.size();
    out.resize(start + inLength);
    const char* from = in.data();
    const char* const end = from + inLength;
    char* to = &out[start];
    while (from != end) {
        const size_t run = *from == '%' ? 0 : CopyRun(from, static_cast<size_t>(end - from), plus, to);
        from += run;
        to += run;
        // Escapes come in rows, and the end of the text is too short for a run.
        while (from != end && (*from == '%' || static_cast<size_t>(end - from) < kRun)) {
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

// Base64 goes block by block over memory that stays in the cache: what is made of one is appended to the result.
constexpr size_t kBase64Groups = 1024;

#ifdef __x86_64__
#define VYN_AVX2 __attribute__((target("avx2")))

bool HasVectors() {
    __builtin_cpu_init();  // may come before the constructors of the compiler's own library
    return __builtin_cpu_supports("avx2");
}

// Twice the same sixteen bytes.
VYN_AVX2 __m256i Twice(__m128i bytes) {
    return _mm256_broadcastsi128_si256(bytes);
}

// Codes 24 bytes at a time while 28 can be read. Returns the bytes that were coded.
VYN_AVX2 size_t EncodeVectors(const unsigned char* bytes, size_t length, char* to) {
    // Each group becomes a word of four bytes that overlap by what the multiplications shift into place.
    const __m256i order = Twice(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    // What is added to a value: by its class, 13 for letters in upper case, 0 for those in lower case, else 1 to 12.
    const __m256i offsets = Twice(_mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                                '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0));
    size_t done = 0;
    for (; length - done >= 28; done += 24, to += 32) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + done));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + done + 12));
        const __m256i groups = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), order);
        const __m256i odd =
            _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0fc0fc00)), _mm256_set1_epi32(0x04000040));
        const __m256i even =
            _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003f03f0)), _mm256_set1_epi32(0x01000010));
        const __m256i values = _mm256_or_si256(odd, even);
        const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
        const __m256i classes = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                                _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
        const __m256i text = _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, classes));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), text);
    }
    return done;
}

// Decodes 32 characters at a time up to a foreign one; 8 bytes behind the result are written too. Returns the
// characters that were decoded.
VYN_AVX2 size_t DecodeVectors(const char* text, size_t length, char* to) {
    // A character is foreign when the bits of its two halves meet.
    const __m256i lowBits = Twice(
        _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1a, 0x1b, 0x1b, 0x1b, 0x1a));
    const __m256i highBits = Twice(
        _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10));
    // What is added to a character, by its upper half; "/" has the place before that of its half.
    const __m256i offsets =
        Twice(_mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0));
    const __m256i order = Twice(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
    const __m256i slash = _mm256_set1_epi8('/');  // its bits serve as the mask of a half, too
    size_t done = 0;
    for (; length - done >= 32; done += 32, to += 24) {
        const __m256i chars = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + done));
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(chars, 4), slash);
        const __m256i low = _mm256_and_si256(chars, slash);
        if (!_mm256_testz_si256(_mm256_shuffle_epi8(lowBits, low), _mm256_shuffle_epi8(highBits, high))) {
            break;
        }
        const __m256i places = _mm256_add_epi8(_mm256_cmpeq_epi8(chars, slash), high);
        const __m256i values = _mm256_add_epi8(chars, _mm256_shuffle_epi8(offsets, places));
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
        const __m256i groups = _mm256_shuffle_epi8(_mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000)), order);
        const __m256i bytes = _mm256_permutevar8x32_epi32(groups, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
    }
    return done;
}
#else
bool HasVectors() {
    return false;
}
size_t EncodeVectors(const unsigned char*, size_t, char*) {
    return 0;
}
size_t DecodeVectors(const char*, size_t, char*) {
    return 0;
}
#endif

// Codes a block, with padding when it isn't one of whole groups. Returns the end of the text.
char* EncodeBlock(const unsigned char* bytes, size_t length, bool hasVectors, char* to) {
    const unsigned char* const end = bytes + length;
    if (hasVectors) {
        const size_t done = EncodeVectors(bytes, length, to);
        bytes += done;
        to += done / 3 * 4;
    }
    for (; end - bytes >= 3; bytes += 3, to += 4) {
        const unsigned group = unsigned{bytes[0]} << 16 | unsigned{bytes[1]} << 8 | bytes[2];
        memcpy(to, kBase64Pairs[group >> 12].text, 2);
        memcpy(to + 2, kBase64Pairs[group & 4095].text, 2);
    }
    if (bytes == end) {
        return to;
    }
    const unsigned second = end - bytes == 2 ? bytes[1] : 0U;
    memcpy(to, kBase64Pairs[unsigned{bytes[0]} << 4 | second >> 4].text, 2);
    to[2] = end - bytes == 2 ? kAlphabet[(second & 15) << 2] : '=';
    to[3] = '=';
    return to + 4;
}

// Decodes a block up to a foreign character. Returns the end of the bytes, and the end of the characters in `from`.
char* DecodeBlock(const char*& from, const char* end, bool hasVectors, char* to) {
    if (hasVectors) {
        const size_t done = DecodeVectors(from, static_cast<size_t>(end - from), to);
        from += done;
        to += done / 4 * 3;
    }
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
    return to;
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
    constexpr size_t kBlock = kBase64Groups * 3;
    char block[kBase64Groups * 4];
    const bool hasVectors = HasVectors();
    std::string text;
    text.reserve((size_t{length} + 2) / 3 * 4);
    for (size_t done = 0; done < length; done += kBlock) {
        char* const end = EncodeBlock(bytes + done, std::min(length - done, kBlock), hasVectors, block);
        text.append(block, end);
    }
    return text;
}

std::string base64_decode(const std::string& text) {
    constexpr size_t kBlock = kBase64Groups * 4;
    constexpr size_t kWrittenBehind = 8;
    char block[kBase64Groups * 3 + kWrittenBehind];
    const bool hasVectors = HasVectors();
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
        const char* const blockEnd = from + std::min(static_cast<size_t>(end - from), kBlock);
        bytes.append(block, DecodeBlock(from, blockEnd, hasVectors, block));
        if (from != blockEnd) {
            break;
        }
    }
    return bytes;
}

}  // namespace vyn
