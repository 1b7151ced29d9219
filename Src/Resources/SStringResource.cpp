#include <cstdarg>
#include <cstring>

#include "SString.h"
#include "Text/CharClass_p.h"
#include "VynRes.h"

namespace vyn {

namespace {

// The placeholders of a text take one word of the argument list each, up to this number.
constexpr int MaxWords = 9;

bool IsPlaceholder(const char* p) {
    return p[0] == '%' && p[1] != '%';
}

// A `*` takes a word of its own, `L` is a number of two, and `n` writes through a word that may be 0.
bool TakesOneWord(const char* placeholder) {
    const char* p = placeholder + 1;
    p += strspn(p, "$0123456789-+ #'.hljzt");
    return !*p || !strchr("*Ln", *p);
}

int CountPlaceholders(const char* text) {
    int count = 0;
    for (const char* p = text; *p; ++p) {
        if (IsPlaceholder(p)) {
            ++count;
        } else if (*p == '%') {
            ++p;
        }
    }
    return count;
}

// The words of the arguments in their given order and in the order in which the format takes them. Places
// that no argument fills are 0.
struct WordList {
    long given[MaxWords] = {};
    long ordered[MaxWords] = {};
};

// Takes the numbers out of the placeholders of `text`, which makes `format`, and orders the words by them;
// false for a number that no placeholder among `count` has, and for a placeholder that one word can't serve.
bool OrderWords(const char* text, int count, SString& format, WordList& words) {
    int index = 0;
    int ordered = 0;
    for (const char* p = text; *p; ++p) {
        format += *p;
        if (*p != '%') {
            continue;
        }
        if (p[1] == '%') {
            format += *++p;
            continue;
        }
        if (!TakesOneWord(p)) {
            return false;
        }
        if (p[1] == '$' && detail::IsDigit(p[2])) {
            index = p[2] - '1';
            if (index < 0 || index >= count) {
                return false;
            }
            p += 2;
        }
        words.ordered[ordered++] = index < MaxWords ? words.given[index] : 0;
        ++index;
    }
    return true;
}

// Formats with resource string `id`; -1, with `result` unchanged, when there is none.
int FormatLoaded(SString& result, unsigned id, void* args) {
    SString format;
    return format.LoadStringA(id) ? result.FormatV(format.c_str(), args) : -1;
}

}  // namespace

int SString::LoadStringA(unsigned id) {
    return vyn::LoadStringA(VynGetResourceHandle(), id, *this);
}

int SString::Format(unsigned id, ...) {
    va_list args;
    va_start(args, id);
    const int bound = FormatLoaded(*this, id, args);
    va_end(args);
    return bound;
}

int SString::FormatMessage(unsigned id, ...) {
    va_list args;
    va_start(args, id);
    const int bound = FormatLoaded(*this, id, args);
    va_end(args);
    return bound;
}

int SString::FormatI18n(unsigned id, ...) {
    clear();
    SString text;
    if (!text.LoadStringA(id)) {
        return -1;
    }
    const int count = CountPlaceholders(text.c_str());
    if (count > MaxWords) {
        return -1;
    }
    WordList words;
    va_list args;
    va_start(args, id);
    for (int i = 0; i < count; ++i) {
        words.given[i] = va_arg(args, long);
    }
    va_end(args);

    SString format;
    if (!OrderWords(text.c_str(), count, format, words)) {
        return -1;
    }
    const long* w = words.ordered;
    return Format(format.c_str(), w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8]);
}

}  // namespace vyn
