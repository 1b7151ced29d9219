#pragma once

// The styles of paragraphs, and a paragraph in its style.

#include <VynStyle.h>

#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "Settings.h"
#include "Wrap.h"

inline const vyn::COption optParagraph[] = {
    {"Indent", 2, "0", 0, 0}, {"Mark", 1, "", 0, 0}, {"Centred", 1, "false", 0, 0}};

// The styles of one file.
class Sheet {
public:
    // A file that can't be read gives no styles.
    explicit Sheet(const vyn::SPathName& path) {
        vyn::COptionFile declared(&m_plain);  // from it the reader knows "TextTool/Styles"
        vyn::CStyleFile file(&declared);
        vyn::CStyleList list(&m_kind);
        file.Load(path.c_str(), &list);
        for (void* pos = list.GetHeadPosition(); pos;) {
            m_styles.emplace_back(list.GetNext(pos));
            m_styles.back()->SetInitialValues();
        }
        for (const auto& style : m_styles) {
            const char* key = style->GetMgrCategory()->GetPath();
            style->SetParent(list.FindStyle(style->GetValue(key, vyn::CStyle::InheritString)));
        }
    }

    // A style without values stands in for one that isn't there.
    vyn::CStyle& Find(const std::string& name) {
        vyn::CStyle* style = m_kind.GetStyleList()->FindStyle(name.c_str());
        return style ? *style : m_plain;
    }

private:
    vyn::CStyleKind m_kind{"Paragraph", optParagraph, std::size(optParagraph)};
    vyn::CStyle m_plain{"Plain", &m_kind, "TextTool", 0, nullptr};
    std::vector<std::unique_ptr<vyn::CStyle>> m_styles;  // they belong to the tool
};

// The lines of a paragraph, each with its line end.
inline std::string Format(const Paragraph& paragraph, Sheet& sheet, const Settings& settings) {
    vyn::CStyle& style = sheet.Find(paragraph.style);
    const char* key = style.GetMgrCategory()->GetPath();  // all options of a style have this one key
    const std::string mark = style.GetValue(key, "Mark");
    const int indent = style.GetIntValue(key, "Indent");
    const int isCentred = style.GetBoolValue(key, "Centred");
    const int width = settings.Width() - indent - CountCharacters(mark);
    std::string text;
    for (const std::string& line : Wrap(paragraph.text, width)) {
        const int blanks = isCentred ? (width - CountCharacters(line)) / 2 : 0;
        text.append(static_cast<size_t>(std::max(settings.Margin() + indent + blanks, 0)), ' ');
        text += mark + line + "\n";
    }
    return text;
}
