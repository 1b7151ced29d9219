#include <cstring>

#include "Options/VynOption_p.h"
#include "Rg/RgFile_p.h"
#include "VynStyle.h"

namespace vyn {

CStyRgKey::CStyRgKey(const char* name)
    : m_pCategory(nullptr), m_pStyle(nullptr), m_strName(name), m_pTree(nullptr) {}

CStyRgKey::~CStyRgKey() {
    if (m_pStyle && m_pStyle->m_pKey == this) {
        m_pStyle->m_pKey = nullptr;
    }
    SetCategory(nullptr, nullptr);
}

// The style in whose tree the category lies keeps a list of such keys, to tell them when it dies.
void CStyRgKey::SetCategory(CMgrCategory* category, CStyle* tree) {
    if (m_pTree != tree) {
        if (m_pTree) {
            m_pTree->m_listTreeKeys.RemoveAt(m_pTree->m_listTreeKeys.Find(this));
        }
        if (tree) {
            tree->m_listTreeKeys.AddTail(this);
        }
    }
    m_pTree = tree;
    m_pCategory = category;
}

// Called by the dying style.
void CStyRgKey::ForgetTree() {
    SetCategory(nullptr, nullptr);
    m_pStyle = nullptr;
}

CRgKey* CStyRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    const CMgrCategory* found = m_pCategory ? m_pCategory->FindCategory(name, 0) : nullptr;
    CMgrCategory* category = const_cast<CMgrCategory*>(found);
    CStyRgKey* present = category ? static_cast<CStyRgKey*>(FindKey(name)) : nullptr;
    if (!category || present) {
        detail::DestroyAttributes(attributes);
        if (present && !present->m_pCategory) {
            present->SetCategory(category, m_pTree);
        }
        return present;
    }
    CStyRgKey* key = new CStyRgKey(name);
    key->SetCategory(category, m_pTree);
    key->m_pParent = this;
    if (attributes) {
        key->CRgKey::SetAttributes(attributes);
    }
    AddKey(key);
    return key;
}

CRgValue* CStyRgKey::CreateValue(const char* name, CRgValue::RvType, const char* value,
                                 MList<CRgAttribute*>* attributes) {
    const CMgrOptionSet* options = m_pCategory ? m_pCategory->GetOptionSet() : nullptr;
    COptRgValue* made =
        detail::MakeOptionValue(options ? options->FindOption(name) : nullptr, value, attributes);
    if (made) {
        AddValue(made);
    }
    return made;
}

void CStyRgKey::SetAttributes(MList<CRgAttribute*>* attributes) {
    CRgKey::SetAttributes(attributes);
    UseAttributes(attributes, nullptr);
}

CRgKey* CStyRgKey::UseAttributes(MList<CRgAttribute*>* attributes, const char* name) {
    for (void* pos = attributes->GetHeadPosition(); pos;) {
        CRgAttribute* attribute = attributes->GetNext(pos);
        const char* kind = attribute->GetName();
        const char* style = attribute->GetValue();
        if (!name) {
            MakeOwnStyle(style, kind);
        } else if (strcmp(style, name) == 0) {
            if (CStyRgKey* leaf = MakeStyleKey(style, kind)) {
                leaf->CRgKey::SetAttributes(attributes);
                return leaf;
            }
        }
    }
    return nullptr;
}

// The key of a style below this one, which is the key "Styles"; null when there is none.
CStyRgKey* CStyRgKey::FindStyleKey(const char* style, const char* kind) const {
    const CRgKey* key = FindKey(style);
    return key ? static_cast<CStyRgKey*>(key->FindKey(kind)) : nullptr;
}

// Makes a style that has no category in the file yet, and its keys below this one, which is the key "Styles".
CStyRgKey* CStyRgKey::MakeStyleKey(const char* style, const char* kind) {
    if (!m_pParent || !GetParent()->m_pParent) {
        return nullptr;  // the root of the tree belongs to the file's manager
    }
    CStyRgKey* known = FindStyleKey(style, kind);
    if (known && known->m_pStyle) {
        // Another section of a style that was read before.
        known->m_pStyle->BindKeys(this);
        return known;
    }
    CStyle* made = new CStyle(style, kind, m_pParent->GetName(), this);
    CRgKey* styleKey = made->GetStyleKind() ? CreateKey(style, nullptr) : nullptr;
    CStyRgKey* leaf = styleKey ? static_cast<CStyRgKey*>(styleKey->CreateKey(kind, nullptr)) : nullptr;
    if (!leaf) {
        delete made;
        return nullptr;
    }
    leaf->SetStyle(made);
    return leaf;
}

// Makes the style of this key, whose path, root name, "Styles", style and kind, the file's manager declares.
void CStyRgKey::MakeOwnStyle(const char* style, const char* kind) {
    CStyRgKey* styleKey = GetParent();
    CStyRgKey* stylesKey = styleKey ? styleKey->GetParent() : nullptr;
    if (!stylesKey || !stylesKey->m_pParent || !stylesKey->GetParent()->m_pParent) {
        return;
    }
    if (m_pStyle || m_strName != kind || styleKey->m_strName != style) {
        return;
    }
    const CStyRgKey* top = stylesKey->GetParent();
    while (top->GetParent()->m_pParent) {
        top = top->GetParent();
    }
    CStyle* made = new CStyle(style, kind, top->GetName(), stylesKey);
    if (!made->GetStyleKind()) {
        delete made;
        return;
    }
    SetStyle(made);
}

// A key with a style lies in the tree of that style, whose death it so learns of.
void CStyRgKey::SetStyle(CStyle* style) {
    SetCategory(style->GetMgrCategory(), style);
    m_pStyle = style;
    style->SetKey(this);
}

CRgKey* CStyRootRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    return CStyRgKey::CreateKey(name, attributes);
}

CStyleFile::CStyleFile(COptionFile* file) : CRgFile(new CStyRootRgKey), m_pOptionFile(file) {
    COptionManager* manager = m_pOptionFile->GetManager();
    static_cast<CStyRgKey*>(m_pRoot)->SetCategory(manager, dynamic_cast<CStyle*>(manager));
}

CStyleFile::~CStyleFile() = default;

int CStyleFile::Load(const char* path, CStyleList* list) {
    const int status = CRgFile::Load(path);
    FillStyleList(static_cast<CStyRgKey*>(m_pRoot), list);
    return status;
}

void CStyleFile::FillStyleList(CStyRgKey* key, CStyleList* list) {
    if (key->m_pStyle) {
        list->AddTail(key->m_pStyle);
    }
    for (void* pos = key->GetFirstKeyPosition(); pos;) {
        FillStyleList(static_cast<CStyRgKey*>(key->GetNextKey(pos)), list);
    }
}

}  // namespace vyn
