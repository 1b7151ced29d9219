#pragma once

/// \file
/// Option files with their incremental save, which keeps what it doesn't know: VynOptionSave.cpp, and
/// VynOptionMerge.cpp for what several processes save at once. Nothing here locks: a file belongs to the thread of its
/// manager. Processes that save one file at once wait for each other.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "RgFile.h"
#include "SString.h"
#include "VynM.h"
#include "VynOptionKey.h"

namespace vyn {

class COptionFile;
class COptionManager;
struct SavePreview;
VYN_API SavePreview PreviewSave(COptionFile& file, const char* path);
namespace detail {
class CNewText;
class CReplay;
}  // namespace detail

/// \brief The state of one incremental save.
///
/// The old file is read once. What is to stay is copied from it in long runs, and new text is put between them; the
/// values that the old file doesn't hold are inserted at the end of the last section of their key when all has been
/// read. The tree isn't changed.
class VYN_API CIncrSaveContext {
public:
    /// \param root root of the file's tree; outlives the context.
    explicit CIncrSaveContext(COptRgKey* root);
    CIncrSaveContext(const CIncrSaveContext&) = delete;
    CIncrSaveContext& operator=(const CIncrSaveContext&) = delete;
    ~CIncrSaveContext();

    /// Empties the pending heading.
    void ClearPath();
    /// Appends an element to the pending heading.
    void AddSubPath(const char* name);
    /// Writes the heading before a value line, when one is due.
    /// \param attributes of the heading; may be null.
    void SavePath(MList<CRgAttribute*>* attributes);
    /// Writes the pending heading of a section without a value line.
    /// \param attributes of the heading; may be null.
    void SaveKeyPath(MList<CRgAttribute*>* attributes);
    /// Closes the section being read. Its heading is kept when it has attributes or its key is in memory.
    /// \param attributes of the heading; may be null.
    void Flush(MList<CRgAttribute*>* attributes);
    /// Writes everything that the old file doesn't hold.
    void FlushUnsavedKeys();

private:
    friend class COptionFile;
    friend class COptRgKey;
    friend class detail::CReplay;

    int Replay(std::string_view oldText, bool keepKnown);
    void SetInFile();
    void NoteOldAttributes();
    void Enter(COptRgKey* key);
    MList<CRgAttribute*>* HeadingAttributes();
    bool AppendUnsaved(COptRgKey* key, std::string& text);
    bool IsDealtWith(const CRgValue& value) const;
    void TakeValue(CRgValue* value, bool isStored);
    void ReportUnstorable(COptRgKey* key, const char* name);
    void ReportHeading(const char* name);

    COptRgKey* m_pRoot;
    COptRgKey* m_pCurrent;                     // key in memory of the section being read; null when it has none
    std::unique_ptr<COptDummyRgKey> m_pDummy;  // holds the attributes of the heading being read
    SString m_strPath;                         // the pending heading
    std::string_view m_oldText;                // ends in a NUL
    const char* m_pHeading;                    // where it stands in the old text; null for a new one
    bool m_bUnderHeading;                      // a plain heading of the section stands above the next line
    SString m_strLastPath;                     // the last plain heading written
    std::unique_ptr<detail::CNewText> m_pText;
    unsigned m_nSave;   // number of this save
    bool m_bNewFile;    // there is no old file: headings get no attributes
    bool m_bKeepKnown;  // known values of the old file stay, when memory doesn't have them
    bool m_bOldAttributesNoted;
    int m_nStatus;                     // EILSEQ when something couldn't be stored
    std::vector<CRgValue*> m_changed;  // the values that the file now holds as memory does
};

/// \brief One option file of a manager.
///
/// Memory holds what the manager's category tree knows. A save over an existing file keeps every entry that
/// no category knows, in its place; a save to a new file writes what is in memory. The object doesn't outlive
/// its manager. Keys, names, values and paths aren't null unless an operation says so.
class VYN_API COptionFile : public CRgFile {
public:
    /// The file isn't in the manager's stack yet.
    /// \param manager not null.
    explicit COptionFile(COptionManager* manager);
    ~COptionFile() override;

    /// Empties the tree and reads \p path. The first call gives the file its path name.
    /// \return 0 on success, and the modified flag is clear; else 1: the tree is empty when the text is malformed, and
    /// as it was when the file can't be read.
    int Load(const char* path);
    /// Writes the file.
    ///
    /// After a save, whatever happened, the path holds the old text or the new one, whole; the result says which;
    /// memory still holds what was set, and the next save that succeeds writes it. Only a file that turns out malformed
    /// empties the tree. The new text is made in a file of that name followed by "~", which then takes the place of the
    /// old file with its permissions; a symbolic link stays, and its target is replaced. A file that can't be replaced,
    /// as a mount point, is written in place: the whole new text lies beside it until then, under its name followed by
    /// "~~", where loads and the next save find it when the process ends meanwhile. A file that holds the new text
    /// already isn't touched.
    ///
    /// Until a load succeeds, or Reset is called, an object whose load failed keeps the known values of the file that
    /// memory doesn't have.
    /// \param path null means the file's own path, which a save never changes.
    /// \return 0 on success, and the modified flag is clear. 1 when the path is empty, or when the existing
    /// file is malformed: that file stays as it was and the tree is empty. EILSEQ when the file has a NUL byte, and so
    /// is no option file, or when all was written but what the format can't hold, which `vynerr` tells with its
    /// address: a value with a `"`, whose old line stays, or a category whose name can't stand in a heading. Otherwise
    /// the value of `errno`, and the old text stands: ETIMEDOUT when another process was saving in that directory for
    /// ten seconds.
    int Save(const char* path);
    /// The same, but a file that can't be replaced isn't written in place.
    int SaveAs(const char* path);
    /// \return the addresses, key and name joined by `/`, of the options that the last merging save found changed both
    /// here and in the file; the file then has what was set here. Valid until the next save.
    const SVector<SString>& GetSaveConflicts() const { return m_listConflicts; }

    /// \return the modified flag: 0 after a load or a save, else what SetModifiedFlag set.
    int IsModified() const { return m_bModified; }
    /// \return the old flag.
    int SetModifiedFlag(int flag);
    /// \return 1 for a file that COptionManager::AddPersonalFile put on top of the stack, else 0.
    int IsPersonal() const { return m_bPersonal ? 1 : 0; }
    /// A mark for the tool; the library doesn't set it.
    int IsPredefined() const { return m_bPredefined; }
    /// Sets the mark.
    void SetPredefined(int flag) { m_bPredefined = flag; }
    /// \return 1 when the value exists and is marked fixed: its attribute "fixed" is exactly "true"; else 0.
    int IsUnredefinable(const char* key, const char* name);
    /// Marks a declared option fixed, or, with a \p flag of 0, sets the mark to "false".
    /// \param value text of the value when it doesn't exist yet.
    void SetRedefineFlag(const char* key, const char* name, const char* value, int flag);
    /// The file forgets all its values; the disk isn't touched before a save.
    void Reset();
    /// \return the manager, never null.
    COptionManager* GetManager() const { return m_pManager; }
    /// \return the path name; "" when the file has none. Valid until it is set.
    const char* GetPathName() const { return m_strPath.c_str(); }
    /// Null means none.
    void SetPathName(const char* path) { m_strPath = path; }

private:
    friend class COptionManager;

    friend SavePreview PreviewSave(COptionFile& file, const char* path);

    int Rewrite(const SString& path, bool overwrite);
    bool IsMergedInto(const SString& path) const;
    bool CanBeWritten() const;
    bool Merge(COptRgKey& root, std::string text, SVector<SString>& conflicts);
    int MakeText(const SString& path, const std::string* oldText, std::string& newText);

    int m_bPredefined;
    COptionManager* m_pManager;
    int m_bModified;
    bool m_bPersonal = false;
    SVector<SString> m_listConflicts;  // of the last merging save
};

/// Name of the attribute that marks a value as not to be redefined by the files above it.
VYN_API extern const char* const szUnRefinable;

}  // namespace vyn
