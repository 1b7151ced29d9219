#include <cstring>

#include "Files/File_p.h"
#include "Rg/RgFile_p.h"
#include "Rg/RgReader_p.h"
#include "RgFile.h"
#include "Text/Pool_p.h"

namespace vyn {

namespace detail {

/// Builds the tree while a text is read, by the virtual operations of its keys. The reader has passed the byte behind
/// each view, so that a NUL there makes a C string of it.
class CRgTreeBuilder {
public:
    CRgTreeBuilder(CRgKey& root, std::string& text) : m_root(root), m_text(text), m_counted(text.c_str()) {}

    void BeginSection(const char*) {
        m_key = &m_root;
        m_lastGood = nullptr;
    }

    // Behind an element that was refused the rest of the path goes nowhere.
    void Element(std::string_view name) {
        if (!m_key) {
            return;
        }
        m_refused = Terminate(name);
        m_key = m_key->CreateKey(m_refused, nullptr);
        if (m_key) {
            m_lastGood = m_key;
        }
    }

    void EndHeading(const RgAttributes& attributes, const char*) {
        if (attributes.empty()) {
            return;
        }
        TakeAttributes(attributes);
        if (m_key) {
            m_key->SetAttributes(&m_attributes);
        } else {
            m_key = m_lastGood ? m_lastGood->UseAttributes(&m_attributes, m_refused) : nullptr;
            if (!m_key) {
                DestroyAttributes(&m_attributes);
            }
        }
        m_attributes.RemoveAll();
    }

    void Value(std::string_view name, std::string_view text, const RgAttributes& attributes, const char* start,
               const char* end) {
        if (!m_key) {
            return;
        }
        // Counted before a NUL takes the place of a line feed.
        const unsigned line = LineOf(start);
        LineOf(end + 1);
        TakeAttributes(attributes);
        CRgValue* value = m_key->CreateValue(Terminate(name), CRgValue::eText, Terminate(text), &m_attributes);
        if (!attributes.empty()) {
            m_attributes.RemoveAll();
        }
        if (value) {
            value->m_nLine = line & CRgValue::kMaxLine;
            value->m_bInFile = 1;
            value->m_bChanged = 0;
        }
    }

private:
    // A text that doesn't stand in the input has its NUL already.
    const char* Terminate(std::string_view text) {
        const auto offset = static_cast<size_t>(text.data() - m_text.data());
        if (offset + text.size() < m_text.size()) {
            m_text[offset + text.size()] = '\0';
        }
        return text.data();
    }

    void TakeAttributes(const RgAttributes& attributes) {
        for (const auto& attribute : attributes) {
            m_attributes.AddTail(new CRgAttribute(Terminate(attribute.first), Terminate(attribute.second)));
        }
    }

    // Counts on to \p place, which may be one behind the end of the input.
    unsigned LineOf(const char* place) {
        while (m_counted < place) {
            const void* feed = memchr(m_counted, '\n', static_cast<size_t>(place - m_counted));
            m_nLine += feed ? 1 : 0;
            m_counted = feed ? static_cast<const char*>(feed) + 1 : place;
        }
        return m_nLine;
    }

    CRgKey& m_root;
    std::string& m_text;
    CRgKey* m_key = nullptr;            // of the section; null when its key class refused an element
    CRgKey* m_lastGood = nullptr;       // the last key on the way to it
    const char* m_refused = "";         // the element that was refused
    MList<CRgAttribute*> m_attributes;  // empty between two calls
    const char* m_counted;              // the line feeds before this place are counted
    unsigned m_nLine = 1;
};

}  // namespace detail

int CRgLoader::Load(const char* path) {
    std::string text;
    if (!*path || detail::ReadFile(path, text) != 0) {
        return 1;
    }
    return LoadText(text);
}

int CRgLoader::LoadText(std::string& text) {
    // An object and a node of a list for each value take somewhat more than its line.
    const detail::PoolScope pool(2 * text.size());
    detail::CRgTreeBuilder builder(m_root, text);
    return detail::RgReader<detail::CRgTreeBuilder>(text.c_str(), builder).Read() ? 0 : 1;
}

}  // namespace vyn
