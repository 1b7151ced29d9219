#pragma once

/// \file
/// Rg files: a registry-style text format of keys, named text values and attributes, and the tree that it is
/// read into. The parser only calls virtual operations of the tree that it is given, so that a subclass of
/// CRgKey decides what reading a file means. A tree, a loader and a file belong to one thread at a time. RgFile.cpp
/// has the access by path, RgTree.cpp the keys, values and the writer, RgLoader.cpp the parser.

#include <cstdio>
#include <memory>

#include "SMap.h"
#include "SString.h"
#include "VynM.h"

namespace vyn {

class CIncrSaveContext;
class CRgKey;
namespace detail {
class AddressTable;
class CReplay;
class CRgTreeBuilder;
bool DumpTree(FILE* file, const CRgKey& root, const char* parentPath);
}  // namespace detail

/// \brief One name and value on a key or on a value. Owned by what it stands on.
class VYN_API CRgAttribute {
public:
    /// Copies both texts; null means the empty string.
    CRgAttribute(const char* name, const char* value) : m_strName(name), m_strValue(value) {}
    virtual ~CRgAttribute() = default;

    /// \return the name; valid as long as the attribute.
    const char* GetName() { return m_strName.c_str(); }
    /// \return the value; valid until it is set.
    const char* GetValue() { return m_strValue.c_str(); }
    /// Null means the empty string.
    void SetValue(const char* value) { m_strValue = value; }

private:
    SString m_strName;
    SString m_strValue;
};

/// \brief A named text value of a key, with attributes that it owns. Abstract: CDefRgValue is the plain one.
class VYN_API CRgValue {
public:
    /// How a value is written: texts in quotes, the two others bare.
    enum RvType { eText = 0, eBare = 1, eBareOther = 2 };

    CRgValue() : m_nLine(0), m_bChanged(1), m_bInFile(0), m_nSaved(0) {}
    CRgValue(const CRgValue&) = delete;
    CRgValue& operator=(const CRgValue&) = delete;
    /// Deletes the attributes.
    virtual ~CRgValue();

    /// The values of one load lie together in memory.
    static void* operator new(size_t size) { return detail::AllocateSmall(size); }
    /// Frees the memory of a value.
    static void operator delete(void* value) { detail::FreeSmall(value); }

    /// \return the name, never null; valid until it is set.
    virtual const char* GetName() const = 0;
    /// \return the text, never null; valid until it is set.
    virtual const char* GetValue() const = 0;
    /// \return how the value is written.
    virtual RvType GetType() const = 0;
    /// Sets the name. The subclasses in this library take null for the empty text, here and in SetValue.
    /// \return 1.
    virtual int SetName(const char* name) = 0;
    /// Sets how the value is written.
    /// \return 1.
    virtual int SetType(RvType type) = 0;
    /// Sets the text.
    /// \return 1.
    virtual int SetValue(const char* value) = 0;
    /// Writes the value as one line by the static form below.
    /// \return 1.
    virtual int Dump(FILE* file);

    /// Writes one value line: `"name"="value" ` and, in parentheses, the attributes.
    ///
    /// A value of type eText stands in quotes and so do its attributes. A value of another type stands bare,
    /// unless it wouldn't be read back as one token with the same text (as a sign, a fraction, a blank or the
    /// empty text); then it and its attributes are quoted, and so is any attribute whose own text needs it.
    /// Several attributes are separated by commas. Nothing escapes a `"` in a text: such a value doesn't read
    /// back.
    /// \param file open for writing; not null, as \p name and \p value aren't.
    /// \param attributes may be null.
    /// \return 1.
    static int Dump(FILE* file, const char* name, RvType type, const char* value, MList<CRgAttribute*>* attributes);

    /// \return the line of the file, from 1, that a load read the value from; 0 for a value that a tool made.
    int GetLine() const { return static_cast<int>(m_nLine); }

    /// Appends \p attribute, which the value owns from now on, with no test for one of that name.
    void AddAttribute(CRgAttribute* attribute) {
        GetAttributeList()->AddTail(attribute);
        m_bChanged = true;
    }
    /// \return the list itself, which belongs to the value with the attributes in it. Never null.
    MList<CRgAttribute*>* GetAttributeList();
    /// \return the number of attributes.
    int GetAttributeCount() { return m_pAttributes ? m_pAttributes->GetCount() : 0; }
    /// \return the first position; null when there is none.
    void* GetFirstAttributePosition() { return m_pAttributes ? m_pAttributes->GetHeadPosition() : nullptr; }
    /// \param[in,out] pos moves to the next attribute or to null. Not null.
    CRgAttribute* GetNextAttribute(void*& pos) { return m_pAttributes->GetNext(pos); }
    /// \return the value of the first attribute of that name; null when there is none. Valid until it is set
    /// or the CRgValue dies.
    const char* GetAttributeValue(const char* name);
    /// Sets the first attribute of that name, or appends a new one.
    void SetAttributeValue(const char* name, const char* value);

protected:
    /// Notes that text or attributes were set.
    void SetChanged() { m_bChanged = true; }
    /// \return whether text or attributes were set since the value was loaded or saved; true for one that a tool made.
    bool IsChanged() const { return m_bChanged; }
    /// \return whether the value was in the file at the last load or save.
    bool IsInFile() const { return m_bInFile; }
    /// Notes that the file holds the value as it is.
    virtual void SetInFile() {
        m_bInFile = true;
        m_bChanged = false;
    }

private:
    friend class CIncrSaveContext;
    friend class detail::CReplay;
    friend class detail::CRgTreeBuilder;

    CRgAttribute* FindAttribute(const char* name);

    MList<CRgAttribute*>* m_pAttributes = nullptr;  // owned; null as long as nobody needs it
    static constexpr unsigned kMaxLine = (1u << 30) - 1;

    unsigned m_nLine : 30;
    unsigned m_bChanged : 1;
    unsigned m_bInFile : 1;
    unsigned m_nSaved;  // number of the last save that dealt with the value
};

/// \brief The plain value: a name, a text and a type.
class VYN_API CDefRgValue : public CRgValue {
public:
    /// Copies the texts; null means the empty string.
    CDefRgValue(const char* name, RvType type, const char* value);
    ~CDefRgValue() override;
    using CRgValue::operator new;
    using CRgValue::operator delete;

    /// \return the name; valid until it is set.
    const char* GetName() const override { return m_szName; }
    /// \return the text; valid until it is set.
    const char* GetValue() const override { return m_szValue; }
    /// \return the type.
    RvType GetType() const override { return static_cast<RvType>(m_nType); }
    /// Replaces the name.
    /// \return 1.
    int SetName(const char* name) override;
    /// Replaces the type.
    /// \return 1.
    int SetType(RvType type) override;
    /// Replaces the text.
    /// \return 1.
    int SetValue(const char* value) override;

private:
    friend class CDefRgKey;

    // Room for the texts behind the object. Only the second form has it.
    static void* operator new(size_t size, size_t texts) { return detail::AllocateSmall(size + texts); }
    static void operator delete(void* value, size_t) { detail::FreeSmall(value); }

    CDefRgValue(RvType type) : m_nType(static_cast<unsigned char>(type)) {}
    static CDefRgValue* Make(const char* name, RvType type, const char* value);
    const char* GetMadeName() const { return reinterpret_cast<const char*>(this + 1); }
    // Whether it still has the name that it was made with, which lies behind it.
    bool HasMadeName() const { return m_szName == GetMadeName(); }

    const char* m_szName = nullptr;
    const char* m_szValue = nullptr;
    unsigned char m_nType;
    bool m_bMade = false;      // the texts that it was made with lie behind the object
    bool m_bOwnValue = false;  // the text has memory of its own
};

/// \brief A key of an Rg tree: subkeys, values and attributes, all of which it owns.
///
/// Abstract: a subclass gives the name and decides what CreateKey and CreateValue make. Where an operation
/// takes a list of attributes, the list object and its nodes stay the caller's, and the attribute objects
/// belong to the key from the call on, whatever becomes of them.
class VYN_API CRgKey {
public:
    CRgKey() = default;
    CRgKey(const CRgKey&) = delete;
    CRgKey& operator=(const CRgKey&) = delete;
    /// Deletes all below the key. A key may go before its subkeys do: their parent is then null.
    virtual ~CRgKey();

    /// \return the name, which belongs to the key; never null.
    virtual const char* GetName() const = 0;
    /// Makes or finds the subkey \p name.
    /// \param attributes taken over; may be null.
    /// \return the subkey, owned by this key; null when the key class refuses the name.
    virtual CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) = 0;
    /// \return the first subkey of that name; null when there is none.
    virtual CRgKey* FindKey(const char* name) const;
    /// Appends \p key, which this key owns from now on. \return 1.
    virtual int AddKey(CRgKey* key);
    /// Unlinks \p key, which belongs to the caller from now on, and clears its parent.
    /// \return 1 when \p key was a subkey, else 0.
    virtual int RemoveKey(CRgKey* key);
    /// Makes a value.
    /// \param attributes taken over; may be null.
    /// \return the value, owned by this key; null when the key class refuses it.
    virtual CRgValue* CreateValue(const char* name, CRgValue::RvType type, const char* value,
                                  MList<CRgAttribute*>* attributes) = 0;
    /// \return the first value of that name; null when there is none.
    virtual CRgValue* FindValue(const char* name) const;
    /// Appends \p value, which this key owns from now on. \return 1.
    virtual int AddValue(CRgValue* value);
    /// Unlinks \p value, which belongs to the caller from now on.
    /// \return 1 when \p value was in the key, else 0.
    virtual int RemoveValue(CRgValue* value);
    /// Deletes the present attributes and takes over those of \p attributes, which isn't null.
    virtual void SetAttributes(MList<CRgAttribute*>* attributes);
    /// Called by the loader on the last key that a section heading reached, when the key class refused the
    /// element \p name and the heading has attributes.
    /// \return the key that takes the section's values, and with it the attributes; null leaves the
    /// attributes to the caller.
    virtual CRgKey* UseAttributes(MList<CRgAttribute*>* attributes, const char* name);
    /// Deletes every subkey, value and attribute. The key itself survives.
    virtual void Empty();
    /// Writes the key and all below it: its heading, its values, then its subkeys. A key without values has
    /// no heading. Attributes of keys aren't written. A key whose name no heading can hold is left out with all below
    /// it and told on `vynerr`.
    /// \param parentPath path of the parent key; null for the root, which has no heading.
    /// \return 0.
    virtual int Dump(FILE* file, const char* parentPath) const;

    /// \return the number of subkeys.
    int GetKeyCount() { return m_listKeys.GetCount(); }
    /// \return the number of values.
    int GetValueCount() { return m_listValues.GetCount(); }
    /// \return the first position; null when there is none.
    void* GetFirstKeyPosition() const { return m_listKeys.GetHeadPosition(); }
    /// \param[in,out] pos moves to the next subkey or to null. Not null.
    CRgKey* GetNextKey(void*& pos) const { return m_listKeys.GetNext(pos); }
    /// \return the first position; null when there is none.
    void* GetFirstValuePosition() const { return m_listValues.GetHeadPosition(); }
    /// \param[in,out] pos moves to the next value or to null. Not null.
    CRgValue* GetNextValue(void*& pos) const { return m_listValues.GetNext(pos); }
    /// \return the list itself, which belongs to the key with the attributes in it. Never null.
    MList<CRgAttribute*>* GetAttributeList() { return &m_listAttributes; }

protected:
    friend class CRgFile;

    /// Whether the object is of a class whose answers change with the structure of the tree alone: only what
    /// such keys find may be remembered. A subclass of a class of this library isn't taken for one.
    virtual bool IsOfOwnClass() const;

    CRgKey* m_pParent = nullptr;            ///< the parent key; null in a plain key, since only subclasses set it
    MList<CRgKey*> m_listKeys;              ///< the subkeys
    MList<CRgValue*> m_listValues;          ///< the values
    MList<CRgAttribute*> m_listAttributes;  ///< the attributes of the key

private:
    friend bool detail::DumpTree(FILE* file, const CRgKey& root, const char* parentPath);

    void DumpValues(FILE* file, const char* path) const;
};

/// \brief The plain key: it accepts every name, and finds keys and values by an index.
///
/// Attributes given to CreateKey and CreateValue are destroyed, not kept; those of SetAttributes are. Of two
/// keys or values of one name both stay in the list, and the index finds the later.
class VYN_API CDefRgKey : public CRgKey {
public:
    /// Copies \p name; null means the empty name.
    explicit CDefRgKey(const char* name) : m_strName(name) {}

    const char* GetName() const override { return m_strName.c_str(); }
    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override;
    CRgKey* FindKey(const char* name) const override;
    int AddKey(CRgKey* key) override;
    int RemoveKey(CRgKey* key) override;
    /// Always makes a new value.
    CRgValue* CreateValue(const char* name, CRgValue::RvType type, const char* value,
                          MList<CRgAttribute*>* attributes) override;
    CRgValue* FindValue(const char* name) const override;
    int AddValue(CRgValue* value) override;
    int RemoveValue(CRgValue* value) override;
    void Empty() override;

protected:
    bool IsOfOwnClass() const override;

private:
    void IndexValues() const;

    SString m_strName;
    MMap<SString, CRgKey*> m_mapKeys;
    // From the first look-up on: a file that is only copied needs no index. Until then the values are all made by
    // CreateValue, and know the name that they were added with.
    mutable MMap<SString, CRgValue*> m_mapValues;
    mutable bool m_bValuesIndexed = false;
};

/// \brief Reads one Rg text into a tree. An object serves one load at a time.
class VYN_API CRgLoader {
public:
    /// \param root has to outlive the loader.
    explicit CRgLoader(CRgKey& root) : m_root(root) {}
    CRgLoader(const CRgLoader&) = delete;
    CRgLoader& operator=(const CRgLoader&) = delete;
    ~CRgLoader() = default;

    /// Reads the file at \p path into the root, which keeps what it holds. What was read before a malformed
    /// place stays in the tree.
    /// \param path not null.
    /// \return 0 when the text was read up to its end; 1 when the path is empty, the file can't be read or isn't a
    /// regular one, or the text is malformed.
    int Load(const char* path);
    /// The same for a text in memory. A NUL ends it.
    /// \param text overwritten in the course of it.
    /// \return 0 when the text was read up to its end; 1 when it is malformed.
    int LoadText(std::string& text);

private:
    CRgKey& m_root;
};

/// \brief One Rg tree bound to a file name, with access to keys and values by path.
///
/// A path is a sequence of key names joined by `/`, with no leading `/`; it names a key below the root, and a
/// value's name is always a separate argument. An element of a path has at most 255 bytes: a longer one
/// leaves EINVAL in `errno` and counts as the empty name. Where a key class refuses an element or a value,
/// the operation stops there and makes nothing further.
class VYN_API CRgFile {
public:
    /// \param root becomes the file's own; null means a new CDefRgKey with the empty name.
    explicit CRgFile(CRgKey* root = nullptr);
    CRgFile(const CRgFile&) = delete;
    CRgFile& operator=(const CRgFile&) = delete;
    /// Deletes the whole tree.
    virtual ~CRgFile();

    /// Empties the tree and reads the file at \p path. The first call gives the object its path name,
    /// whatever its outcome; later ones leave that alone.
    /// \param path not null; may belong to the tree.
    /// \return 0 on success, else 1: the tree is empty when the text is malformed, and as it was when the file can't be
    /// read.
    int Load(const char* path);
    /// Reads the file at \p path into the tree, adding to what it holds.
    /// \param path not null; may belong to the tree.
    /// \return 0 on success, else 1: the whole tree is empty when the text is malformed, what it held before included;
    /// it is as it was when the file can't be read.
    int Merge(const char* path);
    /// Writes the tree to \p path, or to the file's own path when \p path is null.
    ///
    /// After a save, whatever happened, the path holds the old text or the new one, whole; the result says which;
    /// memory still holds what was set, and the next save that succeeds writes it. The new text is made beside the
    /// file, which it then replaces with the permissions of the old one; a symbolic link stays, and its target is
    /// replaced. A file that holds the text already isn't touched. Texts aren't escaped: one with a `"` doesn't read
    /// back.
    /// \return 0 on success. 1 when the path is empty. EILSEQ when all was written but the sections below a key whose
    /// name no heading can hold, which `vynerr` tells. Otherwise the value of `errno`, and the old text stands:
    /// ETIMEDOUT when another process was saving in that directory for ten seconds, EISDIR or EINVAL when the path
    /// isn't a regular file.
    int Save(const char* path);

    /// \return why the last Load or Merge failed: EILSEQ when the text was malformed, else the value of `errno`; 0 when
    /// it was successful, and when there was none.
    int GetLoadError() const { return m_nLoadError; }

    /// \return the root, owned by the file, never null.
    CRgKey* GetKeyRoot() { return m_pRoot; }
    /// \return the key at \p path; null when an element is missing. It belongs to the tree and lasts until it is
    /// removed or the file is loaded again.
    CRgKey* FindKey(const char* path);
    /// Makes the key at \p path and what is missing on the way. The key class gets an attribute for the last
    /// element when both \p attributeName and \p attributeValue are given.
    /// \return the key, which belongs to the tree; null when the key class refuses an element.
    CRgKey* CreateKey(const char* path, const char* attributeName, const char* attributeValue);
    /// \return the text of value \p name in the key at \p path; null when it is missing. The text belongs to
    /// the value and lasts until that changes.
    const char* GetValue(const char* path, const char* name);
    /// Sets the text of an existing value, or makes one of type eText, with the keys that are missing.
    /// \param path each element reads back after a save when it has 1 to 255 bytes, doesn't begin with a space and
    /// has no `]`. A longer one counts as empty.
    /// \param name reads back when it has no `"`.
    /// \param value likewise; an option file keeps such a value out, a plain one can't be loaded any more.
    void SetValue(const char* path, const char* name, const char* value);
    /// \return the attribute on value \p name in the key at \p path; null when key, value or attribute is
    /// missing. The text belongs to the attribute.
    const char* GetAttributeValue(const char* path, const char* name, const char* attributeName);
    /// Sets an attribute on a value, which is made with the text \p valueText when it is missing. The text of
    /// an existing value stays.
    void SetAttributeValue(const char* path, const char* name, const char* valueText, const char* attributeName,
                           const char* attributeValue);
    /// Unlinks \p key from its parent when it has neither subkeys nor values; it then belongs to the caller.
    /// A key that knows no parent, as every plain key, and a null key are left alone.
    void RemoveKey(CRgKey* key);
    /// Empties \p key and unlinks it from its parent when it has no subkeys; it then belongs to the caller. A
    /// key that knows no parent, as every plain key, and a null key are left alone.
    void DestroyKey(CRgKey* key);

protected:
    CRgKey* m_pRoot;    ///< the tree
    SString m_strPath;  ///< empty until the first Load
    /// The tree isn't what the file holds: a load failed, and none was successful since.
    bool m_bContentLost = false;

    /// Empties the tree, whose file turned out malformed.
    void LoseContent();

    /// \return the value \p name in the key at \p path, found at the first look-up and remembered; null when it is
    /// missing.
    CRgValue* FindValue(const char* path, const char* name);
    /// The same by a walk from the root.
    /// \param[in,out] certain becomes false when a key on the way may answer otherwise the next time.
    CRgValue* WalkToValue(const char* path, const char* name, bool& certain) const;

private:
    int Read(const char* path, bool anew);
    CRgKey* MakeKey(const char* path);

    bool m_bLoaded = false;  // once a load was successful
    int m_nLoadError = 0;
    std::unique_ptr<detail::AddressTable> m_pFound;  // the values that were looked up
};

}  // namespace vyn
