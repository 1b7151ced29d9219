#pragma once

/// \file
/// What the keys of option files and of style files share.

#include "VynOption.h"

namespace vyn::detail {

/// Makes the value of a declared option, with \p attributes on it.
/// \param option null means that the option isn't declared.
/// \param attributes taken over, also when nothing is made; may be null.
/// \return the value, which belongs to the caller; null without an option.
COptRgValue* MakeOptionValue(const COption* option, const char* value, MList<CRgAttribute*>* attributes);

}  // namespace vyn::detail
