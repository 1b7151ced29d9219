#include "VynPattern.h"

#include <cstring>

#include "Resources/Regex_p.h"
#include "Resources/VynRes_p.h"

namespace vyn {

namespace {

// The regular expression that a glob stands for. A run of "*" means the same as one, which takes the matcher
// far fewer steps.
SString ExpressionOf(const SString& glob) {
    SString expression("^");
    for (size_t i = 0; i < glob.size(); ++i) {
        const char c = glob[i];
        if (c == '*') {
            expression += i > 0 && glob[i - 1] == '*' ? "" : ".*";
            continue;
        }
        if (strchr("\\^$.?|()[]+", c)) {
            expression += '\\';
        }
        expression += c;
    }
    return expression + "$";
}

SString InvalidFilter(const SString& glob, const SString& reason) {
    return detail::OwnMessage(detail::eStrInvalidFilter, {glob, reason});
}

// Puts the regular expression in place of the glob when it compiles.
bool NormalizeGlobPatternAndCheckValidity(SString& pattern, SString& error) {
    const SString expression = ExpressionOf(pattern);
    const SString reason = detail::Regex(expression).Error();
    if (!reason.empty()) {
        error = InvalidFilter(pattern, reason);
        return false;
    }
    error.clear();
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
    SString limit;
    const bool matches = detail::Regex(expression).Matches(text, limit);
    if (!limit.empty()) {
        error = InvalidFilter(pattern, limit);
    }
    return matches;
}

}  // namespace vyn
