#pragma once

/// \file
/// Names for Tcl scripts. Any thread may call it.

#include "SString.h"

namespace vyn {

/// Sets \p legal to \p name with each character that Tcl treats specially replaced by "_": braces, square
/// brackets, backslash, slash, both quotes, dollar, semicolon, colon and blank. The length doesn't change and
/// other characters stay, so that different names can become equal. Both may be the same object.
VYN_API void VynGetLegalTclName(const SString& name, SString& legal);

}  // namespace vyn
