#pragma once

/// \file
/// Names for those of the library's own numbered strings that it uses itself. They are found while a
/// VynDllHrscState holds VynhDllInstance.

namespace vyn::detail {

enum LibraryString : unsigned {
    eStrMyProjects = 8,             // the directory of the user's projects
    eStrOpenForWriteFailed = 9,     // path
    eStrOpenForReadFailed = 10,     // path
    eStrUrnTargetNotAbsolute = 12,  // URN, target
    eStrUrnUnknown = 13,            // URN
    eStrUrnAlreadyDefined = 14,     // URN, target
    eStrUrnTargetNotFound = 15,     // for SFmt: URN, target, error
    eStrInvalidFilter = 16          // for SFmt: pattern, error
};

}  // namespace vyn::detail
