#pragma once

/// \file
/// The manager that finds values through a stack of option files. Nothing here locks: a manager, its tree and its files
/// belong to one thread. InitialSettingsManager.cpp has what concerns the predefined files of an installation.

#include <memory>
#include <vector>

#include "SMap.h"
#include "SPathName.h"
#include "SString.h"
#include "VynM.h"
#include "VynOptionTables.h"

namespace vyn {

class CDeclarations;
class COptionFile;
class CRgValue;
namespace detail {
class AddressTable;
}  // namespace detail

/// \brief A file that couldn't be saved.
struct SaveFailure {
    COptionFile* file;  ///< belongs to its manager
    int error;          ///< what COptionFile::Save returned
};

/// \brief The central option store of one tool.
///
/// A value is looked for in the stack of option files from the top, then among the declared defaults; a lower
/// file that marks the option "fixed" wins over the files above it. A change goes to the top file only, and
/// only as a difference from what shows through from below.
///
/// A tool calls AddCategory for each of its tables first, since a file keeps in memory only what the category
/// tree knows, then adds its files, the most personal one first, and at the end calls SaveAllFiles:
/// \code
/// COptionManager manager;
/// manager.AddCategory(&catEditor);
/// manager.AddOptionFile("user.zop");
/// manager.AddOptionFile("company.zop");
/// const int width = manager.GetIntValue("Editor/Text", "TabWidth");
/// manager.SetBoolValue("Editor/Text", "Wrap", 1);
/// manager.SaveAllFiles();
/// \endcode
///
/// An option is addressed by a key, which is the path of its category with no leading `/` and elements of at
/// most 255 bytes, and its name. All values are text: booleans "true" and "false", of which the first
/// character counts, and decimal integers.
///
/// The manager owns its category tree, its components and the files in its list. Keys, names, values and
/// files that are passed in aren't null unless an operation says so.
class VYN_API COptionManager : public CMgrCategory {
public:
    COptionManager();
    /// Destroys the components, the files and the category tree, in this order.
    ~COptionManager() override;

    /// Makes a file and loads \p path into it, with no test for a file of that path in the stack.
    /// \return the file, at the bottom of the stack and owned by the manager; null when it can't be loaded.
    virtual COptionFile* Load(const char* path);
    /// Adds the file that GetOptionFile knows by this path, or else loads it.
    /// \return the file, owned by the manager; null when it can't be loaded.
    virtual COptionFile* AddOptionFile(SPathName path);
    /// Puts the user's own file on top of the stack, to which the changes go, and loads it.
    ///
    /// It keeps its place when it can't be loaded, so that no change ends up in a file below it. One that is missing is
    /// made by the first save that has something to write. While one can't be read, or is malformed, IsEditable is 0,
    /// and CRgFile::GetLoadError tells the reason; a later Reload that succeeds ends that.
    /// \return the file, owned by the manager, never null.
    COptionFile* AddPersonalFile(SPathName path);
    /// Takes the file of this path name out of the stack; the object then belongs to the caller.
    virtual void RemoveOptionFile(SPathName path);
    /// Writes \p value to the top file, or takes the option out of it when \p value is what lies underneath.
    /// Does nothing without files, when IsEditable says no, and for an option that isn't declared.
    /// \param value any text in memory; a file can't hold one with a `"`, see COptionFile::Save.
    virtual void SetValue(const char* key, const char* name, const char* value);
    /// \return the value; "" when the option is neither in a file nor declared; never null. Valid until the
    /// option is set or a file changes.
    virtual const char* GetValue(const char* key, const char* name) const;

    /// The typed getters read what the virtual GetValue answers. The default comes to bear only in a subclass
    /// whose GetValue may return null.
    const char* GetStrValue(const char* key, const char* name) const;
    /// The same with \p defaultValue in place of null.
    const char* GetStrValue(const char* key, const char* name, const char* defaultValue) const;
    /// \return 1 when the value begins with a lower-case `t`, else 0.
    int GetBoolValue(const char* key, const char* name) const;
    /// The same with \p defaultValue in place of null.
    int GetBoolValue(const char* key, const char* name, int defaultValue) const;
    /// \return `atoi` of the value.
    int GetIntValue(const char* key, const char* name) const;
    /// The same with \p defaultValue in place of null.
    int GetIntValue(const char* key, const char* name, int defaultValue) const;
    /// The typed setters call the virtual SetValue.
    void SetStrValue(const char* key, const char* name, const char* value);
    /// Sets "true" when \p value isn't 0, else "false".
    void SetBoolValue(const char* key, const char* name, int value);
    /// Sets \p value in decimal.
    void SetIntValue(const char* key, const char* name, int value);
    /// \pre the option is declared.
    /// \return 1 when \p value is the declared default, else 0.
    int IsDefaultValue(const char* key, const char* name, const char* value);
    /// \param file a file of the stack; null means the top one, and there must be one.
    /// \return what the option would be without \p file and those above it, whatever is marked fixed; null
    /// when it is neither below nor declared. Valid as the result of GetValue.
    const char* GetUnderneathValue(COptionFile* file, const char* key, const char* name);
    /// \return 1 when a file of the stack has a value for the option, else 0.
    int IsRedefined(const char* key, const char* name);
    /// \return 0 when the top file has a path name and can't be written, or doesn't exist; 0 when the topmost
    /// file that marks the option fixed isn't the top file; else 1, also without files.
    int IsEditable(const char* key, const char* name);
    /// The top file forgets its values; nothing without files. The disk isn't touched before a save.
    void Reset();
    /// Every file forgets its values.
    void ResetAll();

    /// Adds the files that `init.zop` in the all-users shared data directory lists, the first of them from
    /// the user's directory, by the virtual AddOptionFile. Files that don't exist are created empty. One below the
    /// user's directory that was read to its end and is malformed gives way to an empty file; its text is kept beside
    /// it under the name followed by ".bad", ".bad2" and so on. A malformed file elsewhere, and one that can't be
    /// created, read or moved, is left out, and nothing is reported. Without "HOME"
    /// no file is added. A second call adds the files again. `errno` is ERANGE when the list has 1024 bytes
    /// or more; it then counts as empty.
    void LoadPredefinedOptionFiles();
    /// \return 1 once LoadPredefinedOptionFiles ran to its end in any manager of the process, else 0.
    int IsPredefinedOptionFilesLoaded() const;

    /// Puts \p file at the bottom of the stack, unless it or one of its path name is there; the manager owns
    /// it.
    void AddFile(COptionFile* file);
    /// Takes \p file out of the stack; it then belongs to the caller.
    void RemoveFile(COptionFile* file);
    /// \return the first file of the stack with that path name; null for a null \p path or when there is
    /// none.
    COptionFile* GetFile(const char* path);
    /// \return the file that the map of all managers knows by that path; null for a null \p path or none.
    COptionFile* GetOptionFile(const char* path);
    /// Loads the file of that path name again.
    /// \return 1 when it is in the stack and could be read, else 0.
    int Reload(const char* path);
    /// Loads each file again, from the top; results are dropped.
    void ReloadAllFiles();
    /// Saves each file to its own path, from the top; results are dropped.
    void SaveAllFiles();
    /// The same.
    /// \param[out] failed the files that couldn't be saved, each with what COptionFile::Save returned; emptied first.
    /// \return 0 when all were saved, else the first of these results.
    int SaveAllFiles(SVector<SaveFailure>& failed);
    /// Chooses whether the saves of this manager's files merge; they don't at first.
    ///
    /// A save makes the known values of a file follow memory: what another process has written since the load is
    /// undone. A merging save first takes over from the file, into memory, each known value that was neither set nor
    /// removed here since the load, so that two processes that changed different options both keep theirs. Where both
    /// changed the same option the later save wins; COptionFile::GetSaveConflicts tells.
    /// \param merging not 0 switches it on.
    void SetMergingSaves(int merging) { m_bMergingSaves = merging != 0; }
    /// \return 1 when the saves merge, else 0.
    int IsMergingSaves() const { return m_bMergingSaves ? 1 : 0; }
    /// Chooses whether a save of this manager's files waits until the text would survive a loss of power; it does at
    /// first. Without that a save is several times as fast, and just as whole as long as the system runs.
    /// \param synced 0 switches it off.
    void SetSyncedSaves(int synced) { m_bSyncedSaves = synced != 0; }
    /// \return 1 when a save waits, else 0.
    int IsSyncedSaves() const { return m_bSyncedSaves ? 1 : 0; }
    /// Sets the modified flag of each file.
    void SetModified();
    /// Empties the stack. The files then belong to the caller.
    void RemoveAllFiles();
    /// \return the number of files in the stack.
    int GetFileCount() const { return m_listFiles.GetCount(); }
    /// \return the position of the top file; null without files.
    void* GetFirstFilePosition() const { return m_listFiles.GetHeadPosition(); }
    /// \param[in,out] pos moves to the next lower file or to null. Not null.
    COptionFile* GetNextFile(void*& pos) const { return m_listFiles.GetNext(pos); }

    /// Adds a table to the category tree. To be called before any file is loaded.
    void AddCategory(const CCategory* category) { MergeCategory(category); }
    /// \return the component of that set name, made when it is missing, base sets first; null for null.
    const CMgrOptionSet* GetComponent(const COptionSet* set);
    /// The same for a set that is itself an index.
    const CMgrOptionSet* GetComponent(const CMgrOptionSet* set);
    /// \return the number of components.
    int GetComponentCount() const { return m_mapComponents.GetCount(); }
    /// \return the first position; null when there is none.
    void* GetFirstComponentPosition() const { return m_mapComponents.GetStartPosition(); }
    /// \param[in,out] pos moves to the next component or to null. Not null.
    const CMgrOptionSet* GetNextComponent(void*& pos) const;
    /// The manager's own name, which isn't part of any address. Null means the empty name.
    void SetName(const char* name) { m_strManagerName = name; }
    /// \return the name that SetName set; valid until it is set again.
    const char* GetName() const { return m_strManagerName.c_str(); }

protected:
    /// The value that the stack of files gives, fixed marks heeded; null when no file has one.
    const char* GetFileValue(const char* key, const char* name) const;
    /// The declared option at key, `/`, name; null when there is none.
    const COption* FindDeclared(const char* key, const char* name) const;

    MMap<SString, CMgrOptionSet*> m_mapComponents;  ///< the components by set name, owned
    MList<COptionFile*> m_listFiles;                ///< the stack from top to bottom, owned
    SString m_strManagerName;                       ///< not part of any address
    MList<COptionFile*> m_listPredefinedFiles;      ///< not owned

    /// Files of all managers by path name. Filled by subclasses, who take dead files out again.
    static MMap<SString, COptionFile*> m_mapOptionFiles;
    /// What IsPredefinedOptionFilesLoaded tells.
    static int m_bPredefinedAlreadyLoaded;

private:
    friend class CDeclarations;

    // Where an option was found: its values from the top file down, or without any its declaration.
    struct Found {
        const char* Text() const;

        CRgValue* const* values;
        size_t count;
        const COption* declared;  // null when it isn't declared, or has values
    };

    Found Find(const char* key, const char* name, std::vector<CRgValue*>& walked) const;
    const COption* WalkToDeclared(const char* key, const char* name) const;
    template <class Set>
    const CMgrOptionSet* MakeComponent(const Set* set, const char* name);

    std::vector<std::shared_ptr<const void>> m_tables;  // those that aren't static
    bool m_bMergingSaves = false;
    bool m_bSyncedSaves = true;
    std::unique_ptr<detail::AddressTable> m_pFound;  // the options that were looked up
};

}  // namespace vyn
