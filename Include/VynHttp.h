#pragma once

/// \file
/// HTTP request lines, URLs, percent-coding and base64. The functions keep no state, throw nothing of their
/// own and never fail; they may be called from any thread.

#include <map>
#include <string>

#include "SString.h"
#include "VynExport.h"

namespace vyn {

/// \return the text before its first carriage return or line feed. A text that begins with one comes back
/// whole.
VYN_API std::string TruncAtNewLine(const std::string& text);

/// Splits `http://host/path` at "://".
/// \param[out] protocol the text before it; unchanged when there is none.
/// \param[out] rest the text behind it, or the whole of \p url.
/// \return true when \p url has a protocol, that is, when two slashes follow its first colon.
VYN_API bool RemoveProtocolFromUrl(const std::string& url, std::string& protocol, std::string& rest);

/// Splits a request line, as `GET /echo?text=a+b&n=1 HTTP/1.1`. The version behind it, with the
/// byte in front of it, and up to two bytes of line end don't matter; a text of 8 bytes or fewer stays whole.
/// \param[out] path the text before the first "?", here `GET /echo`: a method stays, and nothing is decoded.
/// \param[in,out] params gets each parameter that it doesn't have yet: the key as it stands, the value
/// decoded by DecodeAgentURL. A parameter without "=" is its own value. It isn't cleared, and unchanged
/// without a "?".
VYN_API void SplitGetReq(std::string request, std::string& path, std::map<std::string, std::string>& params);

/// Splits a URL of the protocol "http" or "file", in lower case; a file has a path and no host. Another protocol
/// is told on `std::cerr`.
/// \param[in,out] protocol as by RemoveProtocolFromUrl: its old value counts when \p url has none.
/// \param[out] host host and port; empty for a file; the rest of the URL when the protocol is unknown.
/// \param[out] path for http it begins at the first "/", and is "/" without one; for a file it is all of the rest, with
/// each "\" replaced by "/". Unchanged when the protocol is unknown.
VYN_API void SplitUrl(const std::string& url, std::string& protocol, std::string& host, std::string& path);

/// Replaces \p from by \p to from left to right. After each replacement the search goes on `from.length() -
/// 1` bytes before the end of the inserted text; it ends when that place lies before the start of the text.
/// One byte is thus replaced everywhere; "abc" in "abcabc" is replaced by "" once.
/// \return the changed copy.
VYN_API std::string ReplaceInStr(const std::string& text, const std::string& from, const std::string& to);

/// `toupper` of the current locale on each byte in place.
VYN_API void ToUpper(std::string& text);
/// `tolower` of the current locale on each byte in place.
VYN_API void ToLower(std::string& text);

/// Appends the plain percent-coding of \p in to \p out. Letters, digits and the bytes of `!$'()*+,-._` and
/// `&/:;=?@` stay; all others become "%" with two digits in lower case.
VYN_API void EncodeURL(const UTF8String& in, std::string& out);
/// Appends the bytes that \p in stands for to \p out. Digits behind a "%" aren't checked: of a byte that is
/// none the low four bits of `tolower(byte) - 87` count. At the end of the text a missing second digit counts
/// as 0, and a "%" alone stays.
VYN_API void DecodeURL(const std::string& in, UTF8String& out);
/// Appends the coding of a parameter's value to \p out. Letters, digits and the bytes of `!'()*-._~` stay, a
/// blank becomes "+", and all others become "%" with two digits in lower case.
VYN_API void EncodeAgentURL(const UTF8String& in, std::string& out);
/// The same as DecodeURL, with a blank for each "+".
VYN_API void DecodeAgentURL(const std::string& in, UTF8String& out);

/// The alphabet of base64.
extern VYN_API const std::string base64_chars;

/// Base64 with padding and without line breaks.
/// \param bytes may be null when \p length is 0.
/// \param length in bytes.
VYN_API std::string base64_encode(const unsigned char* bytes, unsigned length);
/// Decodes \p text up to its end, the first "=" or the first byte that isn't in the alphabet. What follows
/// is ignored, and so is a single last character that makes no byte.
VYN_API std::string base64_decode(const std::string& text);

}  // namespace vyn
