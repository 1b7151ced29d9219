#pragma once

/// \file
/// Strings whose type names their encoding, the conversions between them, and the guess of the encoding of a
/// block of bytes. No shared state but the process's locale, which the tool sets once at start: distinct
/// strings may be used by different threads.
///
/// A conversion takes text up to its first NUL and reports no failure. What comes out of text that can't be
/// converted is the same everywhere:
/// - each bad sequence of UTF-8 becomes U+FFFD;
/// - a wide text with an element that is no character (a surrogate, or beyond U+10FFFF) becomes the empty
/// text;
/// - a text that the system locale's encoding can't read or can't hold becomes the empty text, and `errno` is
///   EILSEQ;
/// - a text of more than 2^29 - 1 elements becomes the empty text;
/// - where ICU, which is opened at the first conversion, isn't installed, every text becomes the empty text, and
/// `errno`   is ELIBACC.

#include <string>

#include "SString.h"

namespace vyn {

/// \brief A string of wide characters, one per element: UTF-32.
///
/// All members of the standard string are available, and copies are independent values. A `std::string`
/// isn't taken: give it the type that tells its encoding.
class VYN_API WString : public std::basic_string<wchar_t> {
public:
    WString() = default;
    WString(const WString&) = default;  ///< Copies.
    WString(WString&&) = default;       ///< Takes over the text of the other string.
    /// Copies. Null means the empty string.
    WString(const wchar_t* text) : std::basic_string<wchar_t>(text ? text : L"") {}
    /// Copies.
    WString(const std::basic_string<wchar_t>& text) : std::basic_string<wchar_t>(text) {}
    /// Converts \p text, taken as UTF-8 and never as text of the system locale. Null means the empty string.
    WString(const char* text);
    /// Converts UTF-8 text, an SString too.
    WString(const UTF8String& text);
    /// Converts text in the encoding of the system locale.
    WString(const ANSIString& text);
    virtual ~WString() = default;

    WString& operator=(const WString&) = default;  ///< Copies.
    WString& operator=(WString&&) = default;       ///< Takes over the text of the other string.
    /// Null assigns the empty string.
    WString& operator=(const wchar_t* text) {
        assign(text ? text : L"");
        return *this;
    }
    /// Copies.
    WString& operator=(const std::basic_string<wchar_t>& text) {
        assign(text);
        return *this;
    }
    /// The string becomes the single character \p c.
    WString& operator=(wchar_t c) {
        assign(1, c);
        return *this;
    }
    /// Converts \p text, taken as UTF-8 and never as text of the system locale. Null assigns the empty
    /// string.
    WString& operator=(const char* text);
    /// Converts UTF-8 text, an SString too.
    WString& operator=(const UTF8String& text);
    /// Converts text in the encoding of the system locale.
    WString& operator=(const ANSIString& text);

    /// Converts UTF-8 text.
    void CreateFromUTF8String(const UTF8String& text);
    /// Converts text in the encoding of the system locale, which is `LC_CTYPE` of the process.
    void CreateFromSystemLocaleEncodedString(const ANSIString& text);
};

/// \brief A string that holds text in the encoding of the system locale, which is `LC_CTYPE` of the process.
///
/// For what the system takes and gives in that encoding; the library's own text is UTF-8. All members of the
/// standard string are available, and copies are independent values.
class VYN_API ANSIString : public std::basic_string<char> {
public:
    ANSIString() = default;
    ANSIString(const ANSIString&) = default;  ///< Copies.
    ANSIString(ANSIString&&) = default;       ///< Takes over the text of the other string.
    /// Copies the bytes, taken as text of the system locale.
    ANSIString(const std::basic_string<char>& text) : std::basic_string<char>(text) {}
    /// Converts UTF-8 text, an SString too.
    ANSIString(const UTF8String& text);
    /// Converts wide text.
    ANSIString(const WString& text);
    virtual ~ANSIString() = default;

    ANSIString& operator=(const ANSIString&) = default;  ///< Copies.
    ANSIString& operator=(ANSIString&&) = default;       ///< Takes over the text of the other string.
    /// Copies the bytes, taken as text of the system locale. Null assigns the empty string.
    ANSIString& operator=(const char* text) {
        assign(text ? text : "");
        return *this;
    }
    /// Converts UTF-8 text, an SString too.
    ANSIString& operator=(const UTF8String& text);
    /// Converts wide text.
    ANSIString& operator=(const WString& text);

    /// The same as the assignment of \p text.
    void CreateFromSystemLocaleEncodedString(const char* text) { *this = text; }
};

/// \brief What DetectEncoding found out about a block of bytes.
struct VYN_API EncodingInfo {
    /// The numbers of the encodings.
    enum Encoding {
        eUnknown = 0,
        eUTF16LE = 1,
        eUTF16BE = 2,
        eUTF8 = 3,
        eASCII = 4,  ///< US-ASCII, which is never detected
    };

    /// \return the encoding's name, "Unknown" for a number that none has.
    std::basic_string<char> GetEncodingName() const;

    /// An Encoding.
    int m_nEncoding = eUnknown;
    /// True when the bytes began with a byte-order mark.
    bool m_bByteOrderMark = false;
};

/// Sets \p out to the UTF-8 form of \p text. Null means the empty text.
VYN_API void getUTF8StringFromUTF16or32(std::basic_string<char>& out, const wchar_t* text);
/// Sets \p out to the wide form of the UTF-8 \p text. Null means the empty text.
VYN_API void getUTF16or32StringFromUTF8(std::basic_string<wchar_t>& out, const char* text);

/// Guesses the encoding of a block of bytes: by its byte-order mark, else by its zero bytes, of which UTF-16
/// has many at every other place, and without any by IsUTF8.
/// \param data not null. Needs a NUL at its end only when \p length is 0.
/// \param length in bytes; 0 leaves the decision to IsUTF8 alone. No byte beyond it is looked at.
VYN_API EncodingInfo DetectEncoding(const char* data, unsigned length);

/// Guesses whether \p text is UTF-8 rather than text of another multi-byte encoding. The well-formed
/// multi-byte sequences are weighed against the escape sequences and high bytes of those encodings, so that
/// text with a few characters beyond ASCII can be taken for something else.
/// \param text NUL-terminated, not null.
/// \return false for text of ASCII alone, the empty text too.
VYN_API bool IsUTF8(const char* text);

}  // namespace vyn
