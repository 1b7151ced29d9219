#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include "Resources/Regex_p.h"
#include "Text/LateLibrary_p.h"

namespace vyn::detail {

namespace {

// Bounds the memory that the matcher takes for one match.
constexpr char depthLimit[] = "(*LIMIT_DEPTH=2000)";

struct Pcre2 {
    void* library = dlopen(VYN_PCRE_SONAME, RTLD_NOW);
    VYN_LATE_FUNCTION(pcre2_compile);
    VYN_LATE_FUNCTION(pcre2_get_error_message);
    VYN_LATE_FUNCTION(pcre2_code_free);
    VYN_LATE_FUNCTION(pcre2_match_data_create);
    VYN_LATE_FUNCTION(pcre2_match);
    VYN_LATE_FUNCTION(pcre2_match_data_free);
};

const Pcre2& GetPcre2() {
    static const Pcre2 pcre2;
    return pcre2;
}

PCRE2_SPTR Bytes(const SString& text) {
    return reinterpret_cast<PCRE2_SPTR>(text.c_str());
}

}  // namespace

Regex::Regex(const SString& expression)
    : m_code(nullptr, [](void* code) { (*GetPcre2().pcre2_code_free)(static_cast<pcre2_code*>(code)); }) {
    if (!GetPcre2().library) {
        m_strError = VYN_PCRE_SONAME " can't be opened";
        return;
    }
    const SString limited = depthLimit + expression;
    int error = 0;
    size_t offset = 0;
    m_code.reset(GetPcre2().pcre2_compile(Bytes(limited), limited.size(), PCRE2_UTF | PCRE2_DOLLAR_ENDONLY, &error,
                                          &offset, nullptr));
    if (!m_code) {
        PCRE2_UCHAR reason[256];
        GetPcre2().pcre2_get_error_message(error, reason, sizeof reason);
        m_strError = reinterpret_cast<const char*>(reason);
    }
}

bool Regex::Matches(const SString& text, SString& limit) const {
    const auto* const code = static_cast<const pcre2_code*>(m_code.get());
    pcre2_match_data* const match = GetPcre2().pcre2_match_data_create(1, nullptr);
    const int result = GetPcre2().pcre2_match(code, Bytes(text), text.size(), 0, 0, match, nullptr);
    GetPcre2().pcre2_match_data_free(match);
    const bool gaveUp = result == PCRE2_ERROR_MATCHLIMIT || result == PCRE2_ERROR_DEPTHLIMIT;
    limit = gaveUp ? "match limit exceeded" : "";
    return result >= 0;
}

}  // namespace vyn::detail
