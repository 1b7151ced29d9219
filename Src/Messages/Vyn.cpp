#include "Vyn.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "SString.h"
#include "Text/Environment_p.h"
#include "VynErrOut.h"

namespace vyn {

namespace {

char MsgBuf[1024];

}  // namespace

void vyn_assert(const char* expression, const char* file, int line) {
    static const bool on = detail::Environment("QZD_ASSERT") != nullptr;
    if (on) {
        vynerr << "Assertion failed: " << expression << ", file " << file << ", line " << line << endl << flush;
    }
}

char* vyn_strerror(int number) {
    if (char* text = strerror(number)) {
        return text;
    }
    xq_sprintf_s(MsgBuf, sizeof MsgBuf, "Error %d", number);
    return MsgBuf;
}

int xq_sprintf_s(char* buffer, size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(buffer, size, format, args);
    va_end(args);
    return length;
}

}  // namespace vyn
