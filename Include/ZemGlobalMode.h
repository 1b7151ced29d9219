#pragma once

/// \file
/// One number that the parts of a tool share to know in which mode the process runs. No lock: set it before
/// the threads that ask for it start.

#include <cstdint>

#include "VynExport.h"

namespace vyn::gmode {

/// The values are the tool's own; the library only keeps one.
enum EZemGlobalMode : std::int32_t {};

/// Sets the mode of the process.
VYN_API void SetZemGlobalMode(EZemGlobalMode mode);
/// \return what was set last; 0 at the start.
VYN_API EZemGlobalMode GetZemGlobalMode();

}  // namespace vyn::gmode
