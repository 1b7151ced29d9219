#include <string>

#include "Text/CharClass_p.h"
#include "VynErrOut.h"
#include "VynRes.h"

namespace vyn {

SFmt::SFmt(const char* format) : SString(format) {}

SFmt::SFmt(HINSTANCE__* module, unsigned id) {
    if (!VynLoadString(module, id, *this)) {
        vynerr << IntErr << "Vyn::SFmt::LoadString(" << long{id} << "): resource id not found" << endl << flush;
    }
}

SFmt& SFmt::operator<<(const SString& value) {
    ++m_nParameter;
    const std::string number = std::to_string(m_nParameter);
    const std::string placeholder = "%" + number;
    const size_t pos = find(placeholder);
    if (pos != npos) {
        replace(pos, placeholder.length(), value);
        return *this;
    }
    vynerr << IntErr << "SFmt: parameter %" << number.c_str() << " not found in " << c_str() << endl << flush;
    append(" ").append(value);
    return *this;
}

SFmt& SFmt::operator<<(const char* value) {
    if (!value) {
        vynerr << IntErr << "SFmt: NULL TCHAR* parameter " << c_str() << endl << flush;
        return *this;
    }
    return *this << SString(value);
}

SFmt& SFmt::operator<<(long value) {
    return *this << SString(std::to_string(value));
}

const SString& SFmt::str() {
    for (const char* p = c_str(); *p; ++p) {
        if (p[0] == '%' && detail::IsDigit(p[1])) {
            vynerr << IntErr << "SFmt: actual parameter missing " << c_str() << endl << flush;
        }
    }
    return *this;
}

CMsgOut& CMsgOut::operator<<(SFmt& format) {
    return *this << format.str();
}

}  // namespace vyn
