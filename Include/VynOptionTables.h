#pragma once

/// \file
/// The tables in which a tool declares its options, and the category tree that a manager makes of them. Nothing here
/// locks: a tree belongs to one thread.

#include <set>

#include "SMap.h"
#include "SString.h"
#include "VynExport.h"

namespace vyn {

class COptionManager;
class COptRgKey;

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

}  // namespace vyn
