#pragma once

/// \file
/// The soft assertion and small helpers that every module shares. No locks: vyn_assert and vyn_strerror are for
/// one thread at a time. All is defined in Messages/Vyn.cpp, since assertions report on the error stream.

#include <cstddef>

#include "VynExport.h"

namespace vyn {

/// Reports on `vynerr` that \p expression doesn't hold, if QZD_ASSERT is in the environment at the first call
/// in the process. Returns in every case: an assertion never stops the program.
/// \param expression the text of what was asserted. Not null.
/// \param file not null.
VYN_API void vyn_assert(const char* expression, const char* file, int line);

/// \return the system's text for the error \p number, never null; valid until the next call.
VYN_API char* vyn_strerror(int number);

/// Formats into \p buffer as `snprintf` does: what doesn't fit is cut off, and a NUL ends the text.
/// \param size bytes of \p buffer, at least 1.
/// \return the length of the whole text in bytes; negative when the system refuses the format.
VYN_API int xq_sprintf_s(char* buffer, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));

/// \brief A base for the points of a tool.
class VYN_API CRPoint {
public:
    virtual ~CRPoint() = default;
};

/// \brief A base for the sizes of a tool.
class VYN_API CRSize {
public:
    virtual ~CRSize() = default;
};

}  // namespace vyn
