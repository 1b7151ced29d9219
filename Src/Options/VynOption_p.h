#pragma once

/// \file
/// What the keys of option files and of style files share.

#include <cstring>

#include "VynOption.h"

namespace vyn::detail {

/// Makes the value of a declared option, with \p attributes on it.
/// \param option null means that the option isn't declared.
/// \param attributes taken over, also when nothing is made; may be null.
/// \return the value, which belongs to the caller; null without an option.
COptRgValue* MakeOptionValue(const COption* option, const char* value, MList<CRgAttribute*>* attributes);

/// \return true when \p value isn't to be redefined by the files above its own.
inline bool IsFixed(CRgValue& value) {
    if (value.GetAttributeCount() == 0) {
        return false;
    }
    const char* mark = value.GetAttributeValue(szUnRefinable);
    return mark && strcmp(mark, "true") == 0;
}

}  // namespace vyn::detail
