#include "VynPattern.h"

#include <pcrecpp.h>

#include <exception>

#include "Resources/VynRes_p.h"
#include "VynErrOut.h"
#include "VynRes.h"

namespace vyn {

namespace {

// The message about an invalid filter, from the library's own strings. Not by SFmt::str, which would report
// what looks like a placeholder in the user's pattern.
SFmt InvalidFilter() {
    VynDllHrscState own(VynhDllInstance);
    return SFmt(VynGetResourceHandle(), detail::eStrInvalidFilter);
}

pcrecpp::RE Compile(const UTF8String& expression) {
    return pcrecpp::RE(expression, pcrecpp::RE_Options(PCRE_UTF8));
}

bool ReplaceSubString(UTF8String& text, const char* from, const char* to, SString& error) {
    error.clear();
    try {
        const UTF8String sought(from);
        const UTF8String inserted(to);
        for (size_t pos = 0; (pos = text.find(sought, pos)) != UTF8String::npos; pos += inserted.length()) {
            text.replace(pos, sought.length(), inserted);
        }
    } catch (const std::exception&) {
        error = InvalidFilter() << text;
        return false;
    }
    return true;
}

// Puts the regular expression in place of the glob when it compiles.
bool NormalizeGlobPatternAndCheckValidity(SString& pattern, SString& error) {
    // The backslash goes first, since the others bring one along; the dot goes before "*" for the same
    // reason.
    static const struct {
        const char* from;
        const char* to;
    } replacements[] = {{"\\", "\\\\"}, {"^", "\\^"}, {"$", "\\$"}, {".", "\\."}, {"?", "\\?"}, {"*", ".*"},
                        {"|", "\\|"},   {"(", "\\("}, {")", "\\)"}, {"[", "\\["}, {"]", "\\]"}, {"+", "\\+"}};
    UTF8String expression(pattern);
    for (const auto& replacement : replacements) {
        if (!ReplaceSubString(expression, replacement.from, replacement.to, error)) {
            return false;
        }
    }
    expression = "^" + expression + "$";
    const pcrecpp::RE compiled = Compile(expression);
    if (!compiled.error().empty()) {
        error = InvalidFilter() << pattern << compiled.error();
        return false;
    }
    pattern = expression;
    return true;
}

}  // namespace

bool VynGlob::IsGlobValid(const char* pattern, SString& error) {
    SString glob(pattern);
    return NormalizeGlobPatternAndCheckValidity(glob, error);
}

bool VynGlob::IsAMatch(const char* pattern, const char* text, SString& error) {
    SString expression(pattern);
    if (!NormalizeGlobPatternAndCheckValidity(expression, error)) {
        return false;
    }
    const pcrecpp::RE compiled = Compile(expression);
    if (!compiled.error().empty()) {
        error = "VynGlob: internal error.\n" + (InvalidFilter() << expression << compiled.error());
        return false;
    }
    const UTF8String whole(text);
    return compiled.FullMatch(pcrecpp::StringPiece(whole));
}

}  // namespace vyn
