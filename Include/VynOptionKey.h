#pragma once

/// \file
/// The keys and values of option files, which keep what the category tree declares. VynOptionSave.cpp has their part in
/// a save. Nothing here locks: they belong to the thread of their manager.

#include <map>
#include <string>
#include <string_view>

#include "RgFile.h"
#include "SMap.h"
#include "VynM.h"
#include "VynOptionTables.h"

namespace vyn {

class CIncrSaveContext;
class COptRgValue;
class COptionFile;
namespace detail {
class CMerge;
class CReplay;
COptRgValue* MakeOptionValue(const COption* option, const char* value, MList<CRgAttribute*>* attributes);
}  // namespace detail

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

}  // namespace vyn
