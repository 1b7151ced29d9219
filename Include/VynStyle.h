#pragma once

/// \file
/// Styles: named sets of option values of one kind that inherit from each other, and the files that they are
/// read from. Nothing here locks: the list of kinds is shared by the process, and styles with their kinds,
/// parents and files belong to one thread at a time.

#include <memory>
#include <set>
#include <unordered_map>

#include "VynOption.h"

namespace vyn {

namespace detail {

template <class T>
class CLink;

/// \brief Base of what a CLink points to.
class CLinkTarget {
public:
    CLinkTarget() = default;
    CLinkTarget(const CLinkTarget&) = delete;
    CLinkTarget& operator=(const CLinkTarget&) = delete;
    ~CLinkTarget() = default;

private:
    template <class T>
    friend class CLink;

    std::shared_ptr<void> m_pLife = std::make_shared<char>();  // shared with nobody: links watch it
};

/// \brief A pointer to an object that may die first: it is null from then on.
///
/// Styles, their kinds, their parents and the keys of style files point to each other and die in any order.
/// With links neither of two has to know who points to it.
template <class T>
class CLink {
public:
    CLink() = default;
    /// \param target may be null.
    CLink(T* target) : m_pTarget(target) {
        if (target) {
            m_life = target->m_pLife;
        }
    }
    /// \param target a part of \p owner, with which it dies; may be null.
    CLink(const CLinkTarget& owner, T* target) : m_life(owner.m_pLife), m_pTarget(target) {}

    /// \return the target; null when it is dead or was never set.
    T* Get() const { return m_life.expired() ? nullptr : m_pTarget; }
    /// \return a link to another part of what this link's target is a part of.
    CLink With(T* target) const {
        CLink link(*this);
        link.m_pTarget = target;
        return link;
    }

private:
    std::weak_ptr<void> m_life;
    T* m_pTarget = nullptr;
};

}  // namespace detail

class CStyle;
class CStyleKind;
class CStyRgKey;

/// \brief A list of styles of one kind. It owns none of them.
class VYN_API CStyleList : public MList<CStyle*> {
public:
    /// \param kind may be null.
    explicit CStyleList(CStyleKind* kind) : m_pStyleKind(kind) {}

    /// \return the kind that the list was made for; may be null.
    CStyleKind* GetStyleKind() { return m_pStyleKind; }
    /// \return the first style of that name; null when there is none.
    CStyle* FindStyle(const char* name);

private:
    CStyleKind* m_pStyleKind;
};

/// \brief A kind of style: its name and its option rows.
///
/// A kind may die before its styles: they keep their values and have no kind from then on.
class VYN_API CStyleKind : public detail::CLinkTarget {
public:
    /// No name and no rows.
    CStyleKind();
    /// \param name one element of an option address: no `/`, at most 255 bytes.
    /// \param options the rows. They outlive the kind and every style of it.
    /// \param count number of rows.
    CStyleKind(const char* name, const COption* options, int count);
    CStyleKind(const CStyleKind&) = delete;
    CStyleKind& operator=(const CStyleKind&) = delete;
    /// The kind is no longer known by name, and its styles have none.
    virtual ~CStyleKind();

    /// Does nothing.
    void AddOptionSet(const char* name, const COption* options, int count);
    /// \return the styles of this kind in order of creation; lives as long as the kind.
    CStyleList* GetStyleList() { return &m_listStyles; }
    /// Appends \p style to the list of this kind. Styles call this when they are born, and RemoveStyle when
    /// they die.
    void AddStyle(CStyle* style);
    /// Takes \p style out of the list of this kind.
    void RemoveStyle(CStyle* style);
    /// A mark for the tool.
    void SetMode(unsigned long mode) { m_nMode = mode; }
    /// \return the name of the kind; lives as long as the kind.
    const char* GetName() { return m_strName.c_str(); }
    /// \return the number of rows.
    int GetOptionsCount() { return m_nOptions; }
    /// \return the rows, which belong to the tool; null when there are none.
    const COption* GetOptions() { return m_pOptions; }

private:
    void CheckPositions();

    const COption* m_pOptions;
    SString m_strName;
    unsigned long m_nMode;
    int m_nOptions;
    CStyleList m_listStyles;

    std::unordered_map<CStyle*, void*> m_mapPositions;  // where styles stand in the list
    unsigned m_nPositionsAt = 0;                        // the list's change count that the positions belong to
};

/// \brief A named set of option values of one kind, which inherits from its parent what it doesn't set
/// itself.
///
/// A style is a small option manager. All its options have one key, its own path "<root name>/Styles/<style
/// name>/<kind name>", which `GetMgrCategory()->GetPath()` gives, and besides the rows of the kind there is
/// the option "BasedOn" for the name of the parent. A value on that key comes from, in falling order of
/// strength: a file of the style that marks it "fixed", a file of the style, the parent by these same rules,
/// and at the top of the chain the default of the row.
/// \code
/// CStyle body("Body", &kindParagraph, "Document", 0, nullptr);
/// CStyle note("Note", &kindParagraph, "Document", 0, &body);
/// body.SetValue(body.GetMgrCategory()->GetPath(), "Font", "Serif");
/// const char* font = note.GetValue(note.GetMgrCategory()->GetPath(), "Font");  // "Serif"
/// \endcode
///
/// A parent and its child are of one kind. A chain of parents may have any length; only a style of a derived
/// class, which a look-up asks by the virtual GetValue, takes a level of calls in it. Parents may form a
/// circle: a look-up then asks each style once, and the one whose parent has been asked before answers like a
/// style without a parent.
///
/// The tool owns its styles. They may die in any order: the children of a dead style have no parent, with
/// their values and their "BasedOn" text unchanged.
class VYN_API CStyle : public COptionManager, public detail::CLinkTarget {
public:
    /// Name of the option that holds the parent's name; "none" when there is no parent.
    static constexpr const char* InheritString = "BasedOn";

    // What a parent tells its children.
    static constexpr int kParentGone = 1;    ///< it dies or has no parent any more
    static constexpr int kValueChanged = 2;  ///< it has a new value

    /// Makes a style, and its kind known by name for as long as the style lives. \p name and \p rootName are
    /// elements of an option address: no `/`, at most 255 bytes.
    /// \param kind not null.
    /// \param mode bit 0 marks a style of the user, bit 1 a contextual one; read by the tool only.
    /// \param parent null for none.
    CStyle(const char* name, CStyleKind* kind, const char* rootName, unsigned long mode, CStyle* parent);
    /// Makes a style from a style file, with a mode of 0 and no parent. The kind is one that another living
    /// style has made known.
    ///
    /// When no kind of that name is known the style is empty, which shows in a null GetStyleKind from the
    /// start: it has no names, no options and no category. On an empty style GetValue answers null, SetValue,
    /// Copy and SetParent do nothing, and as a parent it counts as null.
    /// \param key the key "Styles" of the file; it and its parent key are bound to the tree of this style, so
    /// that the file finds the style's path in it. May be null.
    CStyle(const char* name, const char* kindName, const char* rootName, CStyRgKey* key);
    /// The children lose their parent, and keys of style files their link to this style.
    ~CStyle() override;

    /// \return the style's name. The name of the manager, `COptionManager::GetName`, is style and kind in
    /// one.
    const char* GetName() const { return m_strName.c_str(); }
    /// \return the first element of the addresses of the style's options; lives as long as the style.
    const char* GetRootName() { return m_strRootName.c_str(); }
    /// \return the kind; null once it is dead, and for an empty style.
    CStyleKind* GetStyleKind() { return m_pKind.Get(); }
    /// \return the parent; null when there is none.
    CStyle* GetParent() { return m_pParent.Get(); }
    /// \return the category of the style's options; null for an empty style.
    CMgrCategory* GetMgrCategory() { return m_pMgrCategory; }
    /// \return the mode: bit 0 marks a style of the user, bit 1 a contextual one.
    unsigned long GetMode() { return m_nMode; }
    /// Sets the mode, which only the tool reads.
    void SetMode(unsigned long mode) { m_nMode = mode; }
    /// \return bit 0 of the mode: 0 or 1.
    int IsUser() { return static_cast<int>(m_nMode & 1); }
    /// \return bit 1 of the mode: 0 or 2.
    int IsContextual() { return static_cast<int>(m_nMode & 2); }
    /// A count for the tool: at 0 nothing happens. \return the new count.
    int AddRef() { return ++m_nRef; }
    /// Counts down.
    /// \return the new count.
    int Release() { return --m_nRef; }
    /// \return the count.
    int GetRef() { return m_nRef; }
    /// The key that SetInitialValues reads; it may die before the style.
    /// \param key may be null.
    void SetKey(CStyRgKey* key) { m_pKey = key; }

    /// \return the value; on a key that isn't the style's own path the declared default, never a value of a
    /// file or of the parent; null when the option isn't declared, or the parent's kind lacks it. Valid until
    /// the option is set, here or in a parent, or a file changes.
    const char* GetValue(const char* key, const char* name) const override;
    /// \return the value of \p name in the parent; without a parent what GetValue answers.
    const char* GetHeritedValue(const char* key, const char* name);
    /// Writes \p value to the top file, which is made when there is none; a value that equals what lies
    /// underneath or what the parent has is left out or, with a parent, taken out. With a parent the file
    /// then records its name as "BasedOn", whatever was set. The children are told, also when nothing
    /// changed. Does nothing when IsEditable says no, and for an option that isn't declared.
    void SetValue(const char* key, const char* name, const char* value) override;

    /// Bases the style on \p parent and records its name in the file. Null, and the style itself, end the
    /// link to the present parent; the style's own children lose it as their parent then, and the recorded
    /// name stays.
    void SetParent(CStyle* parent);
    /// Appends \p child to the children. This and RemoveChild are the bookkeeping of SetParent.
    void AddChild(CStyle* child) { m_setChildren.insert(child); }
    /// Takes \p child out of the children.
    void RemoveChild(CStyle* child) { m_setChildren.erase(child); }
    /// Calls OnUpdate on each child.
    /// \param kind kParentGone or kValueChanged.
    void NotifyAllChildren(CStyle* sender, int kind);
    /// Takes a notice, when \p sender is the parent: a parent that goes is forgotten. A changed value asks for
    /// nothing, here and further down, since each look-up reads through the parents.
    void OnUpdate(CStyle* sender, int kind);
    /// Finds the category of the style's options anew: the first leaf of the tree. To be called when the tool
    /// has changed the tree.
    void SetMgrCategory();
    /// Takes over each value of \p style that differs, for the options that this style has; "BasedOn" as
    /// text, without a change of the parent. Does nothing for null.
    void Copy(CStyle* style);
    /// Sets each value of the key that the style was made from, so that it moves to the style's own file.
    /// Does nothing without a key.
    void SetInitialValues();

protected:
    /// The kinds known by name: one entry for each living style, so that a kind may stand several times.
    static MList<CStyleKind*> m_listStyleKind;

private:
    friend class CStyleKind;  // takes itself out of the known kinds

    void DeclareTree(CStyleKind* kind, const char* name, const char* rootName);
    void JoinKind(CStyleKind* kind);
    const char* GetDefault(const char* key, const char* name) const;
    const char* GetOwnPath() const { return m_pMgrCategory ? m_pMgrCategory->GetPath() : ""; }
    CStyle* GetParentToAsk() const;
    COptionFile* GetTopFile();
    CRgKey* MakeKey(COptionFile* file, const char* key);

    unsigned long m_nMode = 0;
    SString m_strRootName;
    SString m_strName;
    CMgrCategory* m_pMgrCategory = nullptr;
    detail::CLink<CStyle> m_pParent;
    detail::CLink<CStyleKind> m_pKind;
    std::set<CStyle*> m_setChildren;
    detail::CLink<CStyRgKey> m_pKey;
    int m_nRef = 0;

    bool m_bAsked = false;  // a look-up that came by here is asking the parent
};

/// \brief A key of a style file, which stands for one category and may have made a style.
///
/// Its category lies in the tree of the file's manager or of a style. When that style dies, the key has none
/// until its parent key finds it again.
class VYN_API CStyRgKey : public CRgKey, public detail::CLinkTarget {
public:
    /// No category and no style. Copies \p name; null means the empty name.
    explicit CStyRgKey(const char* name);
    ~CStyRgKey() override;

    const char* GetName() const override { return m_strName.c_str(); }
    /// \return the style made from this key; null when there is none or it is dead.
    CStyle* GetStyle() const { return m_pStyle.Get(); }
    /// \param attributes taken over by a new key; destroyed otherwise.
    /// \return the subkey; null when the category has no sub-category \p name.
    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override;
    /// \param type not used: the option decides.
    /// \return the value, a COptRgValue; null when the category doesn't declare an option \p name.
    CRgValue* CreateValue(const char* name, CRgValue::RvType type, const char* value,
                          MList<CRgAttribute*>* attributes) override;
    /// Takes the attributes over, and makes the style that they name if this is its key.
    void SetAttributes(MList<CRgAttribute*>* attributes) override;
    /// Makes the style that an attribute names by kind and style, unless the key has it already. A style of a
    /// kind that isn't known, or that finds no place in the tree, is destroyed again.
    /// \param name the element of the heading that this key refused, to be equal to the style's name; null
    /// when the heading is complete, and this key and its parent are named after kind and style.
    /// \return the key of a style made for \p name, which takes over the attributes; null leaves them where
    /// they are.
    CRgKey* UseAttributes(MList<CRgAttribute*>* attributes, const char* name) override;

protected:
    detail::CLink<CMgrCategory> m_category;  ///< null once its manager is dead

private:
    friend class CStyle;  // lets the key it is made from continue in its tree

    CStyRgKey* GetParent() const { return static_cast<CStyRgKey*>(m_pParent); }
    CStyRgKey* FindStyleKey(const char* style, const char* kind) const;
    CStyRgKey* MakeStyleKey(const char* style, const char* kind);
    void MakeOwnStyle(const char* style, const char* kind);
    void SetStyle(CStyle* style);
    void JoinTree(CStyle& style);

    detail::CLink<CStyle> m_pStyle;
    SString m_strName;
};

/// \brief The root of a style file's tree. Its category is the manager of the file's option file.
class VYN_API CStyRootRgKey : public CStyRgKey {
public:
    CStyRootRgKey() : CStyRgKey(nullptr) {}

    /// \param manager outlives the key unless it is a style. Not null.
    void SetManager(COptionManager* manager);
    CRgKey* CreateKey(const char* name, MList<CRgAttribute*>* attributes) override;
};

/// \brief Reads a style file and makes its styles.
///
/// Each style is a section `[root/Styles/style/kind] (kind=style)` with its values. A tool reads the file,
/// moves the values into the styles and links the parents; the file may then go.
/// \code
/// CStyleList list(&kind);
/// CStyleFile file(optionFile);  // of a style that declares the root name and "Styles"
/// file.Load("document.styles", &list);
/// for (void* pos = list.GetHeadPosition(); pos;) {
///     list.GetNext(pos)->SetInitialValues();
/// }
/// for (void* pos = list.GetHeadPosition(); pos;) {
///     CStyle* style = list.GetNext(pos);
///     const char* path = style->GetMgrCategory()->GetPath();
///     style->SetParent(list.FindStyle(style->GetValue(path, CStyle::InheritString)));
/// }
/// \endcode
///
/// The file isn't written here. A style writes its own option file, and only a save over an existing file, be
/// it empty, writes the attribute by which the style is read back; names that begin with a blank or contain
/// one of `),=]` can't be written in it.
class VYN_API CStyleFile : public CRgFile {
public:
    /// \param file gives the category tree by its manager, which outlives the style file unless it is a
    /// style. It has to declare the root name and "Styles"; sections below other names are passed over. Not
    /// null.
    explicit CStyleFile(COptionFile* file);
    ~CStyleFile() override;

    /// Empties the tree, reads \p path and appends the styles made to \p list, in the order of their
    /// sections. The styles belong to the tool. Those made before a malformed place live too, and only their
    /// kind's GetStyleList has them.
    /// \param list not null.
    /// \return 0 on success; else 1, the tree is as CRgFile::Load leaves it and \p list as it was.
    int Load(const char* path, CStyleList* list);
    /// Appends the styles of \p key and of all keys below it to \p list.
    void FillStyleList(CStyRgKey* key, CStyleList* list);

private:
    COptionFile* m_pOptionFile;
};

}  // namespace vyn
