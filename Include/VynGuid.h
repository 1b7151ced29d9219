#pragma once

/// \file
/// The 16-byte identifiers of the object runtime with their text form, and short unique identifier texts.
/// Values are independent of each other; VynCreateGuid belongs to one thread at a time.

#include <cstdint>
#include <string>

#include "SString.h"

namespace k4 {

/// \brief Identifier of an interface or of a document.
///
/// A plain value; all 16 bytes zero is the null GUID. `GUID g = {0x2F51008E, 0x98A4, 0x4939, {0xA5, ...}};`
struct VYN_API GUID {
    std::uint32_t Data1;    ///< the first 8 digits of the text form
    std::uint16_t Data2;    ///< the next 4
    std::uint16_t Data3;    ///< the next 4
    std::uint8_t Data4[8];  ///< the last 16, in the order of the text

    /// Replaces \p out by the 36 characters of the text form: upper-case hexadecimal digits, grouped
    /// 8-4-4-4-12.
    void ToString(std::string& out) const;

    /// Reads the text form, in upper or lower case. What follows it is ignored. Each field is read as
    /// `sscanf` reads hexadecimal digits, so that a field may be shorter than it is written.
    /// \param[out] out the null GUID when the result is false.
    /// \return true when all fields were read.
    static bool FromString(const std::string& text, GUID& out);
};

/// \return true when all 16 bytes are equal.
VYN_API bool operator==(const GUID& a, const GUID& b);

}  // namespace k4

/// Sets \p out to a new identifier of 24 characters, each an ASCII letter or digit, "-" or "*": six each for
/// the number of the call in this process, counted from 0, the process id, the time in seconds and the host
/// id. It is no text form of a k4::GUID. Two threads that call it at once can get the same text.
VYN_API void VynCreateGuid(vyn::SString& out);
