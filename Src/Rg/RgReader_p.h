#pragma once

/// \file
/// The grammar of an Rg text, read in one pass over memory. The loader fills a tree with what it finds, and a save
/// copies the old text by it: there is no second grammar. An object serves one text.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Text/CharClass_p.h"

namespace vyn::detail {

/// The attributes of a heading or of a value, as they stand in the text.
using RgAttributes = std::vector<std::pair<std::string_view, std::string_view>>;

/// What a text has that the format accepts and nobody means.
enum RgOddity {
    eRgTextBeforeHeading,  ///< bytes that are passed over
    eRgOpenHeading,        ///< the input ends in a heading
    eRgOpenString,         ///< no closing quote
    eRgOpenAttributes,     ///< the input ends in a list of attributes
    eRgOddAttributes,      ///< something else than `name = value` or a comma in it
    eRgMissingText,        ///< no text behind a value's name
    eRgNumber              ///< a number that may not be read as it is written
};

/// What could have stood where a text is malformed.
enum RgExpected { eRgHeading, eRgSectionName, eRgValueOrHeading, eRgAssign };

/// \brief Reads one text and tells a sink what stands there.
///
/// The sink has these operations. Texts are views into the input, but for numbers that aren't written as they are read.
/// \code
///     void BeginSection(const char* start);                  // at a `[`
///     void Element(std::string_view name);                   // each element of the key path
///     void EndHeading(const RgAttributes& attributes, const char* end);
///     void Value(std::string_view name, std::string_view text, const RgAttributes& attributes, const char* start,
///                const char* end);
/// \endcode
/// When an operation is called, the input up to the byte behind the last view has been read for good: a sink that owns
/// the text may put a NUL there.
///
/// With \p reports it also has these; without, nothing of it costs anything:
/// \code
///     void Odd(RgOddity oddity, const char* place, std::string_view token);
///     void Stop(const char* place, RgExpected expected);     // the text is malformed
/// \endcode
template <class Sink, bool reports = false>
class RgReader {
public:
    /// \param text ends in a NUL; the first NUL is the end of the input.
    RgReader(const char* text, Sink& sink) : m_next(text), m_end(text + strlen(text)), m_sink(sink) {}

    /// \return true when the text was read up to its end; false when it is malformed.
    bool Read() {
        do {
            NextToken();
            if (m_kind == eUnknown) {
                Odd(eRgTextBeforeHeading, m_start);
            }
        } while (m_kind == eUnknown);
        Expect(eRgHeading);
        while (m_kind == eSectionOpen && ReadSection()) {
        }
        if constexpr (reports) {
            if (m_kind != eEnd) {
                m_sink.Stop(m_start, m_expected);
            }
        }
        return m_kind == eEnd;
    }

private:
    enum TokenKind {
        eUnknown,
        eName,  // of NextKey and NextAttribute
        eWord,  // of letters, digits and `_`; a number has this kind too, since nothing tells the two apart
        eString,
        eOpen,
        eClose,
        eSectionOpen,
        eSectionClose,
        eAssign,
        eComma,
        eSlash,
        eEnd
    };

    void Odd(RgOddity oddity, const char* place) {
        if constexpr (reports) {
            m_sink.Odd(oddity, place, m_token);
        }
    }

    void Expect(RgExpected expected) {
        if constexpr (reports) {
            m_expected = expected;
        }
    }

    // False at the end of the input.
    bool SkipSpace() {
        while (IsSpace(*m_next)) {
            ++m_next;
        }
        if constexpr (reports) {
            m_start = m_next;
        }
        return m_next != m_end;
    }

    TokenKind Take(TokenKind kind) {
        ++m_next;
        return m_kind = kind;
    }

    // Takes what comes before one of the stop characters as a name.
    template <class Stops>
    TokenKind TakeName(Stops stops) {
        const char* start = m_next;
        while (m_next != m_end && !stops(*m_next)) {
            ++m_next;
        }
        m_token = std::string_view(start, static_cast<size_t>(m_next - start));
        return m_kind = eName;
    }

    // Takes a string up to its closing quote, or to the end of the input.
    TokenKind TakeString() {
        const char* start = ++m_next;
        const void* quote = memchr(start, '"', static_cast<size_t>(m_end - start));
        const char* stop = quote ? static_cast<const char*>(quote) : m_end;
        m_token = std::string_view(start, static_cast<size_t>(stop - start));
        m_next = quote ? stop + 1 : stop;
        if (!quote) {
            Odd(eRgOpenString, start - 1);
        }
        return m_kind = eString;
    }

    // A number counts in 32 bits and loses its leading zeros.
    TokenKind TakeNumber() {
        const char* start = m_next;
        uint32_t n = 0;
        for (; IsDigit(*m_next); ++m_next) {
            n = n * 10 + static_cast<uint32_t>(*m_next - '0');
        }
        m_token = std::string_view(start, static_cast<size_t>(m_next - start));
        if (m_token.size() > 9 || (*start == '0' && m_token.size() > 1)) {
            m_token = m_numbers.emplace_back(std::to_string(static_cast<int32_t>(n)));
            Odd(eRgNumber, start);
        }
        return m_kind = eWord;
    }

    TokenKind TakeWord() {
        const char* start = m_next;
        while (IsLetter(*m_next) || IsDigit(*m_next) || *m_next == '_') {
            ++m_next;
        }
        m_token = std::string_view(start, static_cast<size_t>(m_next - start));
        return m_kind = eWord;
    }

    // What has no text of its own leaves that of the token before: the text behind it may be asked for all the same.
    TokenKind NextToken() {
        if (!SkipSpace()) {
            return m_kind = eEnd;
        }
        switch (*m_next) {
            case '"':
                return TakeString();
            case '(':
                return Take(eOpen);
            case ')':
                return Take(eClose);
            case '[':
                return Take(eSectionOpen);
            case ']':
                return Take(eSectionClose);
            case '=':
                return Take(eAssign);
            case ',':
                return Take(eComma);
            case '/':
                return Take(eSlash);
            default:
                if (IsDigit(*m_next)) {
                    return TakeNumber();
                }
                return IsLetter(*m_next) ? TakeWord() : Take(eUnknown);
        }
    }

    TokenKind NextKey() {
        if (!SkipSpace()) {
            return m_kind = eEnd;
        }
        switch (*m_next) {
            case ']':
                return Take(eSectionOpen);  // not eSectionClose: a path doesn't end in an empty element
            case '/':
                return Take(eSlash);
            default:
                return TakeName([](char c) { return c == ']' || c == '/'; });
        }
    }

    TokenKind NextAttribute() {
        if (!SkipSpace()) {
            return m_kind = eEnd;
        }
        switch (*m_next) {
            case ')':
                return Take(eClose);
            case ',':
                return Take(eSlash);  // not eComma: part of the format
            case '=':
                return Take(eAssign);
            default:
                return TakeName([](char c) { return c == ')' || c == ',' || c == '='; });
        }
    }

    // Reads a section behind its `[`. False when the heading is malformed or the input ended in it.
    bool ReadSection() {
        m_sink.BeginSection(m_next - 1);
        Expect(eRgSectionName);
        while (NextKey() == eName) {
            const std::string_view name = m_token;
            NextToken();
            m_sink.Element(name);
            if (m_kind != eSlash) {
                break;
            }
        }
        if (m_kind != eSectionClose) {
            if (m_kind == eEnd) {
                Odd(eRgOpenHeading, m_start);
            }
            return false;
        }
        Expect(eRgValueOrHeading);
        const char* end = m_next;
        m_attributes.clear();
        if (NextToken() == eOpen) {
            end = ReadAttributes(&RgReader::NextAttribute);
        }
        m_sink.EndHeading(m_attributes, end);
        while (m_kind == eString && ReadValue()) {
        }
        return true;
    }

    // Reads `name = value` pairs behind a `(`, and the token behind the list.
    // Returns the end of the list.
    const char* ReadAttributes(TokenKind (RgReader::*next)()) {
        do {
            (this->*next)();
            const std::string_view name = m_token;
            if (NextToken() != eAssign) {
                Odd(eRgOddAttributes, m_start);
                break;
            }
            (this->*next)();
            m_attributes.emplace_back(name, m_token);
            NextToken();
            if (m_kind == eEnd) {
                Odd(eRgOpenAttributes, m_start);
            } else if (m_kind != eClose && m_kind != eComma) {
                Odd(eRgOddAttributes, m_start);
            }
        } while (m_kind != eClose && m_kind != eEnd);
        const char* end = m_next;
        NextToken();
        return end;
    }

    // Reads a value whose name is the current token. False when no `=` follows it.
    bool ReadValue() {
        const std::string_view name = m_token;
        Expect(eRgAssign);
        if (m_next[0] == '=' && m_next[1] == '"') {
            ++m_next;  // as a save writes it
            TakeString();
        } else {
            if (NextToken() != eAssign) {
                if (m_kind == eEnd) {
                    Odd(eRgMissingText, name.data() - 1);
                }
                return false;
            }
            NextToken();
            if (m_kind != eString && m_kind != eWord) {
                Odd(eRgMissingText, name.data() - 1);
            }
        }
        Expect(eRgValueOrHeading);
        const std::string_view text = m_token;
        const char* end = m_next;
        m_attributes.clear();
        if (NextToken() == eOpen) {
            end = ReadAttributes(&RgReader::NextToken);
        }
        m_sink.Value(name, text, m_attributes, name.data() - 1, end);
        return true;
    }

    const char* m_next;  // the first byte not yet read
    const char* m_end;
    const char* m_start = nullptr;       // of the token, with reports
    RgExpected m_expected = eRgHeading;  // where the reader is, with reports
    Sink& m_sink;
    std::string_view m_token;  // text of the last token that has one
    TokenKind m_kind = eUnknown;
    RgAttributes m_attributes;
    std::deque<std::string> m_numbers;  // texts that don't stand in the input
};

}  // namespace vyn::detail
