#pragma once

/// \file
/// What the option and style keys share with the plain Rg tree.

#include <string>
#include <string_view>

#include "RgFile.h"

namespace vyn::detail {

/// Room for one element of a key path: 255 bytes and the NUL.
constexpr size_t kKeyElementSize = 256;

/// Copies \p length bytes of \p text to \p element, NUL-terminated.
/// \return false when they don't fit; \p element is then empty and `errno` EINVAL.
bool CopyKeyElement(const char* text, size_t length, char (&element)[kKeyElementSize]);

/// Takes the first element off a key path, as CopyKeyElement does.
/// \return the path behind the `/` that ended the element; null when it was the last.
const char* SplitKeyPath(const char* path, char (&element)[kKeyElementSize]);

/// \return a copy, to be freed by `free`; null becomes the empty text.
char* CopyText(const char* text);

/// Deletes the attribute objects of \p attributes and empties the list; null is fine.
void DestroyAttributes(MList<CRgAttribute*>* attributes);

/// \return true when the text can be an element of the path in a heading and is read back: it isn't empty, doesn't
/// begin with a space, and has neither `]` nor `/`.
bool IsHeadingElement(const char* name);

/// \return true when a heading can hold one of the attributes: its texts aren't empty and have no character of the
/// syntax.
/// \param attributes may be null.
bool HasHeadingAttributes(MList<CRgAttribute*>* attributes);

/// Appends a section heading, with the attributes that it can hold in parentheses. The others are left out: they would
/// make the file unreadable.
/// \param attributes may be null.
void AppendHeading(std::string& text, std::string_view path, MList<CRgAttribute*>* attributes);

/// Appends `"name"=` and the value, between two \p quote.
void AppendAssignment(std::string& text, std::string_view name, const char* quote, std::string_view value);

/// Appends one value line, as CRgValue::Dump writes it.
/// \param attributes may be null.
void AppendValue(std::string& text, std::string_view name, CRgValue::RvType type, const char* value,
                 MList<CRgAttribute*>* attributes);

/// Writes \p root and all below it, as CRgKey::Dump does. Sections whose name no heading can hold are left out and told
/// on `vynerr`.
/// \param parentPath path of the parent key; null when \p root is the root of the tree.
/// \return true when nothing was left out.
bool DumpTree(FILE* file, const CRgKey& root, const char* parentPath);

}  // namespace vyn::detail
