#pragma once

/// \file
/// URIs and URNs: the tests that tell them from plain paths. They look at the text alone and may be called
/// from any thread.

#include "Vyn.h"

namespace vyn {

/// \return true when \p text begins with a letter, further letters or digits, and ":". A drive path as `c:/x`
/// counts as a URI, with a scheme of one letter; a scheme with "+", "-" or "." doesn't.
/// \pre \p text isn't null.
VYN_API bool VynIsAUri(const char* text);
/// \return true when \p text begins with "urn:" in these very letters; false for null.
VYN_API bool VynIsAUrn(const char* text);
/// \return true when \p text begins with "reqix:", a location inside the requirement tool; false for null.
VYN_API bool VynIsAReqixUri(const char* text);
/// \return true when \p text begins with "ql:", a location inside another sibling tool; false for null.
VYN_API bool VynIsAQLUri(const char* text);

}  // namespace vyn
