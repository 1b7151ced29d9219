#pragma once

/// \file
/// The limit of a path, for those who handle texts that may turn out to be too long for one, and the owner of the
/// texts that path functions hand out.

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace vyn::detail {

constexpr size_t sizePath = 1024;  // of the longest path, with its NUL

/// A text that `malloc` made.
struct FreeMalloc {
    void operator()(char* text) const { free(text); }
};
using MallocText = std::unique_ptr<char, FreeMalloc>;

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
