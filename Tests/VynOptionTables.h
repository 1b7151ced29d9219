#pragma once

/// \file
/// The tables that the option tests declare: Editor (options Wrap, Width of kind 2, Ratio of kind 3, Name)
/// with the sub-category Text (Font, Size) and, beside it, Build (Target).
/// For a second manager: Editor and New (Wrap, Extra).

#include "VynOption.h"

namespace vyn::test {

inline const COption optBase[] = {{"Name", 1, "base", 0, 0}, {"Owner", 1, "nobody", 0, 0}};
inline const COptionSet setBase = {"Base", optBase, 2, nullptr};
inline const COption optEditor[] = {
    {"Wrap", 1, "true", 0, 0}, {"Width", 2, "80", 0, 0}, {"Ratio", 3, "1.5", 0, 0}, {"Name", 1, "editor", 0, 0}};
inline const COptionSet setEditor = {"Editor", optEditor, 4, &setBase};
inline const COption optText[] = {{"Font", 1, "Mono", 0, 0}, {"Size", 1, "12", 0, 0}};
inline const COptionSet setText = {"Text", optText, 2, nullptr};
inline const COption optBuild[] = {{"Target", 1, "all", 0, 0}};
inline const COptionSet setBuild = {"Build", optBuild, 1, nullptr};
inline const COption optOther[] = {{"Wrap", 1, "no", 0, 0}, {"Extra", 1, "e", 0, 0}};
inline const COptionSet setOther = {"Other", optOther, 2, nullptr};
inline const CCategory catOther = {"Editor", nullptr, 0, &setOther};
inline const CCategory catNew = {"New", nullptr, 0, &setOther};
inline const CCategory catText = {"Text", nullptr, 0, &setText};
inline const CCategory* const subEditor[] = {&catText};
inline const CCategory catEditor = {"Editor", subEditor, 1, &setEditor};
inline const CCategory catBuild = {"Build", nullptr, 0, &setBuild};

/// A manager that declares both tables.
struct Manager : COptionManager {
    Manager() {
        AddCategory(&catEditor);
        AddCategory(&catBuild);
    }
};

}  // namespace vyn::test
