#include <algorithm>
#include <cstring>
#include <vector>

#include "Options/VynOption_p.h"
#include "Rg/RgFile_p.h"
#include "VynStyle.h"

namespace vyn {

CStyRgKey::CStyRgKey(const char* name) : m_strName(name) {}

CStyRgKey::~CStyRgKey() = default;

CRgKey* CStyRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    const CMgrCategory* own = m_category.Get();
    CMgrCategory* category = const_cast<CMgrCategory*>(own ? own->FindCategory(name, 0) : nullptr);
    CStyRgKey* present = category ? static_cast<CStyRgKey*>(FindKey(name)) : nullptr;
    if (!category || present) {
        detail::DestroyAttributes(attributes);
        if (present && !present->m_category.Get()) {
            present->m_category = m_category.With(category);
        }
        return present;
    }
    CStyRgKey* key = new CStyRgKey(name);
    key->m_category = m_category.With(category);
    key->m_pParent = this;
    if (attributes) {
        key->CRgKey::SetAttributes(attributes);
    }
    AddKey(key);
    return key;
}

CRgValue* CStyRgKey::CreateValue(const char* name, CRgValue::RvType, const char* value,
                                 MList<CRgAttribute*>* attributes) {
    const CMgrCategory* category = m_category.Get();
    const CMgrOptionSet* options = category ? category->GetOptionSet() : nullptr;
    COptRgValue* made = detail::MakeOptionValue(options ? options->FindOption(name) : nullptr, value, attributes);
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
    if (known && known->GetStyle()) {
        // Another section of a style that was read before.
        JoinTree(*known->GetStyle());
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
    if (GetStyle() || m_strName != kind || styleKey->m_strName != style) {
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

void CStyRgKey::SetStyle(CStyle* style) {
    m_pStyle = style;
    style->SetKey(this);
}

// Lets this key, which stands for "Styles", and its parent, which stands for the root name, continue in the
// tree of `style`.
void CStyRgKey::JoinTree(CStyle& style) {
    CStyRgKey* parent = GetParent();
    const CMgrCategory* root = parent ? style.FindCategory(parent->GetName(), 0) : nullptr;
    if (!root) {
        return;
    }
    parent->m_category = {style, const_cast<CMgrCategory*>(root)};
    if (const CMgrCategory* styles = root->FindCategory(GetName(), 0)) {
        m_category = {style, const_cast<CMgrCategory*>(styles)};
    }
}

void CStyRootRgKey::SetManager(COptionManager* manager) {
    const CStyle* style = dynamic_cast<CStyle*>(manager);
    m_category = {style ? static_cast<const CLinkTarget&>(*style) : *this, manager};
}

CRgKey* CStyRootRgKey::CreateKey(const char* name, MList<CRgAttribute*>* attributes) {
    return CStyRgKey::CreateKey(name, attributes);
}

CStyleFile::CStyleFile(COptionFile* file) : CRgFile(new CStyRootRgKey), m_pOptionFile(file) {
    static_cast<CStyRootRgKey*>(m_pRoot)->SetManager(m_pOptionFile->GetManager());
}

CStyleFile::~CStyleFile() = default;

int CStyleFile::Load(const char* path, CStyleList* list) {
    const int status = CRgFile::Load(path);
    if (status == 0) {  // else the tree may be that of an earlier load
        FillStyleList(static_cast<CStyRgKey*>(m_pRoot), list);
    }
    return status;
}

void CStyleFile::FillStyleList(CStyRgKey* key, CStyleList* list) {
    // The keys still to be visited, the next one last: a deep tree needs no deep stack of calls.
    std::vector<CRgKey*> keys = {key};
    while (!keys.empty()) {
        CRgKey* next = keys.back();
        keys.pop_back();
        if (CStyle* style = static_cast<CStyRgKey*>(next)->GetStyle()) {
            list->AddTail(style);
        }
        const auto count = static_cast<std::ptrdiff_t>(keys.size());
        for (void* pos = next->GetFirstKeyPosition(); pos;) {
            keys.push_back(next->GetNextKey(pos));
        }
        std::reverse(keys.begin() + count, keys.end());
    }
}

}  // namespace vyn
