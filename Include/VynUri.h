#pragma once

/// \file
/// URIs and URNs: the tests that tell them from plain paths, the URN map and the resolver between URNs and
/// paths, and the registry of URI schemes with SUri, through which documents are opened. The map and the
/// registry are one for the process and not locked: they change while no other thread uses them. The text
/// tests may be called from any thread.

#include <istream>
#include <list>
#include <ostream>
#include <vector>

#include "SString.h"
#include "VynExport.h"
#include "VynM.h"

namespace vyn {

/// \return true when \p text begins with a letter, further letters or digits, and ":". A drive path as `c:/x`
/// counts as a URI, with a scheme of one letter; a scheme with "+", "-" or "." doesn't.
/// \pre \p text isn't null.
VYN_API bool VynIsAUri(const char* text);
/// \return true when \p text begins with "urn:" in these very letters; false for null.
VYN_API bool VynIsAUrn(const char* text);
/// \return true when \p text begins with "reqix:", a location inside the requirement tool; false for null.
VYN_API bool VynIsAReqixUri(const char* text);
/// \return true when \p text begins with "ql:", a location inside another sibling tool; false for null.
VYN_API bool VynIsAQLUri(const char* text);

/// \brief Turns URNs into paths and paths into URNs, over the URN map of the process.
///
/// A URN is "urn:", a name, ":" and a path below the directory that the name stands for, its target. Names
/// are told apart without regard to case. Six names are predefined, such as "k4" for the installation and
/// "k4user" for the user's data; others come from a file that the variable ZEM_URN_MAP_FILE names, and from
/// the tool:
/// \code
/// SString path;
/// SUrnResolver::ResolveUrn("urn:k4user:a/b.txt", path);  // "/home/u/Ostrel/Halcyne/Zem/4.3/a/b.txt"
/// \endcode
///
/// Nothing here throws. Problems are told on vynerr, in texts of the library's own string table.
class VYN_API SUrnResolver {
public:
    /// The kind of a text.
    enum SURNStatus {
        eUrnOk = 0,           ///< a URN, well formed; after ResolveUrn also resolved
        eUrnNotAUrn = 1,      ///< a plain path or another URI
        eUrnMalformed = 2,    ///< begins with "urn:" and has no second ":", or a path of 1024 bytes or more
        eUrnUnknownName = 3,  ///< well formed, but its name isn't in the map
    };

    /// Turns a URN into a path: the target, then the URN's path, each in the normal form of SPathName by
    /// itself. Steps ".." across the seam stay.
    /// \param[out] path the location; \p urn itself when that is no URN or the result is false.
    /// \return false when \p urn is a URN that can't be resolved. An unknown name is reported. `errno` is
    /// ENAMETOOLONG for a path that is too long.
    static bool ResolveUrn(const SString& urn, SString& path);
    /// The same, and tells the kind of the text.
    static bool ResolveUrn(const SString& urn, SString& path, SURNStatus& status);
    /// Splits a URN without looking it up. Without a well-formed one both texts are empty.
    /// \param[out] name in lower case; may be empty.
    /// \param[out] path all behind the second ":"; may be empty.
    static void DecodeURN(const SString& urn, SString& name, SString& path, SURNStatus& status);
    /// Turns a path into a URN of the first name, in the order of their bytes, whose target it lies below.
    /// \param path taken from the current directory when it is relative.
    /// \param[out] urn \p path itself when there is no such name, and when it is a URN or a location inside a
    /// sibling tool.
    static void CreateUrn(const SString& path, SString& urn);

    /// \return true when \p name, which is in lower case, is in the map.
    static bool IsUrnRegistered(const SString& name);
    /// Adds \p name in lower case to the map, until that is next read from its sources. A target that isn't
    /// an existing directory, or not absolute, is taken all the same; the first, unless it is a file, and the
    /// second are reported.
    /// \return false, and a report, when \p name is in the map exactly as it stands. One with upper-case
    /// letters never is: it replaces the entry of that name. False too for a name with ":", with `errno` EINVAL,
    /// and for a target that is too long for a path, with ENAMETOOLONG.
    static bool RegisterUrn(const SString& name, const SString& target);
    /// \param name for the report only.
    /// \param report whether to tell on vynerr that nothing is there.
    /// \return true when \p target is an existing directory, with or without a final "/". What is there and
    /// no directory isn't reported.
    static bool DoesUrnTargetExist(const SString& name, const SString& target, bool report);
    /// The same for an entry `name:target`.
    static bool DoesUrnMappedExist(const SString& mapping, bool report);
    /// \return false when the name of the entry \p mapping, `name:target`, is predefined, in whatever case.
    static bool CanUrnBeOverridden(const SString& mapping);

    /// Sets \p text to the whole map, `name:target` with ";" between, in the order of the names.
    static void EncodeUrnMap(SString& text);
    /// Appends the entries of a list to \p entries. They are separated by a newline or ";", and lose their
    /// leading blanks. An entry of blanks is left out. An empty entry ends the list: what follows, its
    /// separator included, is one last entry.
    static void DecodeUrnMap(const SString& text, std::vector<SString>& entries);
    /// Splits \p entry at its first ":". Without one, or with one at its start, \p name is the whole of it
    /// and \p target is unchanged.
    static void DecodeUrnMapped(const SString& entry, SString& name, SString& target);

    /// Finds the form of \p path to store in a document: relative when it lies below the document's
    /// directory, else a URN, else relative with ".." when \p base is absolute. URNs and locations inside
    /// sibling tools stay.
    /// \param base the path of the document, not of its directory.
    /// \param[out] result \p path itself, too, when a text is too long for a path.
    static void CreateRelativePath(const SString& base, const SString& path, SString& result);
    /// Makes a path that is stored in the document \p base absolute again. A URN stays, and
    /// \p path itself when a text is too long for a path.
    static void CreateAbsolutePath(const SString& base, const SString& path, SString& result);

    /// Makes the entries of \p text, a list as DecodeUrnMap reads, the content of the user's map file
    /// "urnmap.txt", lets ZEM_URN_MAP_FILE name that file for this process and its children, and reads the
    /// map anew: the predefined names, then the file, which counts when it is a regular one of at most 16 MiB. An
    /// entry whose name is there already is reported and left out. A file that can't be written is reported, stays
    /// as it was, and the map shows what it holds. Without HOME nothing changes.
    static void RegisterURNsFromOptionString(const SString& text);
    /// The same with the file as it is.
    static void RegisterURNsWithoutOptions();
    /// Appends one entry to the file and goes on as RegisterURNsWithoutOptions. A file that can't be written
    /// is reported, and nothing changes. So is an entry that would be read back as something else: a name with
    /// ":", and ";" or a line feed anywhere.
    static void RegisterURNAndSaveURNMapFile(const SString& name, const SString& target);
};

/// \brief A family of URIs and how to open them: the interface that a tool implements for its own.
///
/// An object is of static life or belongs to the tool, registers with SUriSchemeManager, and is called
/// through SUri. Operations that fail to open something add a text to `errors`.
class VYN_API SUriScheme {
public:
    /// A set of bits, one for each group of operations that a scheme may support.
    enum SCapability {
        eCapabilityRead = 1,
        eCapabilityWrite = 2,
        eCapabilityOpenDialog = 4,
        eCapabilitySaveDialog = 8,
        eCapabilityDirDialog = 16,
        eCapabilityMakeEditable = 64,
        eCapabilityDefaultOutputLocation = 128,
    };

    /// What became of a request.
    enum SStatus {
        eStatusNotDone = 0,    ///< the scheme did nothing
        eStatusDone = 1,       ///< done
        eStatusNoHandler = 2,  ///< no scheme takes the call, or the URN can't be resolved
    };

    /// The format of a document. Tools give the values other than 0 their meaning.
    enum SFormat : int {
        eFormatUnknown = 0,
    };

    /// Opens the document for reading.
    /// \return the stream, for the caller to delete; null, and a text in \p errors, on failure.
    virtual std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString& uri) = 0;
    /// Opens the document for writing. What is written is only sure to arrive when the stream is deleted;
    /// what a file then refuses is reported on vynerr.
    /// \return the stream, for the caller to delete; null, and a text in \p errors, on failure.
    virtual std::basic_ostream<char>* OpenWrite(SVector<SString>& errors, const SString& uri) = 0;
    /// \return the format of the document.
    virtual SFormat GetFormat(const SString& uri) const = 0;
    /// \return true when this scheme takes \p uri.
    virtual bool CanHandle(const SString& uri) const = 0;
    /// Makes a text to show for \p uri.
    virtual void GetDisplayText(const SString& uri, SString& text, const SString& extra) const = 0;
    /// Finds where output for \p uri goes by default.
    virtual SStatus GetDefaultOutputLocation(const SString& uri, SString& location) const = 0;
    /// Describes the scheme to the user.
    virtual void GetSchemeDescription(SString& text) const = 0;
    /// \param flag has the meaning that the scheme gives it.
    virtual bool IsReadOnly(const SString& uri, bool flag) = 0;
    /// \return true when both name one document.
    virtual bool IsEqual(const SString& first, const SString& second) = 0;
    /// Tries to make the document writable.
    /// \return true on success.
    virtual bool MakeEditable(const SString& uri) = 0;
    /// \return the sum of SCapability bits.
    virtual int GetCapabilities() const = 0;
    // These five do nothing unless a scheme offers them: eStatusNotDone.

    /// Lets the user choose a document to open. The scheme gives \p start and \p extra their meaning.
    virtual SStatus OpenDialog(SVector<SString>& errors, const SString& start, SString& result, const SString& extra);
    /// Lets the user choose where to save.
    virtual SStatus SaveDialog(SVector<SString>& errors, const SString& start, SString& result, const SString& extra);
    /// Lets the user choose a directory.
    virtual SStatus DirDialog(SVector<SString>& errors, const SString& start, SString& result);
    /// Reads without a stream. The scheme gives \p data and \p context their meaning.
    virtual SStatus DirectRead(SVector<SString>& errors, const SString& uri, SVector<void*>& data, const void* context);
    /// Writes without a stream.
    virtual SStatus DirectWrite(SVector<SString>& errors, const SString& uri, const SVector<void*>& data,
                                const void* context);

protected:
    /// Not virtual, since schemes are never deleted through this class. Protected, so that the compiler sees
    /// to that and has no cause for its warning.
    ~SUriScheme() = default;
};

/// \brief The registry of schemes.
///
/// Of the schemes that take a URI, the one that was registered last is called. The library's own scheme, for
/// plain paths, is registered while the library loads and thus asked last. The registry doesn't own the
/// schemes: they unregister before they go away. A scheme may do so in the middle of a call to it.
class VYN_API SUriSchemeManager {
public:
    /// Adds \p scheme behind all others; one that is registered keeps its place.
    static void Register(SUriScheme& scheme);
    /// Removes \p scheme when it is registered.
    static void UnRegister(SUriScheme& scheme);
    /// \param callback chooses one of several schemes that offer a dialog, in the order of registration; its
    /// result may be null. Null, as at the start, chooses none.
    static void SetSelectSchemeDialog(SUriScheme* (*callback)(const std::list<SUriScheme*>&));
};

/// \return the scheme, of those that take \p uri and have a bit of \p capability, that was registered last;
/// null when there is none. A URN isn't resolved.
VYN_API SUriScheme* GetMatchingUriScheme(const SString& uri, SUriScheme::SCapability capability);

/// \brief The scheme of all schemes, through which callers open documents.
///
/// It resolves URNs and hands each call to the scheme that takes the result:
/// \code
/// SVector<SString> errors;
/// std::unique_ptr<std::istream> document(SUri.OpenRead(errors, "urn:k4user:a.txt"));
/// \endcode
///
/// What the scheme is given, and the result when the URN isn't resolved or no scheme takes it:
/// - OpenRead, OpenWrite: the resolved text; else null, and no text in `errors`.
/// - IsEqual: both texts resolved, the first of which finds the scheme; false when one isn't resolved, true
///   without a scheme.
/// - GetDefaultOutputLocation: the text as given; else eStatusNoHandler and an empty location. What the
///   scheme answers doesn't count: the result is eStatusDone.
/// - IsReadOnly: the text as given; false when it isn't resolved, true without a scheme.
/// - MakeEditable: the text as given; else false.
/// - CanHandle: nothing; true when there is a scheme.
/// - GetFormat, GetDisplayText, DirectRead, DirectWrite don't resolve: the scheme is found by the text as
///   given. Without one: eFormatUnknown, the URI itself as text, eStatusNoHandler.
/// - OpenDialog, SaveDialog, DirDialog: all as given, to the one scheme that has the dialog or the one that
///   the callback of SetSelectSchemeDialog chooses; else eStatusNoHandler.
///
/// GetCapabilities tells the bits of all registered schemes together. SUri can be used at any time, before
/// the library has started and after it has ended.
extern VYN_API SUriScheme& SUri;

}  // namespace vyn
