#include <algorithm>
#include <cstdio>
#include <map>
#include <set>

#include "Tool.h"
#include "VynStyle.h"

namespace tool {

namespace {

struct Style {
    std::string name;
    std::string kind;
    std::string parent;  // its name; empty for none
};

// A style and how many stand above it.
struct Row {
    const Style* style;
    int depth;
    size_t parent;  // its row; that of the style itself for none
};

void Declare(CLI::App& app, Arguments& arguments) {
    app.add_option("-f,--file", arguments.files, Text(eTextHelpPath))->required()->expected(1);
    AddJson(app, arguments);
    app.add_flag("--dot", arguments.dot, Text(eTextHelpDot));
    app.add_flag("--svg", arguments.svg, Text(eTextHelpSvg));
}

// The styles of the sections root/Styles/style/kind, whatever their kinds declare.
std::vector<Style> ReadStyles(const std::string& path) {
    CheckReadable(path);
    vyn::CRgFile file;
    if (file.Load(path.c_str()) != 0) {
        ThrowUnloadable(path, file.GetLoadError());
    }
    std::vector<Style> styles;
    for (void* pos = file.GetKeyRoot()->GetFirstKeyPosition(); pos;) {
        vyn::CRgKey* all = file.GetKeyRoot()->GetNextKey(pos)->FindKey("Styles");
        for (void* at = all ? all->GetFirstKeyPosition() : nullptr; at;) {
            vyn::CRgKey* style = all->GetNextKey(at);
            for (void* kindAt = style->GetFirstKeyPosition(); kindAt;) {
                vyn::CRgKey* kind = style->GetNextKey(kindAt);
                const vyn::CRgValue* parent = kind->FindValue(vyn::CStyle::InheritString);
                const std::string name = parent ? parent->GetValue() : "none";
                styles.push_back({style->GetName(), kind->GetName(), name == "none" ? "" : name});
            }
        }
    }
    return styles;
}

// Puts the style and those that are based on it in order. The child lists forget what was placed, so that a circle
// ends.
class Order {
public:
    explicit Order(const std::vector<Style>& styles) {
        std::set<std::string> known;
        for (const Style& style : styles) {
            known.insert(style.kind + '/' + style.name);
        }
        for (const Style& style : styles) {
            m_children[style.kind + '/' + style.parent].push_back(&style);
        }
        for (const Style& style : styles) {
            if (known.count(style.kind + '/' + style.parent) == 0) {
                Place(&style);
            }
        }
        // What is left over stands in circles.
        for (const Style& style : styles) {
            Place(&style);
        }
    }

    std::vector<Row> rows;

private:
    void Place(const Style* root) {
        std::vector<Row> open = {{root, 0, rows.size()}};
        while (!open.empty()) {
            const Row row = open.back();
            open.pop_back();
            if (!m_placed.insert(row.style).second) {
                continue;
            }
            const size_t index = rows.size();
            rows.push_back(row);
            const std::vector<const Style*>& children = m_children[row.style->kind + '/' + row.style->name];
            for (auto child = children.rbegin(); child != children.rend(); ++child) {
                open.push_back({*child, row.depth + 1, index});
            }
        }
    }

    std::map<std::string, std::vector<const Style*>> m_children;  // by kind and name of the parent
    std::set<const Style*> m_placed;
};

std::string Escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '<' ? "&lt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return escaped;
}

void PrintDot(const std::vector<Row>& rows) {
    printf("digraph styles {\n    rankdir=BT;\n");
    for (const Row& row : rows) {
        const Style& style = *row.style;
        const std::string node = Json(style.kind + '/' + style.name);
        printf("    %s [label=%s];\n", node.c_str(), Json(style.name).c_str());
        if (!style.parent.empty()) {
            printf("    %s -> %s;\n", node.c_str(), Json(style.kind + '/' + style.parent).c_str());
        }
    }
    printf("}\n");
}

void PrintSvg(const std::vector<Row>& rows) {
    constexpr int height = 24;
    constexpr int indent = 32;
    size_t longest = 0;
    int deepest = 0;
    for (const Row& row : rows) {
        longest = std::max(longest, row.style->name.size() + row.style->kind.size());
        deepest = std::max(deepest, row.depth);
    }
    printf(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" font-family=\"sans-serif\" "
        "font-size=\"14\">\n",
        deepest * indent + static_cast<int>(longest) * 9 + 40, static_cast<int>(rows.size()) * height + 12);
    for (size_t i = 0; i < rows.size(); ++i) {
        const int x = 8 + rows[i].depth * indent;
        const int y = 20 + static_cast<int>(i) * height;
        if (rows[i].depth > 0) {
            printf("<path d=\"M%d %dV%dH%d\" fill=\"none\" stroke=\"grey\"/>\n", x - indent + 8,
                   24 + static_cast<int>(rows[i].parent) * height, y - 5, x - 4);
        }
        printf("<text x=\"%d\" y=\"%d\">%s <tspan fill=\"grey\">%s</tspan></text>\n", x, y,
               Escape(rows[i].style->name).c_str(), Escape(rows[i].style->kind).c_str());
    }
    printf("</svg>\n");
}

int Run(const Arguments& arguments) {
    const std::vector<Style> styles = ReadStyles(arguments.files[0]);
    const std::vector<Row> rows = Order(styles).rows;
    if (arguments.dot) {
        PrintDot(rows);
    } else if (arguments.svg) {
        PrintSvg(rows);
    } else if (arguments.json) {
        std::vector<std::string> objects;
        objects.reserve(rows.size());
        for (const Row& row : rows) {
            objects.push_back("{\"style\": " + Json(row.style->name) + ", \"kind\": " + Json(row.style->kind) +
                              ", \"parent\": " + (row.style->parent.empty() ? "null" : Json(row.style->parent)) + "}");
        }
        PrintJson(objects);
    } else {
        for (const Row& row : rows) {
            printf("%*s%s (%s)\n", row.depth * 2, "", row.style->name.c_str(), row.style->kind.c_str());
        }
    }
    return rows.empty() ? eNotFound : eDone;
}

}  // namespace

const Command commandStyles = {"styles", eTextHelpStyles, Declare, Run};

}  // namespace tool
