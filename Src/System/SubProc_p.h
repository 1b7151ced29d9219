#pragma once

/// \file
/// What the sources of the child processes share.

#include <pthread.h>

namespace vyn::detail {

/// Keeps the calling thread from being cancelled for the life of the object: between the first and the last
/// step of a launch the descriptors of the whole process are changed.
class CCancelOff {
public:
    CCancelOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nState); }
    CCancelOff(const CCancelOff&) = delete;
    CCancelOff& operator=(const CCancelOff&) = delete;
    ~CCancelOff() { pthread_setcancelstate(m_nState, nullptr); }

private:
    int m_nState;
};

/// \return whether the environment asks that children get all descriptors of this process.
bool ChildKeepsDescriptors();

}  // namespace vyn::detail
