#pragma once

/// \file
/// The limit of a path, for those who handle texts that may turn out to be too long for one.

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace vyn::detail {

constexpr size_t sizePath = 1024;  // of the longest path, with its NUL

/// \return true when \p text isn't too long for a path; else `errno` is ENAMETOOLONG. SPathName itself would be
/// empty then, which stands for the current directory in many places.
inline bool FitsPath(const char* text) {
    if (strlen(text) < sizePath) {
        return true;
    }
    errno = ENAMETOOLONG;
    return false;
}

}  // namespace vyn::detail
