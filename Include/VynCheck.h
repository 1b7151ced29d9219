#pragma once

/// \file
/// What is wrong or odd in a file: reports of the parse, and a check against declared options. Nothing here changes a
/// file or a result of anything else. Any thread, but a manager belongs to one.

#include <vector>

#include "SString.h"
#include "VynExport.h"

namespace vyn {

class COptionManager;

/// What a finding is about. Each has its text in the language of the messages.
enum class FindingCode {
    eUnexpected,         ///< ended the parse: the file is malformed
    eTextAfterValue,     ///< ended the parse, too: more than one text for a value
    eTextBeforeHeading,  ///< bytes that begin nothing
    eOpenHeading,        ///< a heading that ends at a later one's `]`, or with the file
    eOpenString,         ///< the rest of the file is its text
    eOpenAttributes,     ///< the rest of the file is the list
    eOddAttributes,      ///< what stands there is dropped
    eMissingText,        ///< the name counts as the text, or nothing is read
    eNumberChanged,      ///< it wrapped around 32 bits, or lost zeros
    eNulByte,            ///< what follows isn't read, and a save refuses the file
    eForeignMark,        ///< a byte order mark
    eRepeatedValue,      ///< the last one counts
    eRepeatedSection,    ///< both count as one
    eNameTooLong,        ///< no look-up reaches it
    eUnstorable,         ///< a text in memory that a save leaves out
    eUnknownSection,     ///< no table declares it
    eUnknownValue,       ///< the section's table doesn't declare it
    eNoInteger,          ///< as the default is one, and the row's kind isn't text
    eNoBoolean,          ///< as the default is one
    eSameAsUnderneath,   ///< the entry changes nothing
    eOverruled,          ///< by a fixed value of a file below
    eIdleFixed,          ///< its text is neither true nor false, or no file stands above
    eParentMissing,      ///< of a style's `BasedOn`
    eParentCircle,       ///< of a style's `BasedOn`
    eUrnMalformed,       ///< of a URN map
    eUrnRefused,         ///< of a URN map
    eUrnShadowed,        ///< of a URN map
    eUrnTarget,          ///< of a URN map
    eUnfinishedSave,     ///< the file is half written in place; what a load reads lies beside it
};

/// \return the name of \p code for programs, as "unknown-option"; of static life.
VYN_API const char* GetFindingName(FindingCode code);

/// \brief One thing that is wrong or odd in a file.
struct Finding {
    int line;          ///< from 1
    int column;        ///< from 1, in bytes
    FindingCode code;  ///< what it is
    SString text;      ///< the same in words, in the language of the messages
};

/// \brief Receives findings as they are made.
class VYN_API CFindingSink {
public:
    virtual ~CFindingSink() = default;
    /// Called for each finding, in file order.
    virtual void Report(const Finding& finding) = 0;
};

/// Reads a file as CRgFile::Load does and reports everything that is wrong or odd in its text. A load itself reports
/// nothing, and so pays nothing.
/// \param path not null.
/// \return 0 when a load of the file succeeds; EILSEQ when it is malformed; else the `errno` of the read.
VYN_API int ReportLoad(const char* path, CFindingSink& sink);

/// Checks an option or style file: the reports of ReportLoad, a save that never ended, repeated entries, styles that
/// are based on what isn't there, and, with a manager, what its tables and the files below say. A file that isn't in
/// its stack counts as lying on top.
/// \param path not null.
/// \param manager may be null. The files of its stack aren't read again.
/// \param[out] findings all of them, in file order; emptied first.
/// \return as ReportLoad.
VYN_API int CheckFile(const char* path, COptionManager* manager, std::vector<Finding>& findings);

/// Checks a file of URN entries, as ZEM_URN_MAP_FILE names one: entries that are malformed, refused or shadowed, and
/// targets that are no directory.
/// \param path not null.
/// \param[out] findings all of them, in file order; emptied first.
/// \return 0, else the `errno` of the read.
VYN_API int CheckUrnMap(const char* path, std::vector<Finding>& findings);

}  // namespace vyn
