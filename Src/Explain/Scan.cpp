#include "Explain/Scan_p.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace vyn::detail {

namespace {

// The marks of encodings that a text may begin with, and their names; the longer first.
const std::pair<std::string_view, const char*> marks[] = {{{"\xEF\xBB\xBF", 3}, "UTF-8"},
                                                          {{"\xFF\xFE\0\0", 4}, "UTF-32"},
                                                          {{"\0\0\xFE\xFF", 4}, "UTF-32"},
                                                          {{"\xFF\xFE", 2}, "UTF-16"},
                                                          {{"\xFE\xFF", 2}, "UTF-16"}};

// The rest of the line at `place`, cut to what fits a message.
SString Excerpt(const char* place, const char* end) {
    constexpr std::ptrdiff_t most = 40;
    const char* stop = std::find(place, std::min(end, place + std::min(end - place, most)), '\n');
    return std::string(place, stop);
}

}  // namespace

CFindings::CFindings(std::string_view text) : m_text(text), m_lines{0} {
    for (size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
        m_lines.push_back(at + 1);
    }
}

int CFindings::LineOf(const char* place) const {
    const auto offset = static_cast<size_t>(place - m_text.data());
    return static_cast<int>(std::upper_bound(m_lines.begin(), m_lines.end(), offset) - m_lines.begin());
}

void CFindings::Add(FindingCode code, const char* place, std::initializer_list<SString> texts) {
    const int line = LineOf(place);
    const size_t begin = m_lines[static_cast<size_t>(line) - 1];
    const auto id = static_cast<LibraryString>(eStrFinding + static_cast<unsigned>(code));
    m_findings.push_back(
        {line, static_cast<int>(static_cast<size_t>(place - m_text.data()) - begin) + 1, code, OwnMessage(id, texts)});
}

void CFindings::AddWithGuess(FindingCode code, const char* place, const SString& name, const std::string& guess) {
    Add(code, place, {name});
    if (!guess.empty()) {
        m_findings.back().text += OwnMessage(eStrDidYouMean, {guess});
    }
}

std::vector<Finding> CFindings::Take() {
    std::stable_sort(m_findings.begin(), m_findings.end(), [](const Finding& a, const Finding& b) {
        return a.line != b.line ? a.line < b.line : a.column < b.column;
    });
    return std::move(m_findings);
}

CScan::CScan(const std::string& text, CFindings& findings)
    : m_findings(findings), m_text(text), m_end(text.c_str() + strlen(text.c_str())) {
    ReportMarks();
    m_isSound = RgReader<CScan, true>(text.c_str(), *this).Read();
}

void CScan::ReportMarks() {
    for (const auto& mark : marks) {
        if (m_text.compare(0, mark.first.size(), mark.first) == 0) {
            m_findings.Add(FindingCode::eForeignMark, m_text.data(), {mark.second});
            m_isLeadingReported = true;
            break;
        }
    }
    if (m_end != m_text.data() + m_text.size()) {
        m_findings.Add(FindingCode::eNulByte, m_end);
    }
}

void CScan::BeginSection(const char* start) {
    m_sections.push_back({start, std::string()});
}

void CScan::Element(std::string_view name) {
    // A name runs up to the next bracket, whatever lies between.
    if (name.find('\n') != std::string_view::npos) {
        m_findings.Add(FindingCode::eOpenHeading, m_sections.back().place);
    }
    if (name.size() > 255) {
        m_findings.Add(FindingCode::eNameTooLong, name.data(), {std::to_string(name.size())});
    }
    std::string& path = m_sections.back().path;
    path.append(path.empty() ? "" : "/").append(name);
}

void CScan::EndHeading(const RgAttributes&, const char* end) {
    m_behind = end;
}

void CScan::Value(std::string_view name, std::string_view text, const RgAttributes& attributes, const char* start,
                  const char* end) {
    if (name.size() > 255) {
        m_findings.Add(FindingCode::eNameTooLong, start, {std::to_string(name.size())});
    }
    ScannedValue value{m_sections.size() - 1, start, std::string(name), std::string(text), std::string(), false};
    // A text that was rewritten doesn't stand in the input.
    const bool isInText = text.data() > m_text.data() && text.data() <= m_end;
    value.isQuoted = isInText && text.data()[-1] == '"';
    for (const auto& attribute : attributes) {
        if (attribute.first == "fixed") {
            value.fixed = attribute.second;
        }
    }
    m_values.push_back(std::move(value));
    m_behind = end;
}

void CScan::Odd(RgOddity oddity, const char* place, std::string_view token) {
    switch (oddity) {
        case eRgTextBeforeHeading:
            if (!m_isLeadingReported) {
                m_findings.Add(FindingCode::eTextBeforeHeading, place);
            }
            m_isLeadingReported = true;
            break;
        case eRgOpenHeading:
            m_findings.Add(FindingCode::eOpenHeading, m_sections.back().place);
            break;
        case eRgOpenString:
            m_findings.Add(FindingCode::eOpenString, place);
            break;
        case eRgOpenAttributes:
            m_findings.Add(FindingCode::eOpenAttributes, place);
            break;
        case eRgOddAttributes:
            m_findings.Add(FindingCode::eOddAttributes, place);
            break;
        case eRgMissingText:
            m_findings.Add(FindingCode::eMissingText, place, {Excerpt(place + 1, std::find(place + 1, m_end, '"'))});
            break;
        case eRgNumber: {
            const std::string written(place, std::find_if_not(place, m_end, IsDigit));
            if (written != token) {
                m_findings.Add(FindingCode::eNumberChanged, place, {written, std::string(token)});
            }
            break;
        }
    }
}

void CScan::Stop(const char* place, RgExpected expected) {
    const SString there = Excerpt(place, m_end);
    if (expected == eRgValueOrHeading && m_behind && m_findings.LineOf(m_behind) == m_findings.LineOf(place)) {
        m_findings.Add(FindingCode::eTextAfterValue, place, {there});
        return;
    }
    const auto id = static_cast<LibraryString>(int{eStrExpected} + int{expected});
    m_findings.Add(FindingCode::eUnexpected, place, {there, OwnMessage(id, {})});
}

}  // namespace vyn::detail
