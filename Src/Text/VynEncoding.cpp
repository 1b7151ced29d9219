#include "VynEncoding.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string_view>
#include <vector>

#include "Text/LateLibrary_p.h"

namespace vyn {

namespace {

static_assert(sizeof(wchar_t) == sizeof(UChar32), "a wide character is a UTF-32 unit");

// ICU counts in 32 bits, and a character takes at most four units of any form.
constexpr size_t kMaxElements = INT32_MAX / 4;

struct ByteOrderMark {
    EncodingInfo::Encoding encoding;
    std::string_view mark;
};
constexpr ByteOrderMark kMarks[] = {
    {EncodingInfo::eUTF16LE, "\xFF\xFE"}, {EncodingInfo::eUTF16BE, "\xFE\xFF"}, {EncodingInfo::eUTF8, "\xEF\xBB\xBF"}};

struct Icu {
    void* library = dlopen(VYN_ICU_SONAME, RTLD_NOW);
    VYN_LATE_FUNCTION(ucnv_open);
    VYN_LATE_FUNCTION(ucnv_close);
    VYN_LATE_FUNCTION(ucnv_fromUChars);
    VYN_LATE_FUNCTION(ucnv_toUChars);
    VYN_LATE_FUNCTION(u_strFromUTF32);
    VYN_LATE_FUNCTION(u_strToUTF32);
};

const Icu& GetIcu() {
    static const Icu icu;
    return icu;
}

struct ConverterDeleter {
    void operator()(UConverter* converter) const { GetIcu().ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterDeleter>;

Converter OpenUTF8Converter() {
    UErrorCode status = U_ZERO_ERROR;
    return Converter(GetIcu().ucnv_open("UTF-8", &status));
}

// Whether ICU can convert a text of so many elements; sets `errno` when it isn't there.
bool CanConvert(size_t length) {
    if (!GetIcu().library) {
        errno = ELIBACC;
        return false;
    }
    return length <= kMaxElements;
}

// The UTF-16 form of `text`. ICU leaves the length alone when it meets an element that is no character: the
// form is then empty.
std::vector<UChar> UTF16FromWide(const wchar_t* text) {
    const UChar32* source = reinterpret_cast<const UChar32*>(text);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    GetIcu().u_strFromUTF32(nullptr, 0, &length, source, -1, &status);
    std::vector<UChar> units(static_cast<size_t>(length) + 1);
    status = U_ZERO_ERROR;
    GetIcu().u_strFromUTF32(units.data(), length + 1, nullptr, source, -1, &status);
    units.resize(static_cast<size_t>(length));
    return units;
}

// Says whether a well-formed multi-byte sequence starts at `text`. A bad one sets `invalid`; ASCII and bare
// continuation bytes are neither.
bool IsCharUTF8(const unsigned char* text, bool& invalid) {
    const unsigned char byte = *text;
    if (byte >= 0xFE) {
        invalid = true;
        return false;
    }
    int length = 0;
    while (length < 6 && (byte << length & 0x80)) {
        ++length;
    }
    if (length < 2) {
        return false;
    }
    // The NUL at the end isn't a continuation byte, so nothing behind it is looked at.
    for (int i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) {
            invalid = true;
            return false;
        }
    }
    if ((text[length] & 0xC0) == 0x80) {
        invalid = true;
        return false;
    }
    return true;
}

EncodingInfo::Encoding UTF8OrUnknown(const char* text) {
    return IsUTF8(text) ? EncodingInfo::eUTF8 : EncodingInfo::eUnknown;
}

}  // namespace

void getUTF8StringFromUTF16or32(std::basic_string<char>& out, const wchar_t* text) {
    out.clear();
    if (!text || !CanConvert(wcslen(text))) {
        return;
    }
    const std::vector<UChar> units = UTF16FromWide(text);
    const int32_t count = static_cast<int32_t>(units.size());
    const Converter converter = OpenUTF8Converter();
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = GetIcu().ucnv_fromUChars(converter.get(), nullptr, 0, units.data(), count, &status);
    out.resize(static_cast<size_t>(length));
    status = U_ZERO_ERROR;
    GetIcu().ucnv_fromUChars(converter.get(), &out[0], length, units.data(), count, &status);
}

void getUTF16or32StringFromUTF8(std::basic_string<wchar_t>& out, const char* text) {
    out.clear();
    if (!text || !CanConvert(strlen(text))) {
        return;
    }
    const Converter converter = OpenUTF8Converter();
    UErrorCode status = U_ZERO_ERROR;
    const int32_t count = GetIcu().ucnv_toUChars(converter.get(), nullptr, 0, text, -1, &status);
    std::vector<UChar> units(static_cast<size_t>(count) + 1);
    status = U_ZERO_ERROR;
    GetIcu().ucnv_toUChars(converter.get(), units.data(), count + 1, text, -1, &status);

    out.resize(static_cast<size_t>(count));
    int32_t length = 0;
    status = U_ZERO_ERROR;
    GetIcu().u_strToUTF32(reinterpret_cast<UChar32*>(&out[0]), count, &length, units.data(), count, &status);
    out.resize(static_cast<size_t>(length));
}

UTF8String::UTF8String(const wchar_t* text) {
    getUTF8StringFromUTF16or32(*this, text);
}

UTF8String::UTF8String(const WString& text) : UTF8String(text.c_str()) {}

UTF8String::UTF8String(const ANSIString& text) {
    CreateFromSystemLocaleEncodedString(text);
}

UTF8String& UTF8String::operator=(const wchar_t* text) {
    getUTF8StringFromUTF16or32(*this, text);
    return *this;
}

UTF8String& UTF8String::operator=(const WString& text) {
    return *this = text.c_str();
}

UTF8String& UTF8String::operator=(const ANSIString& text) {
    CreateFromSystemLocaleEncodedString(text);
    return *this;
}

void UTF8String::CreateFromSystemLocaleEncodedString(const ANSIString& text) {
    *this = WString(text);
}

void SString::CreateFromSystemLocaleEncodedString(const char* text) {
    ANSIString encoded;
    encoded = text;
    UTF8String::CreateFromSystemLocaleEncodedString(encoded);
}

WString::WString(const char* text) {
    CreateFromUTF8String(UTF8String(text));
}

WString::WString(const UTF8String& text) {
    CreateFromUTF8String(text);
}

WString::WString(const ANSIString& text) {
    CreateFromSystemLocaleEncodedString(text);
}

WString& WString::operator=(const char* text) {
    CreateFromUTF8String(UTF8String(text));
    return *this;
}

WString& WString::operator=(const UTF8String& text) {
    CreateFromUTF8String(text);
    return *this;
}

WString& WString::operator=(const ANSIString& text) {
    CreateFromSystemLocaleEncodedString(text);
    return *this;
}

void WString::CreateFromUTF8String(const UTF8String& text) {
    getUTF16or32StringFromUTF8(*this, text.c_str());
}

void WString::CreateFromSystemLocaleEncodedString(const ANSIString& text) {
    clear();
    const size_t measured = mbstowcs(nullptr, text.c_str(), text.length() + 1);
    if (measured == static_cast<size_t>(-1)) {
        return;
    }
    resize(measured);
    const size_t converted = mbstowcs(&(*this)[0], text.c_str(), measured);
    resize(converted == measured ? measured : 0);
}

ANSIString::ANSIString(const UTF8String& text) : ANSIString(WString(text)) {}

ANSIString::ANSIString(const WString& text) {
    *this = text;
}

ANSIString& ANSIString::operator=(const UTF8String& text) {
    return *this = WString(text);
}

ANSIString& ANSIString::operator=(const WString& text) {
    clear();
    const size_t measured = wcstombs(nullptr, text.c_str(), wcslen(text.c_str()));
    if (measured == static_cast<size_t>(-1)) {
        return *this;
    }
    resize(measured);
    const size_t converted = wcstombs(&(*this)[0], text.c_str(), measured);
    resize(converted == measured ? measured : 0);
    return *this;
}

std::basic_string<char> EncodingInfo::GetEncodingName() const {
    switch (m_nEncoding) {
        case eUTF16LE:
            return "UTF-16LE";
        case eUTF16BE:
            return "UTF-16BE";
        case eUTF8:
            return "UTF-8";
        case eASCII:
            return "US-ASCII";
        default:
            return "Unknown";
    }
}

EncodingInfo DetectEncoding(const char* data, unsigned length) {
    EncodingInfo info;
    if (length == 0) {
        info.m_nEncoding = UTF8OrUnknown(data);
        return info;
    }
    for (const auto& row : kMarks) {
        if (std::string_view(data, length).substr(0, row.mark.length()) == row.mark) {
            info.m_nEncoding = row.encoding;
            info.m_bByteOrderMark = true;
            return info;
        }
    }
    size_t zeros[2] = {};  // at even and at odd offsets
    for (unsigned i = 0; i < length; ++i) {
        if (data[i] == '\0') {
            ++zeros[i % 2];
        }
    }
    if (zeros[0] == 0 && zeros[1] == 0) {
        // Copied, since the block itself need not end in a NUL.
        info.m_nEncoding = UTF8OrUnknown(std::basic_string<char>(data, length).c_str());
        return info;
    }
    info.m_nEncoding = zeros[1] >= zeros[0] ? EncodingInfo::eUTF16LE : EncodingInfo::eUTF16BE;
    return info;
}

bool IsUTF8(const char* text) {
    int good = 0;   // well-formed multi-byte sequences
    int esc = 0;    // escape sequences that other encodings use
    int other = 0;  // high bytes that start no well-formed sequence
    bool invalid = false;
    // The continuation bytes of a good sequence are visited like any other byte.
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p; ++p) {
        if (!invalid && IsCharUTF8(p, invalid)) {
            ++good;
        } else if (*p == 0x1B) {
            if (p[1] == '$' && (p[2] == 'B' || p[2] == '@')) {
                return false;
            }
            if (p[1] == '(' && (p[2] == 'J' || p[2] == 'B')) {
                ++esc;
            }
        } else if (*p >= 0x80 && *p <= 0x8D) {
            return good > 0;
        } else if (*p >= 0x80) {
            ++other;
            if (*p >= 0x90 && *p <= 0x9F) {
                return good > 0;
            }
        }
    }
    return esc < good && other < good;
}

}  // namespace vyn
