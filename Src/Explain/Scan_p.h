#pragma once

/// \file
/// One pass over an Rg text that keeps what stands there, each with its place, and notes what is wrong or odd. The text
/// outlives the objects, which belong to one thread.

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "Resources/VynRes_p.h"
#include "Rg/RgReader_p.h"
#include "VynCheck.h"

namespace vyn::detail {

/// \brief Collects findings about one text and turns places into lines and columns.
class CFindings {
public:
    explicit CFindings(std::string_view text);

    void Add(FindingCode code, const char* place, std::initializer_list<SString> texts = {});
    /// The same, with a question for the name that may have been meant; empty for none.
    void AddWithGuess(FindingCode code, const char* place, const SString& name, const std::string& guess);
    /// \return the line of \p place, from 1.
    int LineOf(const char* place) const;
    /// \return the findings in file order.
    std::vector<Finding> Take();

private:
    std::string_view m_text;
    std::vector<size_t> m_lines;  // where each begins
    std::vector<Finding> m_findings;
};

/// One section of a text.
struct ScannedSection {
    const char* place;  ///< its `[`
    std::string path;
};

/// One value of a text.
struct ScannedValue {
    size_t section;     ///< its index among the sections
    const char* place;  ///< the quote before its name
    std::string name;
    std::string text;
    std::string fixed;  ///< the text of its attribute "fixed"; empty without one
    bool isQuoted;      ///< its text stands in quotes
};

/// \brief What stands in a text. The reader stops at the first NUL byte.
class CScan {
public:
    /// \param text ends in a NUL.
    /// \param findings gets what the parse has to say.
    CScan(const std::string& text, CFindings& findings);

    /// \return whether a load of the text succeeds.
    bool IsSound() const { return m_isSound; }
    const std::vector<ScannedSection>& Sections() const { return m_sections; }
    const std::vector<ScannedValue>& Values() const { return m_values; }

    // The reader's sink.
    void BeginSection(const char* start);
    void Element(std::string_view name);
    void EndHeading(const RgAttributes& attributes, const char* end);
    void Value(std::string_view name, std::string_view text, const RgAttributes& attributes, const char* start,
               const char* end);
    void Odd(RgOddity oddity, const char* place, std::string_view token);
    void Stop(const char* place, RgExpected expected);

private:
    void ReportMarks();

    CFindings& m_findings;
    const std::string& m_text;
    const char* m_end;               // of what the reader reads
    const char* m_behind = nullptr;  // the last value
    bool m_isLeadingReported = false;
    bool m_isSound;
    std::vector<ScannedSection> m_sections;
    std::vector<ScannedValue> m_values;
};

}  // namespace vyn::detail
