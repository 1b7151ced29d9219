#pragma once

/// \file
/// Options: the tables in which a tool declares them, the manager that finds their values through a stack of
/// option files, and the files with their incremental save. Nothing here locks: a manager, its tree and its
/// files belong to one thread. Processes that save one file at once wait for each other. InitialSettingsManager.cpp has
/// what concerns the predefined files of an installation.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "RgFile.h"
#include "SMap.h"
#include "SPathName.h"
#include "SString.h"
#include "VynM.h"

namespace vyn {

class CDeclarations;
class CIncrSaveContext;
class COptDummyRgKey;
class COptionFile;
class COptionManager;
class COptRgKey;
class COptRgValue;
struct COption;
struct SavePreview;
VYN_API SavePreview PreviewSave(COptionFile& file, const char* path);
namespace detail {
class CMerge;
class CNewText;
class CReplay;
COptRgValue* MakeOptionValue(const COption* option, const char* value, MList<CRgAttribute*>* attributes);
}  // namespace detail

/// The kinds of options, for COption::nType.
enum OptionKind {
    eTextOption = 1,      ///< written in quotes
    eBareOption = 2,      ///< written bare where that reads back, as a number
    eOtherBareOption = 3  ///< the same, with a type of its own: CRgValue::eBareOther
};

/// \brief One declared option: a row of a static table.
///
/// The tables are read, never written. A manager keeps pointers to the rows and to the names of the sets, so
/// that a table outlives every manager that received it.
struct VYN_API COption {
    const char* szName;     ///< Name of the option, the last element of its address.
    int nType;              ///< An OptionKind: 1 for text, 2 and 3 for what is written bare.
    const char* szDefault;  ///< Default as text: "true" or "false", integers in decimal.
    long nReserved1;        ///< Keeps the shape of the tables; 0, and read by nobody.
    long nReserved2;        ///< The same.

    /// \return 1 when \p value equals the default, else 0.
    int IsDefaultValue(const char* value);
    /// \return the default.
    operator const char*() const { return szDefault; }
    /// \return 1 when the default begins with a lower-case `t`, else 0.
    int GetBoolValue() const { return szDefault[0] == 't' ? 1 : 0; }
    /// \return `atoi` of the default.
    int GetIntValue() const;
};

/// \brief A named table of options.
struct COptionSet {
    const char* szName;          ///< Name of the set, also its key among a manager's components.
    const COption* pOptions;     ///< The rows.
    int nOptions;                ///< Number of rows that count; may be 0.
    const COptionSet* pBaseSet;  ///< Set whose options this one inherits, or null.
};

/// \brief A declared category: one element of an option address, with its sub-categories and its options.
struct CCategory {
    const char* szName;                    ///< Name of the category, at most 255 bytes.
    const CCategory* const* ppCategories;  ///< The sub-categories.
    int nCategories;                       ///< Number of sub-categories.
    const COptionSet* pOptionSet;          ///< The options of this category.
};

/// \brief Index of the options of one category, those of its base sets included. Owned by its category or
/// manager.
class VYN_API CMgrOptionSet {
public:
    CMgrOptionSet();
    /// Indexes \p set after its base sets, whose components it asks of \p manager. \p set may be null.
    CMgrOptionSet(const COptionSet* set, COptionManager* manager);
    /// The same from a set of another manager.
    CMgrOptionSet(const CMgrOptionSet* set, COptionManager* manager);
    CMgrOptionSet(const CMgrOptionSet&) = delete;
    CMgrOptionSet& operator=(const CMgrOptionSet&) = delete;
    /// The rows aren't touched.
    virtual ~CMgrOptionSet();

    /// \return the row, here or in a base set; null when unknown. It belongs to the tool's table.
    COption* FindOption(const char* name) const;
    /// \return the name of the set, which belongs to its table; "" for a set that was made of null.
    const char* GetName() const { return m_szName; }
    /// \return the component of the base set, owned by the manager; null when there is none.
    const CMgrOptionSet* GetNextOptionSet() const { return m_pNext; }
    /// \return the number of options in the index.
    int GetOptionCount() const { return Index().GetCount(); }
    /// \return the first position, in the order of the index and not of the tables; null when there is none.
    void* GetFirstOptionPosition() const { return Index().GetStartPosition(); }
    /// \param[in,out] pos moves to the next option or to null. Not null.
    const COption* GetNextOption(void*& pos) const;

    /// Indexes the base sets of \p set, then its own rows; null does nothing. A later row of a name replaces
    /// the earlier one.
    void IndexOptions(const COptionSet* set);
    /// The same for a set that is itself an index.
    void IndexOptions(const CMgrOptionSet* set);
    /// Indexes the rows of \p set without its base set; null does nothing.
    void MergeOptions(const COptionSet* set);
    /// The same for a set that is itself an index.
    void MergeOptions(const CMgrOptionSet* set);
    /// Removes every option name of \p set, whichever row it points to; null does nothing.
    void UnMergeOptions(const CMgrOptionSet* set);

private:
    friend class COptRgKey;

    // The same as FindOption, tried first at the row behind \p last.
    const COption* FindOptionAfter(const COption* last, const char* name) const;
    bool IsInTable(const COption* option) const { return option >= m_pTable && option < m_pTableEnd; }

    // The index, which a single table gets only when somebody asks for it: a file in the order of the table doesn't.
    const MMap<SString, const COption*>& Index() const;

    // The table whose rows are all that the index holds, so that another row has another name; null without one.
    const COption* m_pTable = nullptr;
    const COption* m_pTableEnd = nullptr;
    const char* m_szName;  // of the table, not a copy
    const CMgrOptionSet* m_pNext;
    mutable MMap<SString, const COption*> m_mapOptions;
    mutable bool m_bDeferred = false;  // the rows of m_pTable aren't in the index yet
};

/// \brief One node of a manager's category tree.
///
/// The tree says which option addresses exist, and so what a default is and which entries of a file are
/// known. A node owns its sub-categories and its option set; the keys of loaded files register with it and
/// are destroyed with it.
class VYN_API CMgrCategory {
public:
    /// A root: no set, no owner.
    CMgrCategory();
    /// A node made from a table, with all below it.
    /// \param owner leads to a manager already.
    CMgrCategory(const CCategory* category, CMgrCategory* owner);
    /// A copy of a node of another manager's tree, with all below it.
    /// \param merged not 0 when the copy is made by merging a manager.
    CMgrCategory(CMgrCategory* category, CMgrCategory* owner, int merged);
    CMgrCategory(const CMgrCategory&) = delete;
    CMgrCategory& operator=(const CMgrCategory&) = delete;
    /// Destroys the keys that stand for this category, leaves the owner, and destroys all below.
    virtual ~CMgrCategory();

    /// \return the manager at the root of the tree.
    COptionManager* GetManager() const;
    /// \param path address below this node: category names and an option name, joined by `/`.
    /// \return the row; null when it isn't declared. It belongs to the tool's table.
    COption* FindOption(const char* path) const;
    /// \param[out] rest the text behind the first `/` of \p path; untouched when there is no `/`.
    /// \return the sub-category named in front of the first `/`; null when there is none or \p path has no
    /// `/`.
    const CMgrCategory* FindCategory(const char* path, const char*& rest) const;
    /// \param length bytes of \p name that count; 0 for all of them. An element has at most 255 bytes: a
    /// longer \p length and a null \p name with one leave EINVAL in `errno`.
    /// \return the direct sub-category of that name; null when there is none.
    const CMgrCategory* FindCategory(const char* name, unsigned length) const;
    /// \return names from the top level down, joined by `/`; null for the root. Lives as long as the node.
    const char* GetPath();
    /// \return the element of the path that stands for this node; lives as long as the node.
    const char* GetName() const { return m_strName.c_str(); }
    /// \return the options; null for the root.
    const CMgrOptionSet* GetOptionSet() const { return m_pOptionSet; }
    /// \return the parent; null for the root.
    const CMgrCategory* GetOwner() const { return m_pOwner; }
    /// \return the number of direct sub-categories.
    int GetCategoryCount() const { return m_mapCategories.GetCount(); }
    /// \return the first position; null when there is none.
    void* GetFirstCategoryPosition() const { return m_mapCategories.GetStartPosition(); }
    /// \param[in,out] pos moves to the next sub-category or to null. Not null.
    CMgrCategory* GetNextCategory(void*& pos) const;

    /// Adds a table below this node, or merges it into the sub-category of its name. Of two options of one
    /// address the later one counts.
    void MergeCategory(const CCategory* category);
    /// Merges the sub-categories of \p other into this node.
    void MergeManager(CMgrCategory* other);
    /// Takes the sub-categories of \p other out again, with the names of their options whichever row these point to.
    /// With the last manager a sub-category goes altogether,
    /// also one that a table had made. Does nothing when nothing was merged.
    void RemoveManager(CMgrCategory* other);
    /// A key that stands for this category is to be destroyed with it.
    void RegisterOptRgKey(COptRgKey* key);
    /// A key that isn't registered is ignored.
    void UnregisterOptRgKey(COptRgKey* key);
    /// Detaches, and so destroys, every registered key.
    void InformAllOptRgKeys();

private:
    CMgrCategory* FindSubCategory(const char* name) const;

    int m_nRefCount;  // how many managers were merged into this node
    SString m_strName;
    SString m_strPath;  // made by the first GetPath
    CMgrOptionSet* m_pOptionSet;
    CMgrCategory* m_pOwner;
    MMap<SString, CMgrCategory*> m_mapCategories;
    std::set<COptRgKey*> m_setKeys;
};

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

/// \brief The value of one declared option in an option file.
class VYN_API COptRgValue : public CRgValue {
public:
    /// \param option outlives the value.
    /// \param value copied; null means the empty text.
    COptRgValue(const COption* option, const char* value);
    ~COptRgValue() override;
    using CRgValue::operator new;
    using CRgValue::operator delete;

    /// \return the name of the option; belongs to its row.
    const char* GetName() const override;
    /// \return the value; valid until it is set.
    const char* GetValue() const override { return m_szValue; }
    /// \return eBare for an eBareOption, eBareOther for an eOtherBareOption, eText for anything else.
    RvType GetType() const override;
    /// Does nothing: the option decides the name.
    /// \return 1.
    int SetName(const char* name) override;
    /// Does nothing: the option decides the type.
    /// \return 1.
    int SetType(RvType type) override;
    /// A text with a `"` can be set, but not stored: a save leaves the line of the file as it is.
    /// \return 1.
    int SetValue(const char* value) override;

private:
    friend class COptRgKey;
    friend class detail::CMerge;
    friend COptRgValue* detail::MakeOptionValue(const COption* option, const char* value,
                                                MList<CRgAttribute*>* attributes);

    // Room for the text behind the object. Only the second form has it.
    static void* operator new(size_t size, size_t text) { return detail::AllocateSmall(size + text); }
    static void operator delete(void* value, size_t) { detail::FreeSmall(value); }

    explicit COptRgValue(const COption* option) : m_pOption(option), m_szValue(nullptr) {}
    bool HasOwnMemory(const char* text) const { return text != reinterpret_cast<const char*>(this + 1); }

    void SetInFile() override;
    // What the file held at the last load or save; null when it had no such value.
    const char* GetFileText() const { return m_szBase ? m_szBase : IsInFile() ? m_szValue : nullptr; }

    const COption* m_pOption;
    const char* m_szValue;           // behind the object, or with memory of its own, as the next
    const char* m_szBase = nullptr;  // what the file holds, once it isn't m_szValue
};

/// \brief A key of an option file, which stands for one category.
///
/// Loading keeps what the category tree declares and passes over the rest. While an incremental save is under
/// way the same operations, driven by the parser, copy the old file to the new one instead.
class VYN_API COptRgKey : public CRgKey {
public:
    /// The name of a key is that of its category; \p name has no use.
    explicit COptRgKey(const char* name);
    ~COptRgKey() override;

    /// \return the category's name; "" without a category.
    const char* GetName() const override;
    /// \return the subkey; null when the category has no sub-category \p name.
    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override;
    CRgKey* FindKey(const char* name) const override;
    int AddKey(CRgKey* key) override;
    int RemoveKey(CRgKey* key) override;
    /// \param type not used: the option decides.
    /// \return the value; null when the category doesn't declare an option \p name, and during a save.
    CRgValue* CreateValue(const char* name, CRgValue::RvType type, const char* value,
                          MList<CRgAttribute*>* attributes) override;
    CRgValue* FindValue(const char* name) const override;
    int AddValue(CRgValue* value) override;
    int RemoveValue(CRgValue* value) override;
    void Empty() override;

    /// Registers with \p category, which may be null, and no longer with the present one.
    void SetCategory(const CMgrCategory* category);
    /// Called by a dying category: takes the key out of its parent and destroys it with all below it.
    void Detach();
    /// \return 1 when the save under way has yet to write a value, else 0; outside a save 1 when there is a value.
    int IsThereUnsavedValues();
    /// Writes the values that the save under way hasn't written yet, at the end of the key's last section.
    /// \pre a save is under way.
    void SaveUnsavedValues();
    /// Writes what the save under way hasn't written yet of this key and those below it, a new section for each key
    /// that it hasn't met.
    /// \pre a save is under way.
    void SaveUnsavedKeys();

protected:
    friend class CIncrSaveContext;
    friend class COptionFile;
    friend class detail::CReplay;
    friend class detail::CMerge;

    bool IsOfOwnClass() const override;
    /// \return the sub-category of that name of the key's category; null when there is none.
    const CMgrCategory* FindSubCategory(const char* name) const;
    /// \return the option of that name that the key's category declares; null when there is none.
    const COption* FindOption(const char* name) const;

    CMgrCategory* m_pCategory;         ///< what the key stands for; null when it is unbound
    MMap<SString, CRgKey*> m_mapKeys;  ///< the subkeys by name
    /// The values by name, from the first time on that it is needed.
    mutable MMap<SString, CRgValue*> m_mapValues;

    /// The save under way in this thread; null except during its parse.
    static thread_local CIncrSaveContext* m_pContext;

private:
    void IndexValues() const;
    CRgValue* FindNextValue(std::string_view name);
    int Unlink(CRgValue* value);
    bool HasValues();
    void NoteRemoval(CRgValue& value);
    void NoteRemovals();
    std::string GetAddress(const CRgValue& value) const;

    // What a save knows of the key; it holds while the number is that of the save.
    struct SaveState {
        unsigned nSave = 0;
        int nUnsaved = 0;             // values yet to be written
        void* pNext = nullptr;        // the value that the next line is expected to have
        bool bMet = false;            // a section of the key was closed
        bool bOldAttributes = false;  // the old file has attributes on a heading of the key
        size_t nPiece = 0;            // where its last section ends in the new text
        size_t nOffset = 0;
    };
    SaveState m_save;

    mutable bool m_bIndexed = false;         // m_mapValues is in use
    bool m_bRepeated = false;                // two values may have one name
    const CRgValue* m_pNewValue = nullptr;   // the value being added has a name that no other has
    const COption* m_pLastOption = nullptr;  // of the last value that was made
};

/// \brief The root of an option file's tree. Its category is the manager.
class VYN_API COptRootRgKey : public COptRgKey {
public:
    COptRootRgKey() : COptRgKey(nullptr) {}

protected:
    bool IsOfOwnClass() const override;

private:
    friend class COptRgKey;
    friend class COptionFile;
    friend class detail::CMerge;
    friend class detail::CReplay;

    // By address, key and name joined by `/`, what the file holds of the values that were removed since the load.
    std::map<std::string, std::string> m_mapRemoved;
};

/// \brief Stands in, during an incremental save, for every section of the old file that has no key in memory.
class VYN_API COptDummyRgKey : public COptRgKey {
public:
    COptDummyRgKey() : COptRgKey(nullptr) {}

    /// Moves to the sub-category \p name, which may be unknown.
    /// \return this key.
    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override;
};

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
    /// as a mount point, is written in place. A file that holds the new text already isn't touched.
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

    int Rewrite(const SString& path, bool overwrite);
    friend class COptionManager;
    friend SavePreview PreviewSave(COptionFile& file, const char* path);

    bool CanBeWritten() const;
    bool Merge(std::string text);
    int MakeText(const std::string* oldText, std::string& newText);

    int m_bPredefined;
    COptionManager* m_pManager;
    int m_bModified;
    bool m_bPersonal = false;
    SVector<SString> m_listConflicts;  // of the last merging save
};

/// Name of the attribute that marks a value as not to be redefined by the files above it.
VYN_API extern const char* const szUnRefinable;

}  // namespace vyn
