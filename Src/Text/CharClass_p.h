#pragma once

/// \file
/// The ASCII classes of characters, whatever the locale says: bytes from 0x80 upward are in none of them. And
/// the changes of case, which ask the locale. Any thread may call them.

#include <cctype>
#include <string>

namespace vyn::detail {

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

constexpr bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

constexpr bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// `toupper` on each byte in place.
inline void ToUpper(std::string& text) {
    for (char& c : text) {
        c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
}

/// `tolower` on each byte in place.
inline void ToLower(std::string& text) {
    for (char& c : text) {
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
}

}  // namespace vyn::detail
