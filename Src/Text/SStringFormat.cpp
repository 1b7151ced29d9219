#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "SString.h"
#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"

namespace vyn {

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Widths and bounds are counted in 64 bits and kept within an int.
int Clamp(long long n) {
    return static_cast<int>(std::min<long long>(n, INT_MAX));
}

// Reads decimal digits at `p` and moves it behind them.
int ReadDigits(const char*& p) {
    int n = 0;
    for (; IsDigit(*p); ++p) {
        n = Clamp(n * 10LL + (*p - '0'));
    }
    return n;
}

// One conversion of a format, as the scan understands it.
struct Conversion {
    int width = 0;
    int precision = 0;
    char prefix = 0;  // 'h' narrow, 'l' wide, 0 neither
    char letter = 0;

    int Limited(size_t length) const {
        int size = std::max(Clamp(static_cast<long long>(length)), width);
        return precision != 0 ? std::min(size, precision) : size;
    }
    int AtLeast(int size) const { return std::max(size, Clamp(static_cast<long long>(width) + precision)); }
    bool IsWideText() const {
        return prefix == 'l' ? letter == 's' || letter == 'S' : prefix == 0 && letter == 'S';
    }
};

// The scan reads the arguments of the list that it is given: the caller hands it a copy.
struct FormatScan {
    explicit FormatScan(va_list list) { va_copy(m_args, list); }
    FormatScan(const FormatScan&) = delete;
    FormatScan& operator=(const FormatScan&) = delete;
    ~FormatScan() { va_end(m_args); }

    // Upper bound of the length of the text that `format` makes.
    int Bound(const char* format) {
        long long bound = 0;
        const char* p = format;
        while (*p) {
            if (*p++ != '%') {
                ++bound;
            } else if (*p == '%') {
                ++p;
                ++bound;
            } else if (*p) {
                Conversion conversion;
                bound += ReadModifiers(p, conversion);
                if (!*p) {
                    break;
                }
                conversion.letter = *p++;
                bound += ItemSize(conversion);
            }
        }
        return Clamp(bound);
    }

private:
    // Reads flags, width, precision and prefix at `p` and returns what the flags add to the bound.
    int ReadModifiers(const char*& p, Conversion& conversion) {
        int extra = 0;
        for (; *p && strchr("#*-+0 ", *p); ++p) {
            if (*p == '#') {
                extra += 2;
            } else if (*p == '*') {
                conversion.width = va_arg(m_args, int);
                if (conversion.width != 0) {
                    ++p;
                    break;
                }
            }
        }
        if (conversion.width == 0) {
            conversion.width = ReadDigits(p);
        }
        if (*p == '.') {
            ++p;
            if (*p == '*') {
                conversion.precision = va_arg(m_args, int);
                ++p;
            } else {
                conversion.precision = ReadDigits(p);
            }
        }
        if (*p == 'h' || *p == 'l') {
            conversion.prefix = *p++;
        } else if (*p == 'F' || *p == 'N' || *p == 'L') {
            ++p;
        }
        return extra;
    }

    int ItemSize(const Conversion& conversion) {
        switch (conversion.letter) {
            case 'c':
            case 'C':
                (void)va_arg(m_args, int);
                return conversion.Limited(2);
            case 's':
            case 'S':
                return TextSize(conversion);
            case 'd':
            case 'i':
            case 'o':
            case 'u':
            case 'x':
            case 'X':
                (void)va_arg(m_args, int);
                return conversion.AtLeast(32);
            case 'p':
                (void)va_arg(m_args, void*);
                return conversion.AtLeast(32);
            case 'e':
            case 'g':
            case 'G':
                (void)va_arg(m_args, double);
                return conversion.AtLeast(128);
            case 'f':
                return std::max(0, snprintf(nullptr, 0, "%*.*f", conversion.width,
                                            Clamp(conversion.precision + 6LL), va_arg(m_args, double)));
            case 'n':
                (void)va_arg(m_args, void*);
                return 0;
            default:
                return 0;
        }
    }

    int TextSize(const Conversion& conversion) {
        const size_t sizeOfNull = 6;  // "(null)"
        size_t length = sizeOfNull;
        if (conversion.IsWideText()) {
            if (const wchar_t* wide = va_arg(m_args, const wchar_t*)) {
                length = wcslen(wide);
            }
        } else if (const char* text = va_arg(m_args, const char*)) {
            length = strlen(text);
        }
        return conversion.Limited(std::max(length, size_t{1}));
    }

    va_list m_args;
};

// qzd_trace, which is set while the library loads.
struct TraceSwitch {
    TraceSwitch() : m_nOn(detail::Environment("QZD_TRACE") ? 1 : 0) {}
    int m_nOn;
};

VYN_INIT(VYN_INIT_TRACE) TraceSwitch qzd_trace;

}  // namespace

int SString::FormatV(const char* format, void* args) {
    va_list& list = *static_cast<va_list*>(args);
    const int bound = FormatScan(list).Bound(format);

    const int savedErrno = errno;
    va_list measured;
    va_copy(measured, list);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length < 0 || length > bound) {
        clear();
        errno = EINVAL;
        return bound;
    }
    std::string text(static_cast<size_t>(length), '\0');
    va_list printed;
    va_copy(printed, list);
    vsnprintf(&text[0], text.size() + 1, format, printed);
    va_end(printed);
    // A NUL that %c wrote ends the text. `format` may be this string's own text, so that is replaced last.
    text.resize(strlen(text.c_str()));
    swap(text);
    errno = savedErrno;
    return bound;
}

int SString::Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int bound = FormatV(format, args);
    va_end(args);
    return bound;
}

int SString::FormatMessage(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int bound = FormatV(format, args);
    va_end(args);
    return bound;
}

int xq_trace(const char* format, ...) {
    SString line;
    va_list args;
    va_start(args, format);
    const int bound = line.FormatV(format, args);
    va_end(args);
    if (qzd_trace.m_nOn) {
        puts(line.c_str());
    }
    return bound;
}

}  // namespace vyn
