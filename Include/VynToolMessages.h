#pragma once

/// \file
/// A tool's own numbered messages: an English table in the tool, languages in libraries beside it, and checks of both.
/// Nothing is locked: the objects of a module are made while it starts.
/// VynRes.cpp has the table of the library's own messages.

#include <list>

#include "VynM.h"
#include "VynRes.h"

namespace vyn {

/// One message. A table of them ends with a null text.
struct VynMessage {
    unsigned id;       ///< the number by which it is asked for
    const char* text;  ///< with placeholders of SString::Format or of SFmt
};

/// \brief The messages of a tool, or of a module of one, in the language of the user.
///
/// A source of the tool holds the English table, and each further language is such a source as well:
///
///     #include "VynToolMessages.h"
///
///     const vyn::VynMessage vynMessages[] = {{1, "%s: no such file"}, {2, "%1 of %2 lines"}, {}};
///
/// `vyn_add_language(texttool en English.cpp)` and `vyn_add_language(texttool de German.cpp)` of the CMake package add
/// them to the target `texttool`; a fourth argument names another folder than `locale`. The tool makes one object, and
/// names its handle wherever a module is asked for:
///
///     VynToolMessages messages("texttool", vynMessages);
///     vynerr << (SFmt(messages.GetHandle(), 2) << 5L << 7L) << endl << flush;
///
/// A language that isn't there, and each single text that it hasn't, is replaced by English. In the language "x-pseudo"
/// all texts are those of VynPseudoText. The library's own messages come from its own files all the same.
class VYN_API VynToolMessages {
public:
    /// Finds the language VynGetLocale() in `LOCALE/LANGUAGE/NAME.so`.
    /// \param name the target's name. Not null.
    /// \param english the table, which outlives the object. Not null.
    /// \param locale directory of the languages. Unless it is absolute it is looked for in the directory of the program
    /// or library that holds \p english, and in the one above. Not null.
    VynToolMessages(const char* name, const VynMessage* english, const char* locale = "locale");
    VynToolMessages(const VynToolMessages&) = delete;
    VynToolMessages& operator=(const VynToolMessages&) = delete;

    /// \return the handle of these messages, for VynLoadString, SFmt, VynSetResourceHandle, VynDllHrscState and
    /// VynResourceHandler, as long as the object lives.
    HINSTANCE GetHandle() const { return reinterpret_cast<HINSTANCE>(const_cast<VynToolMessages*>(this)); }
    /// \return message \p id as it stands; empty when there is none.
    SString GetText(unsigned id) const;

private:
    SStringTable m_table;
    std::list<SString> m_listPseudo;  // the texts of the pseudo-language, which the table points to
};

/// \return the English messages of the library itself, whatever the language.
VYN_API const VynMessage* VynGetEnglishMessages();

/// Compares the texts of a module with English ones: each has to be there, with the same placeholders. Those of SFmt
/// may stand in any order, and those of SString::FormatI18n where their numbers put them; the others keep their order.
/// \param english not null.
/// \param handle a module with a table, as VynhDllInstance or VynToolMessages::GetHandle.
/// \param[out] findings gets a line for each text that is missing or differs.
/// \return the number of lines.
VYN_API int VynCheckTranslation(const VynMessage* english, HINSTANCE handle, SVector<SString>& findings);

/// \return \p english made longer, with accents and in brackets, its placeholders kept: for tests of what displays
/// translated texts. Not null.
VYN_API SString VynPseudoText(const char* english);

}  // namespace vyn

/// The messages of a source that is given to `vyn_add_language`.
extern "C" {
#ifdef VYN_LANGUAGE
extern VYN_API const vyn::VynMessage vynMessages[];
#else
extern __attribute__((visibility("hidden"))) const vyn::VynMessage vynMessages[];
#endif
}
