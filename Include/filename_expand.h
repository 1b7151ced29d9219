#pragma once

/// \file
/// Path functions on plain NUL-terminated texts, which SPathName rests on. The separator is "/". The
/// functions keep no state but the result of filename_expand, which belongs to one thread at a time.

#include "VynExport.h"

extern "C" {

/// A URN becomes its path, and any other URI, such as a drive path, stays as it is. Else, and in a URN that
/// can't be resolved, expands `$(NAME)` to the value of the environment variable, once from left to right,
/// and a leading `~` or `~name` to the home directory of the effective or the named user. A reference to a
/// variable or user that doesn't exist stays.
/// \param text not null; may be an earlier result.
/// \return the expanded text, never null and at most 1023 bytes; a static buffer that lasts until the next
/// call. A longer text is cut, while a URI or a path of a URN that is too long leaves the earlier result.
/// `errno` is ERANGE for such a URI, when the text for a reference didn't fit and was left out, and when a
/// home directory didn't fit and the "~" stays.
VYN_API char* filename_expand(const char* text);

/// \param text not null.
/// \return \p text when it begins with "/", else the current directory, "/" and \p text, with "." for a
/// directory that the system can't tell, after a message by `perror`. The caller frees it.
VYN_API char* full_path_name(const char* text);

/// Both arguments may have backslashes. A URI, and a path that shares no start with \p base, is no way from
/// there and comes back as it is.
/// \param base a file: its last element doesn't count.
/// \return \p path as seen from the directory of \p base; null when either is null. The caller frees it.
/// `errno` is ERANGE when pieces were left out to keep the result within 1024 bytes.
VYN_API char* get_rel_path(const char* path, const char* base);

/// Cuts the suffix off in place.
/// \param text not null.
/// \return \p text.
VYN_API char* name_unsuffix(char* text);

/// \param text not null.
/// \return the last "." of the last element, where its suffix starts; null when it has none. A dot-file is
/// all suffix.
VYN_API char* name_suffix(char* text);

/// Cuts the suffix off in place.
/// \param text not null.
/// \return the last element, inside \p text.
VYN_API char* name_base(char* text);

}  // extern "C"
