#pragma once

/// \file
/// Filter patterns, as a user types them into a dialog. Nothing is kept between calls: any thread may call this.

#include "SString.h"

namespace vyn {

/// \brief Tells whether a text matches a filter pattern, and whether a pattern is valid.
///
/// The whole text has to match. "*" is the only wildcard and stands for any number of characters other than a
/// line feed. Braces count what stands before them, as in a regular expression: `a{2}` matches "aa". All
/// other characters stand for themselves, "?" and "[" too. Patterns and texts are UTF-8. A pattern is
/// compiled at each call, and nothing throws.
/// \code
/// SString error;
/// VynGlob::IsAMatch("*.txt", "a.txt", error);   // true
/// VynGlob::IsAMatch("*.txt", "a.txt~", error);  // false, error is empty
/// VynGlob::IsAMatch("a{9,1}", "a.txt", error);  // false, error tells what is wrong with the braces
/// \endcode
class VYN_API VynGlob {
public:
    /// \param pattern null means the empty pattern, which is valid.
    /// \param[out] error empty when the pattern is valid; else a message for the user, in the language of the
    /// library's strings.
    /// \return true when the pattern is valid.
    static bool IsGlobValid(const char* pattern, SString& error);

    /// \param pattern null means the empty pattern, which matches the empty text alone.
    /// \param text null means the empty text. One that isn't valid UTF-8 matches no pattern.
    /// \param[out] error as for IsGlobValid, and not empty either when the matcher gave up, as it does for a
    /// pattern with very many "*"; empty when the text just doesn't match.
    /// \return true when the pattern is valid and the whole of \p text matches it.
    static bool IsAMatch(const char* pattern, const char* text, SString& error);
};

}  // namespace vyn
