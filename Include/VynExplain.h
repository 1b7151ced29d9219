#pragma once

/// \file
/// Answers for people: where does a value come from, why can't it be changed, what would a save do? Nothing here
/// changes a result of anything else. A manager, its files and what is asked of them here belong to one thread.
/// VynPreview.cpp has what looks ahead at a save.

#include <string>
#include <vector>

#include "VynOption.h"

namespace vyn {

/// What a step of the ladder has to do with the answer.
enum ExplainRole {
    eDecides,        ///< the value is the answer
    eSameAsDecides,  ///< it doesn't decide, but has the same text
    eShadowed,       ///< a step above decides
    eOverruled,      ///< a step below, which is marked fixed, decides
    eNoValue,        ///< the file has no value for the option
    eNotDeclared     ///< no table declares the option, so that there is no default
};

/// \brief One step of the ladder: a file of the stack, or the declared default at its foot.
struct ExplainStep {
    SString file;                 ///< path name of the file; empty for the default and for a file without one
    SString style;                ///< name of the style whose stack the step belongs to; empty for a manager
    int line = 0;                 ///< line of the file that the value was read from; 0 for one that was set since
    SString text;                 ///< the text; empty without a value
    bool isDefault = false;       ///< the step is the declared default
    bool isFixed = false;         ///< the value is marked fixed
    ExplainRole role = eNoValue;  ///< its part in the answer
};

/// \brief Where the value of an option comes from.
struct ValueExplanation {
    SString value;                   ///< what COptionManager::GetValue answers
    std::vector<ExplainStep> steps;  ///< from the top file to the declared default

    /// \return the step that decides; null when the option has neither a value nor a default. It belongs to this
    /// object.
    VYN_API const ExplainStep* GetDecision() const;
};

/// Explains COptionManager::GetValue. For a CStyle the steps go on through the styles that it is based on.
/// \param key path of the option's category. Not null, as \p name isn't.
VYN_API ValueExplanation ExplainValue(const COptionManager& manager, const char* key, const char* name);

/// Why an option can't be changed.
enum ChangeObstacle {
    eNoObstacle,    ///< it can be changed
    eFixedBelow,    ///< a file below the top one marks the value fixed
    eNotWritable,   ///< the top file can't be written, or doesn't exist
    eNotLoaded,     ///< the top file, a personal one, couldn't be read or is malformed
    eNoFile,        ///< the manager has no file to hold a change
    eUnknownOption  ///< no table declares the option
};

/// \brief Whether an option can be changed, and if not, why.
struct ChangeAnswer {
    ChangeObstacle obstacle = eNoObstacle;  ///< why it can't
    SString file;                           ///< path name of the file that stands in the way; empty when none does
    int line = 0;   ///< of the fixed value in it; 0 when that was set since the load, and for the other obstacles
    int error = 0;  ///< an error number for eNotWritable and eNotLoaded: EILSEQ for a malformed file
};

/// Says why COptionManager::IsEditable is 0, or why a change would be dropped all the same. For a style the answer
/// holds for its own stack.
VYN_API ChangeAnswer CanChange(COptionManager& manager, const char* key, const char* name);

/// What a save does to one entry.
enum SaveChangeKind {
    eChanged,  ///< the entry stays in its place with another text
    eAdded,    ///< it is new in the file
    eDropped,  ///< it leaves the file
    eMoved     ///< it stays the same, in another order among the others
};

/// \brief One entry that a save changes.
struct SaveChange {
    SaveChangeKind kind;  ///< what happens to it
    SString address;      ///< path of the section and name of the value, joined by `/`
    SString oldText;      ///< empty for eAdded
    SString newText;      ///< empty for eDropped
};

/// \brief What a save would do.
struct SavePreview {
    int status = 0;                   ///< what COptionFile::Save would return, as long as the disk has room
    std::string text;                 ///< what the file would then hold
    std::vector<SaveChange> changes;  ///< in the order of the new text, the dropped entries last; no entry that is kept
    int kept = 0;                     ///< number of entries that stay as they are, in their place
};

/// Tells what COptionFile::Save, a merging one too, would do, without touching the disk or memory.
/// \param path null means the file's own path.
VYN_API SavePreview PreviewSave(COptionFile& file, const char* path);

}  // namespace vyn
