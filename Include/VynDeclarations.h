#pragma once

/// \file
/// Declared options as a file: what a tool declares in static tables is written for other programs, and read back as
/// tables that a manager owns. An object belongs to one thread.

#include <map>
#include <string>

#include "VynExport.h"
#include "VynOption.h"

namespace vyn {

/// \brief A set of declared options that isn't compiled in.
///
/// In its file a section is a category, a value an option, its text the default, and the attribute "kind" is "bare" or
/// "other" for the options that are written bare.
/// \code
/// COptionManager manager;  // of the tool that declares them
/// CDeclarations own;
/// own.AddFrom(manager);
/// own.Save("tool.tables");
///
/// COptionManager other;  // of another program
/// CDeclarations declarations;
/// if (declarations.Load("tool.tables") == 0) {
///     declarations.AddTo(other);
/// }
/// \endcode
class VYN_API CDeclarations {
public:
    CDeclarations() = default;

    /// Adds a copy of \p option, or puts it in the place of the one at that address.
    /// \param key path of the category. Not null, as the texts of \p option aren't.
    void Add(const char* key, const COption& option);
    /// Adds all that \p category, a manager as a rule, declares below itself.
    void AddFrom(CMgrCategory& category);
    /// Adds what the file at \p path declares.
    /// \return 0 on success; EILSEQ for a malformed file, and the `errno` of a read that fails: then nothing is added.
    int Load(const char* path);
    /// Adds each entry of an option file as an option with an empty default, for programs that know no tables.
    /// \return as Load.
    int LoadEntries(const char* path);
    /// Writes the file, which is replaced whole.
    /// \return 0 on success; EILSEQ when the format can't hold a name or a default, and the file stays as it was; else
    /// the `errno` of the write.
    int Save(const char* path) const;
    /// \return whether the option is declared.
    bool Has(const char* key, const char* name) const;

    /// Declares the options to \p manager, which owns the tables: this object may change or go. A category whose name
    /// has more than 255 bytes, and so no address, is left out. To be called before any file is loaded.
    void AddTo(COptionManager& manager) const;

private:
    struct Row {
        int kind;
        std::string text;  // the default
    };

    int Read(const char* path, bool areEntries);

    std::map<std::string, std::map<std::string, Row>> m_rows;  // by key and name
};

}  // namespace vyn
