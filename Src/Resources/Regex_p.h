#pragma once

/// \file
/// Regular expressions of the PCRE dialect on UTF-8 text: the one place that knows which matcher is behind them.
/// Objects are independent of each other.

#include <memory>

#include "SString.h"

namespace vyn::detail {

/// \brief A compiled regular expression.
class Regex {
public:
    explicit Regex(const SString& expression);

    /// \return what is wrong with the expression, in the matcher's words; empty when it compiled.
    const SString& Error() const { return m_strError; }

    /// "$" stands for the very end of the text.
    /// \param[out] limit tells that the matcher gave up before it knew; else empty.
    /// \return true when the text matches; false for a text that isn't valid UTF-8.
    /// \pre Error() is empty.
    bool Matches(const SString& text, SString& limit) const;

private:
    std::unique_ptr<void, void (*)(void*)> m_code;
    SString m_strError;
};

}  // namespace vyn::detail
