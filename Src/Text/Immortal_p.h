#pragma once

/// \file
/// An object of static storage that can be used at any time. No code of its own, so no thread rule.

namespace vyn::detail {

/// \brief Holds an object whose destructor never runs.
///
/// With a constexpr constructor of `T`, a global Immortal is ready before any code of the process has run, and
/// stays so while other globals end. What `T` then still holds on the heap is lost: whoever needs an end calls a
/// function for it.
template <class T>
class Immortal {
public:
    template <class... Args>
    constexpr explicit Immortal(Args... args) : m_value(args...) {}
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;
    ~Immortal() {}

    constexpr T& Get() { return m_value; }

private:
    union {
        T m_value;  // in a union, whose members aren't destroyed
    };
};

}  // namespace vyn::detail
