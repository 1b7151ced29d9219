#pragma once

/// \file
/// The start of a report on vynerr that names its place in the source.

#include <cstring>

#include "VynErrOut.h"

namespace vyn::detail {

/// Starts a report, as `Internal error: file VynRes.cpp, line 17: `. The caller adds the text, `endl` and
/// `flush`; the place is the caller's.
inline CMsgOut& SourceReport(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    const char* slash = strrchr(file, '/');
    return vynerr << IntErr << "file " << (slash ? slash + 1 : file) << ", line " << line << ": ";
}

}  // namespace vyn::detail
