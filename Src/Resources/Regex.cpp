#include "Resources/Regex_p.h"

#include <pcre.h>

namespace vyn::detail {

namespace {

// Bounds the stack that the matcher takes for one match.
constexpr unsigned long maxRecursion = 2000;

}  // namespace

Regex::Regex(const SString& expression) : m_code(nullptr, [](void* code) { pcre_free(code); }) {
    const char* error = nullptr;
    int offset = 0;
    m_code.reset(pcre_compile(expression.c_str(), PCRE_UTF8 | PCRE_DOLLAR_ENDONLY, &error, &offset, nullptr));
    m_strError = error;
}

bool Regex::Matches(const SString& text, SString& limit) const {
    pcre_extra limits{};
    limits.flags = PCRE_EXTRA_MATCH_LIMIT_RECURSION;
    limits.match_limit_recursion = maxRecursion;
    const int result = pcre_exec(static_cast<const pcre*>(m_code.get()), &limits, text.data(),
                                 static_cast<int>(text.size()), 0, 0, nullptr, 0);
    const bool gaveUp = result == PCRE_ERROR_MATCHLIMIT || result == PCRE_ERROR_RECURSIONLIMIT;
    limit = gaveUp ? "match limit exceeded" : "";
    return result >= 0;
}

}  // namespace vyn::detail
