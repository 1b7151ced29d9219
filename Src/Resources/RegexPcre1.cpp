#include "Resources/Regex_p.h"

#include <pcre.h>

#include "Text/LateLibrary_p.h"

namespace vyn::detail {

namespace {

// Bounds the stack that the matcher takes for one match.
constexpr unsigned long maxRecursion = 2000;

struct Pcre {
    void* library = dlopen(VYN_PCRE_SONAME, RTLD_NOW);
    VYN_LATE_FUNCTION(pcre_compile);
    VYN_LATE_FUNCTION(pcre_exec);
    VYN_LATE_FUNCTION(pcre_free);
};

const Pcre& GetPcre() {
    static const Pcre pcre;
    return pcre;
}

}  // namespace

Regex::Regex(const SString& expression) : m_code(nullptr, [](void* code) { (*GetPcre().pcre_free)(code); }) {
    if (!GetPcre().library) {
        m_strError = VYN_PCRE_SONAME " can't be opened";
        return;
    }
    const char* error = nullptr;
    int offset = 0;
    m_code.reset(GetPcre().pcre_compile(expression.c_str(), PCRE_UTF8 | PCRE_DOLLAR_ENDONLY, &error, &offset, nullptr));
    m_strError = error;
}

bool Regex::Matches(const SString& text, SString& limit) const {
    pcre_extra limits{};
    limits.flags = PCRE_EXTRA_MATCH_LIMIT_RECURSION;
    limits.match_limit_recursion = maxRecursion;
    const int result = GetPcre().pcre_exec(static_cast<const pcre*>(m_code.get()), &limits, text.data(),
                                           static_cast<int>(text.size()), 0, 0, nullptr, 0);
    const bool gaveUp = result == PCRE_ERROR_MATCHLIMIT || result == PCRE_ERROR_RECURSIONLIMIT;
    limit = gaveUp ? "match limit exceeded" : "";
    return result >= 0;
}

}  // namespace vyn::detail
