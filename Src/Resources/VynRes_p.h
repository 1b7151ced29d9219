#pragma once

/// \file
/// The library's own numbered strings that it uses itself. They are looked up by the library's module, so that
/// the current resource handle plays no part and any thread may do so.

#include <initializer_list>

#include "SString.h"

namespace vyn::detail {

constexpr char kEnglish[] = "en";               // the language that is compiled in
constexpr char kPseudoLanguage[] = "x-pseudo";  // English, as VynPseudoText alters it

/// \return whether a language's name can be that of a folder: it comes from outside and mustn't lead out of `locale/`.
bool IsFolderName(const SString& language);

enum LibraryString : unsigned {
    eStrDuringWrite = 1,              // whatever failed, path
    eStrDuringRead = 2,               // whatever failed, path
    eStrInputStreamFailed = 3,        // path
    eStrInputStreamBroken = 4,        // path
    eStrErrorWhileReading = 5,        // error, path
    eStrOutputStreamFailed = 6,       // path
    eStrOutputStreamBroken = 7,       // path
    eStrMyProjects = 8,               // the directory of the user's projects
    eStrOpenForWriteFailed = 9,       // path
    eStrOpenForReadFailed = 10,       // path
    eStrUrnTargetNotFoundPlain = 11,  // URN, target
    eStrUrnTargetNotAbsolute = 12,    // URN, target
    eStrUrnUnknown = 13,              // URN
    eStrUrnAlreadyDefined = 14,       // URN, target
    eStrUrnTargetNotFound = 15,       // URN, target, error
    eStrInvalidFilter = 16,           // pattern, error
    eStrFinding = 17,                 // the first of one for each vyn::FindingCode, in its order
    eStrExpected = 46,                // the first of one for each RgExpected, in its order
    eStrDidYouMean = 50               // name
};

/// \return the string \p id with each "%s" replaced by the next of \p texts, and "%1" to "%9" by the one of that
/// number, in one pass: what looks like a placeholder in a text stays. Empty when there is no such string.
SString OwnMessage(LibraryString id, std::initializer_list<SString> texts);

}  // namespace vyn::detail
