#pragma once

/// \file
/// What the sources of the URN map, the resolver and the schemes share.

#include <list>
#include <map>

#include "Resources/VynRes_p.h"
#include "VynErrOut.h"
#include "VynExplainUrn.h"
#include "VynUri.h"

namespace vyn {

/// \brief The content of the URN map: from a name in lower case to a directory that ends in "/" or is empty.
class SURNMapHandler : public std::map<SString, SString> {
public:
    /// Fills the map with the predefined names and those of the file of ZEM_URN_MAP_FILE.
    SURNMapHandler();
    SURNMapHandler(const SURNMapHandler&) = delete;
    SURNMapHandler& operator=(const SURNMapHandler&) = delete;
    ~SURNMapHandler();
};

/// \return the URN map; before the library has started and after it has ended, another one, empty at first.
std::map<SString, SString>* VynGetUrnUriMap();
/// Sets the entry of \p name, in lower case, to \p target in normal path form with a final "/".
/// \return false, with `errno` ENAMETOOLONG, when the target is too long for that; the map is unchanged.
bool VynInsertUrn(const char* name, const char* target, std::map<SString, SString>& map);
/// Splits \p text at its first ":". Without one, or with one at its start, \p tag is the whole text and
/// \p value is unchanged.
void ParseTagValue(const SString& text, SString& tag, SString& value);

/// \return the registered schemes, oldest first. The list is never destroyed.
std::list<SUriScheme*>* VynGetUriSchemeList();

namespace detail {

/// \return what there was for each name, in lower case, since the map was last read. Never destroyed.
std::map<SString, std::vector<SUrnEntry>>& UrnEntries();
/// Enters \p name and \p target into the map, or not, and notes the entry with what became of it.
SUrnFate EnterUrn(SUrnSource source, const SString& file, const SString& name, const SString& target,
                  std::map<SString, SString>& map);

/// Reports one of the library's own strings with \p texts on vynerr.
inline void ReportOwnString(LibraryString id, std::initializer_list<SString> texts) {
    vynerr << OwnMessage(id, texts) << endl << flush;
}

/// Reports on vynerr that not all was written to a file.
inline void ReportWriteError(const SString& path) {
    vynerr << "Error occured while writing to file :" << path << endl << flush;
}

}  // namespace detail

}  // namespace vyn
