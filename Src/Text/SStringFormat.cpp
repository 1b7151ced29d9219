#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "SString.h"
#include "Text/CharClass_p.h"
#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"

namespace vyn {

namespace {

// Widths and bounds are counted in 64 bits and kept within an int.
int Clamp(long long n) {
    return static_cast<int>(std::min<long long>(n, INT_MAX));
}

// Reads decimal digits at `p` and moves it behind them.
int ReadDigits(const char*& p) {
    int n = 0;
    for (; detail::IsDigit(*p); ++p) {
        n = Clamp(n * 10LL + (*p - '0'));
    }
    return n;
}

// What a prefix says of the argument: narrow and wide by one letter, and the sizes of an integer. `L` is
// large for both kinds of numbers.
enum class Prefix { eNone, eNarrow, eWide, eByte, eLongLong, eMax, eSize, eDifference, eLarge };

// One conversion of a format, as the scan understands it.
struct Conversion {
    int width = 0;
    int precision = 0;
    bool truncates = false;  // a precision of 0 that is written does too
    Prefix prefix = Prefix::eNone;
    char letter = 0;

    int Limited(size_t length) const {
        int size = std::max(Clamp(static_cast<long long>(length)), width);
        return precision != 0 ? std::min(size, precision) : size;
    }
    int AtLeast(int size) const { return std::max(size, Clamp(static_cast<long long>(width) + precision)); }
    bool IsWideText() const { return prefix == Prefix::eWide || (prefix != Prefix::eNarrow && letter == 'S'); }
    // The most elements that are read of a text, which needs no NUL behind them.
    size_t MostElements() const { return truncates ? static_cast<size_t>(precision) : SIZE_MAX; }
};

// The scan reads the arguments of the list that it is given: the caller hands it a copy. Behind something
// that it doesn't know it can't tell which argument belongs to what, and reads none.
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
    bool IsRefused() const { return m_bRefused; }

private:
    template <class T>
    T Next() {
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the constructor copies it
        return m_bRefused ? T() : va_arg(m_args, T);
    }

    // Reads flags, width, precision and prefix at `p` and returns what the flags add to the bound.
    int ReadModifiers(const char*& p, Conversion& conversion) {
        int extra = 0;
        for (; *p && strchr("#*-+0 ", *p); ++p) {
            if (*p == '#') {
                extra += 2;
            } else if (*p == '*') {
                conversion.width = Next<int>();
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
            ReadPrecision(p, conversion);
        }
        conversion.prefix = ReadPrefix(p);
        return extra;
    }

    void ReadPrecision(const char*& p, Conversion& conversion) {
        int precision = 0;
        if (*p == '*') {
            precision = Next<int>();
            ++p;
        } else {
            precision = ReadDigits(p);
        }
        // A negative one counts as none.
        conversion.truncates = precision >= 0;
        conversion.precision = std::max(precision, 0);
    }

    Prefix ReadPrefix(const char*& p) {
        static const struct {
            const char* text;
            Prefix prefix;
        } rows[] = {{"hh", Prefix::eByte}, {"h", Prefix::eNarrow}, {"ll", Prefix::eLongLong},  {"l", Prefix::eWide},
                    {"j", Prefix::eMax},   {"z", Prefix::eSize},   {"t", Prefix::eDifference}, {"L", Prefix::eLarge}};
        for (const auto& row : rows) {
            const size_t length = strlen(row.text);
            if (strncmp(p, row.text, length) == 0) {
                p += length;
                return row.prefix;
            }
        }
        // Prefixes of another system, which the formatter of this one takes for conversions.
        if (*p == 'F' || *p == 'N') {
            ++p;
            m_bRefused = true;
        }
        return Prefix::eNone;
    }

    int ItemSize(const Conversion& conversion) {
        switch (conversion.letter) {
            case 'd':
            case 'i':
            case 'o':
            case 'u':
            case 'x':
            case 'X':
                ReadInteger(conversion.prefix);
                return conversion.AtLeast(32);
            case 'n':
                Next<void*>();
                return 0;
            case 'e':
            case 'g':
            case 'G':
                ReadNumber(conversion);
                return conversion.AtLeast(128);
            case 'f':
                return ReadNumber(conversion);
            default:
                return OtherSize(conversion);
        }
    }

    // The size of what takes no prefix but those of one letter.
    int OtherSize(const Conversion& conversion) {
        if (conversion.prefix > Prefix::eWide && conversion.prefix != Prefix::eLarge) {
            m_bRefused = true;
        }
        switch (conversion.letter) {
            case 'c':
            case 'C':
                Next<int>();
                return conversion.Limited(2);
            case 's':
            case 'S':
                return TextSize(conversion);
            case 'p':
                Next<void*>();
                return conversion.AtLeast(32);
            default:
                m_bRefused = true;
                return 0;
        }
    }

    void ReadInteger(Prefix prefix) {
        switch (prefix) {
            case Prefix::eWide:
                Next<long>();
                break;
            case Prefix::eLongLong:
            case Prefix::eLarge:
                Next<long long>();
                break;
            case Prefix::eMax:
                Next<intmax_t>();
                break;
            case Prefix::eSize:
                Next<size_t>();
                break;
            case Prefix::eDifference:
                Next<ptrdiff_t>();
                break;
            default:
                Next<int>();
        }
    }

    // Returns the length of the number as `f` writes it.
    int ReadNumber(const Conversion& conversion) {
        const int precision = Clamp(conversion.precision + 6LL);
        const int length = conversion.prefix == Prefix::eLarge
                               ? snprintf(nullptr, 0, "%*.*Lf", conversion.width, precision, Next<long double>())
                               : snprintf(nullptr, 0, "%*.*f", conversion.width, precision, Next<double>());
        return std::max(0, length);
    }

    int TextSize(const Conversion& conversion) {
        const size_t sizeOfNull = 6;  // "(null)"
        size_t length = sizeOfNull;
        if (conversion.IsWideText()) {
            if (const wchar_t* wide = Next<const wchar_t*>()) {
                length = wcsnlen(wide, conversion.MostElements());
            }
        } else if (const char* text = Next<const char*>()) {
            length = strnlen(text, conversion.MostElements());
        }
        return conversion.Limited(std::max(length, size_t{1}));
    }

    va_list m_args;
    bool m_bRefused = false;
};

int Measure(const char* format, va_list args) {
    va_list measured;
    va_copy(measured, args);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    return length;
}

// qzd_trace, which is set while the library loads.
struct TraceSwitch {
    TraceSwitch() : m_nOn(detail::Environment("QZD_TRACE") ? 1 : 0) {}
    int m_nOn;
};

VYN_INIT(VYN_INIT_TRACE) TraceSwitch qzd_trace;

}  // namespace

int SString::FormatV(const char* format, void* args) {
    va_list& list = *static_cast<va_list*>(args);
    FormatScan scan(list);
    const int bound = scan.Bound(format);

    const int savedErrno = errno;
    const int length = scan.IsRefused() ? -1 : Measure(format, list);
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
