#pragma once

/// \file
/// Tells whether the structure of any tree of keys or categories has changed since a look-up: whoever remembers
/// what a look-up found keeps a stamp beside it. One number serves the whole process, and may be used by
/// several threads, each with trees of its own.

#include <atomic>
#include <cstdint>

namespace vyn::detail {

class StructureStamp {
public:
    /// To be called where a key, value, category or option comes or goes, before anything is destroyed.
    /// As long as nobody has taken a stamp there is nothing to tell: reading a file costs a test per value.
    static void Raise() {
        if (m_state.load(std::memory_order_relaxed) & kTaken) {
            m_state.fetch_add(1, std::memory_order_relaxed);  // carries into the number and clears the bit
        }
    }
    /// \return the stamp for what is found from now on.
    static uint64_t Take() { return m_state.fetch_or(kTaken, std::memory_order_relaxed) | kTaken; }
    /// \return true when nothing has changed since \p stamp was taken.
    static bool IsCurrent(uint64_t stamp) { return m_state.load(std::memory_order_relaxed) == stamp; }

private:
    static constexpr uint64_t kTaken = 1;

    // Twice the number of changes, and kTaken once somebody has taken this number as a stamp.
    inline static std::atomic<uint64_t> m_state{0};
};

}  // namespace vyn::detail
