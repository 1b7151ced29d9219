#pragma once

/// \file
/// The one place where the library reads its environment.

#include <cstdlib>

namespace vyn::detail {

/// \return the value of a variable, valid until the environment changes; null when it isn't set, and in a process
/// that runs with more rights than whoever started it, whose environment isn't to be trusted.
inline const char* Environment(const char* name) {
    return secure_getenv(name);
}

}  // namespace vyn::detail
