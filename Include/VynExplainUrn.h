#pragma once

/// \file
/// Why a URN stands for its path, and a resolution that doesn't leave the target. Both look at the URN map and keep to
/// its thread rule: any thread, while nobody changes the map.

#include <vector>

#include "SString.h"
#include "VynExport.h"
#include "VynUri.h"

namespace vyn {

/// Where an entry of the URN map comes from.
enum SUrnSource {
    eUrnPredefined = 0,  ///< one of the library's own names
    eUrnFile = 1,        ///< the file that ZEM_URN_MAP_FILE named when the map was last read
    eUrnRegistered = 2,  ///< SUrnResolver::RegisterUrn
};

/// What became of an entry.
enum SUrnFate {
    eUrnDecides = 0,         ///< gives the name its target
    eUrnAlreadyDefined = 1,  ///< refused: the name was there
    eUrnReplaced = 2,        ///< by a later entry, whose name has upper-case letters
    eUrnTooLong = 3,         ///< refused: its target is too long for a path
};

/// \brief One entry for a name, as it was found when the map was last read, or registered since.
struct SUrnEntry {
    SUrnSource source;  ///< where it comes from
    SString file;       ///< the path of the file of an eUrnFile; else empty
    SString name;       ///< as it was written
    SString target;     ///< as it was written
    SUrnFate fate;      ///< what became of it
};

/// \brief How a text is resolved.
struct SUrnExplanation {
    SUrnResolver::SURNStatus status;  ///< as of SUrnResolver::ResolveUrn
    SString name;                     ///< in lower case; empty without a well-formed URN
    SString path;                     ///< as of SUrnResolver::ResolveUrn
    std::vector<SUrnEntry> entries;   ///< all that there were for the name, in the order in which they were read
};

/// \return how \p urn is resolved, and which entry of its name decides and which lost. Nothing is reported.
VYN_API SUrnExplanation ExplainUrn(const SString& urn);

/// Resolves a URN that comes from outside: as SUrnResolver::ResolveUrn, but only to what lies in the directory that the
/// name stands for, or in one below it, once ".." and the symbolic links that are there now are followed. What doesn't
/// exist yet may be named.
/// \param[out] path the location, its links not followed; \p urn itself on failure.
/// \return false, and `errno`, on failure: EXDEV for a path that leads out, EINVAL for a text that is no URN or whose
/// name has no target, ENOENT for an unknown name, which is reported, ENAMETOOLONG for a path that is too long, ELOOP
/// for links in a circle; else that of the system where a directory can't be searched.
VYN_API bool ResolveUrnBeneath(const SString& urn, SString& path);

}  // namespace vyn
