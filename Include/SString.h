#pragma once

/// \file
/// The library's string: UTF-8 text derived from the standard string, with formatting, and the small free
/// functions that live beside it. Distinct strings are independent; one string belongs to one thread at a
/// time. VynEncoding.cpp has the conversions from other encodings, SStringResource.cpp what takes the text of a
/// resource.

#include <string>

#include "VynExport.h"

namespace vyn {

class ANSIString;
class WString;

/// \brief A string that holds UTF-8 text.
///
/// Use SString for ordinary work; this class is the base that fixes the encoding in the type. All members of
/// the standard string are available, and copies are independent values.
///
/// Include VynEncoding.h to convert from the other encoded strings, and see there what becomes of text that
/// can't be converted. A literal null is ambiguous: say `static_cast<const char*>(nullptr)`.
class VYN_API UTF8String : public std::basic_string<char> {
public:
    UTF8String() = default;
    UTF8String(const UTF8String&) = default;  ///< Copies.
    UTF8String(UTF8String&&) = default;       ///< Takes over the text of the other string.
    /// Copies the bytes, taken as UTF-8. Null means the empty string.
    UTF8String(const char* text) : std::basic_string<char>(text ? text : "") {}
    /// Copies the bytes, taken as UTF-8.
    UTF8String(const std::basic_string<char>& text) : std::basic_string<char>(text) {}
    /// Converts wide text. Null means the empty string.
    UTF8String(const wchar_t* text);
    /// Converts wide text, with no detour over an ANSIString, which can't hold all of it.
    UTF8String(const WString& text);
    /// Converts text in the encoding of the system locale.
    UTF8String(const ANSIString& text);
    virtual ~UTF8String() = default;

    UTF8String& operator=(const UTF8String&) = default;  ///< Copies.
    UTF8String& operator=(UTF8String&&) = default;       ///< Takes over the text of the other string.
    /// Null assigns the empty string.
    UTF8String& operator=(const char* text) {
        assign(text ? text : "");
        return *this;
    }
    /// Copies the bytes, taken as UTF-8.
    UTF8String& operator=(const std::basic_string<char>& text) {
        assign(text);
        return *this;
    }
    /// The string becomes the single byte \p c.
    UTF8String& operator=(char c) {
        assign(1, c);
        return *this;
    }
    /// Converts wide text. Null assigns the empty string.
    UTF8String& operator=(const wchar_t* text);
    /// Converts wide text.
    UTF8String& operator=(const WString& text);
    /// Converts text in the encoding of the system locale.
    UTF8String& operator=(const ANSIString& text);

    /// Converts text in the encoding of the system locale.
    void CreateFromSystemLocaleEncodedString(const ANSIString& text);
    /// The string becomes a copy of the bytes of \p text.
    void CreateFromUTF8String(const UTF8String& text) { assign(text); }
};

/// \brief The string type of the whole library.
///
/// Every name, path, option value and message is an SString or a `const char*` into one. The state is the
/// standard string inside: bytes, counted in bytes, NUL-terminated for reading. A `const char*` taken from an
/// object belongs to it and lasts until the object is next changed or destroyed.
class VYN_API SString : public UTF8String {
public:
    SString() = default;
    SString(const SString&) = default;  ///< Copies.
    SString(SString&&) = default;       ///< Takes over the text of the other string.
    /// Copies the bytes with no conversion, those of an ANSIString too: that one goes through a UTF8String.
    SString(const std::basic_string<char>& text) : UTF8String(text) {}
    /// Copies the bytes up to the NUL, taken as UTF-8 without validation. Null yields the empty string.
    SString(const char* text) : UTF8String(text) {}
    /// Converts wide text. Null yields the empty string.
    SString(const wchar_t* text) : UTF8String(text) {}

    SString& operator=(const SString&) = default;  ///< Copies.
    SString& operator=(SString&&) = default;       ///< Takes over the text of the other string.
    /// Copies the bytes with no conversion, those of an ANSIString too.
    SString& operator=(const std::basic_string<char>& text) {
        assign(text);
        return *this;
    }
    /// Null assigns the empty string.
    SString& operator=(const char* text) {
        assign(text ? text : "");
        return *this;
    }
    /// The string becomes the single byte \p c.
    SString& operator=(char c) {
        assign(1, c);
        return *this;
    }
    /// Converts wide text. Null assigns the empty string.
    SString& operator=(const wchar_t* text) {
        UTF8String::operator=(text);
        return *this;
    }

    using UTF8String::CreateFromSystemLocaleEncodedString;
    using UTF8String::CreateFromUTF8String;
    /// Converts \p text, which is in the encoding of the system locale. Null yields the empty string.
    void CreateFromSystemLocaleEncodedString(const char* text);
    /// The string becomes a copy of \p text, which is UTF-8 already. Null yields the empty string.
    void CreateFromUTF8String(const char* text) { *this = text; }

    /// \return 1 when the length is 0, else 0.
    int IsEmpty() const { return empty() ? 1 : 0; }
    /// \return the length in bytes.
    unsigned GetLength() const { return static_cast<unsigned>(length()); }
    /// \return the NUL-terminated text, for reading only; valid until the string changes.
    const char* GetBuffer() const { return c_str(); }

    /// `strcmp` of the text, up to its first NUL, with \p rhs.
    /// \pre \p rhs isn't null.
    /// \return negative, 0 or positive.
    int Compare(const char* rhs) const;
    /// The same with the text of \p rhs up to its first NUL.
    int Compare(const SString& rhs) const;
    /// `strcasecmp` of the text, up to its first NUL, with \p rhs.
    /// \pre \p rhs isn't null.
    /// \return negative, 0 or positive.
    int CompareNoCase(const char* rhs) const;
    /// The same with the text of \p rhs up to its first NUL.
    int CompareNoCase(const SString& rhs) const;
    /// \return the byte offset of the first occurrence of \p needle in the text up to its first NUL; -1 when
    /// it doesn't occur; 0 for an empty needle.
    /// \throws std::logic_error when \p needle is null.
    int Find(const char* needle) const;

    /// Inserts the bytes of \p text before byte offset \p pos.
    /// \pre \p text isn't null.
    /// \return the new length.
    /// \throws std::out_of_range when \p pos lies beyond the length.
    int Insert(int pos, const char* text);
    /// Inserts the byte.
    int Insert(int pos, char c);
    /// Inserts \p text up to its first NUL.
    int Insert(int pos, const SString& text);

    /// `toupper` on each byte in place; the length never changes.
    void MakeUpper();
    /// `tolower` on each byte in place; the length never changes.
    void MakeLower();

    /// Replaces the string by \p format filled in as `vsprintf` does. The format is scanned first for an
    /// upper bound of the result's length; text beyond that bound isn't made. \p format may point into this
    /// object.
    ///
    /// The scan knows the conversions `c C s S d i o u x X p e g G f n`, the prefixes `h` and `l`, and those that
    /// belong to numbers, `hh ll j z t L`. What it doesn't know, `E`, `a`, `%1$s` and so on, counts as no output
    /// and makes it refuse the format: from there on no argument is read. Of a text with a precision it reads that
    /// many elements at most.
    /// \pre \p format isn't null.
    /// \return the upper bound, which isn't the length of the result. `errno` is EINVAL and the string empty
    /// when the result doesn't fit in the bound or the format is refused, by the scan or by the system; else
    /// `errno` is left alone.
    int Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// The same as Format.
    int FormatMessage(const char* format, ...) __attribute__((format(printf, 2, 3)));
    /// The same as Format.
    /// \param args a `va_list`, decayed to a pointer. The scan works on a copy of it.
    int FormatV(const char* format, void* args);

    /// Loads resource string \p id of the module of the current resource handle (VynGetResourceHandle).
    /// \return 1 when there is such a string; else 0, and the string is unchanged.
    int LoadStringA(unsigned id);
    /// Formats with resource string \p id, loaded by LoadStringA, as the format.
    /// \return what FormatV returns; -1 when there's no such string, and the string is then unchanged.
    int Format(unsigned id, ...);
    /// The same as Format.
    int FormatMessage(unsigned id, ...);
    /// Formats with resource string \p id, whose placeholders may name their argument: `%$2s is %$1s`. The
    /// placeholders without a number take the argument after that of the placeholder before them. Each
    /// argument is an `int` or a pointer, and there are at most nine. The string is emptied first.
    /// \pre no argument points into this string, and no placeholder takes a `double` or a width by `*`.
    /// \return what Format returns; -1 when there's no such string, when it has more than nine placeholders, for a
    /// number beyond the count of the placeholders, and for a placeholder with `*`, `L` or `n`: the string is then
    /// empty.
    int FormatI18n(unsigned id, ...);
};

/// Sets \p dir to the working directory.
/// \return false when the system can't tell it or its path has 1024 bytes or more; \p dir is then empty.
VYN_API bool VynGetCurrentDirectory(SString& dir);

/// Says whether XMLMapSingleDataCharacter drops carriage returns. For set-up: not to be called while another
/// thread maps characters.
VYN_API void SetNormalizeLineEndings(bool on);

/// Writes the form that the one byte at \p src takes in XML character data to \p dst, NUL-terminated. The
/// five markup characters, tab, line feed and carriage return become references; other control bytes and all
/// bytes above 0x7F become a blank: UTF-8 text doesn't survive being mapped byte by byte.
/// A carriage return becomes the empty text after SetNormalizeLineEndings(true).
///
/// When the form doesn't fit, the text is empty and `errno` is ERANGE. For a null \p dst `errno` is EINVAL.
/// \param src not null.
/// \param dstSize size of \p dst in bytes, at least 2.
VYN_API void XMLMapSingleDataCharacter(const char* src, char* dst, unsigned dstSize);

/// \return the value in the environment, or null when \p name isn't set; valid until the environment changes. In a
/// process that runs with more rights than whoever started it, every variable counts as unset, here and wherever the
/// library reads one.
VYN_API const char* VynGetEnvironmentVariable(const SString& name);
/// \return the value in a static copy, or null when \p name isn't set; valid until the next successful call
/// of this overload. For one thread at a time.
VYN_API const char* VynGetEnvironmentVariable(const char* name);

/// Formats a line and, when the variable QZD_TRACE was in the environment while the library loaded, writes it
/// to standard output with a newline.
/// \pre \p format isn't null.
/// \return what SString::Format returns, traced or not.
VYN_API int xq_trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace vyn
