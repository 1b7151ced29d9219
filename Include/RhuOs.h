#pragma once

/// \file
/// Mutex, semaphore and point in time on POSIX threads. Every operation of a mutex or a semaphore is safe
/// between threads; a time belongs to one thread at a time.

#include <pthread.h>

#include <cstdint>

#include "VynExport.h"

namespace rhu::os {

/// Result of an operation that can fail or run out of time.
enum Status {
    eStatusOk = 0,
    eStatusFailed = 1,
    eStatusTimedOut = 2,
};

/// \brief A point in time or a span, in two words: seconds, and nanoseconds below one second.
///
/// Points are on the monotonic clock, so that steps of the wall clock move no deadline.
class VYN_API TimeRep {
public:
    constexpr TimeRep() = default;

    /// Sets both words.
    /// \param nanoseconds at least 0 and below 1,000,000,000.
    void set(long seconds, long nanoseconds);
    /// Becomes a span.
    /// \param seconds may have a fraction; negative counts as 0, and what exceeds the words as the longest
    /// span, 136 years.
    void set(double seconds);
    /// Becomes the current point in time, as SemaphoreRep::get takes it.
    void setNow();
    /// Adds \p span to this point or span; a sum that exceeds the words becomes the latest point.
    void add(const TimeRep& span);

    /// \return the first word.
    uint32_t seconds() const { return m_nSeconds; }
    /// \return the second word.
    uint32_t nanoseconds() const { return m_nNanoseconds; }

private:
    uint32_t m_nSeconds = 0;
    uint32_t m_nNanoseconds = 0;
};

/// \brief The time that callers make; a copy has the same two words.
class VYN_API Time : public TimeRep {};

/// \brief Mutual exclusion between threads. Usable from its construction; constructed without running code.
class VYN_API MutexRep {
public:
    constexpr MutexRep() = default;
    MutexRep(const MutexRep&) = delete;
    MutexRep& operator=(const MutexRep&) = delete;
    /// \pre nobody holds the mutex.
    ~MutexRep();

    /// Makes the mutex anew.
    /// \param recursive whether the thread that holds it may lock it again.
    /// \pre nobody holds the mutex.
    Status init(bool recursive);
    /// Waits until nobody else holds the mutex, and takes it.
    Status lock();
    /// \pre the calling thread holds the mutex.
    Status unlock();

private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

/// \brief The mutex that callers make.
class VYN_API Mutex : public MutexRep {};

/// \brief Holds a mutex from its construction to the end of the scope, however that is left.
class VYN_API auto_lock {
public:
    /// Waits for \p mutex, which outlives this object, and locks it.
    explicit auto_lock(MutexRep& mutex) : m_mutex(mutex) { m_mutex.lock(); }
    auto_lock(const auto_lock&) = delete;
    auto_lock& operator=(const auto_lock&) = delete;
    ~auto_lock() { m_mutex.unlock(); }

private:
    MutexRep& m_mutex;
};

/// \brief Counting semaphore. Usable from its construction, with count 0 and the maximum 2147483647.
class VYN_API SemaphoreRep {
public:
    SemaphoreRep();
    SemaphoreRep(const SemaphoreRep&) = delete;
    SemaphoreRep& operator=(const SemaphoreRep&) = delete;
    /// Waits for the threads that are about to leave get() with a unit of the count, so that a put() may be
    /// followed by the destruction.
    /// \pre no other thread waits, and none enters any more.
    ~SemaphoreRep();

    /// Sets the count and its maximum.
    /// \return eStatusFailed, with nothing changed, when \p initial is above \p maximum.
    /// \pre no thread waits.
    Status init(unsigned initial, unsigned maximum);
    /// Adds \p n to the count and wakes that many waiters; never blocks for long.
    /// \return eStatusFailed, with nothing changed, when the count would exceed its maximum.
    Status put(unsigned n);
    /// Blocks until the count is above 0, then takes one. A cancellation point: a thread that is cancelled
    /// here has taken nothing.
    Status get();
    /// The same with a limit.
    /// \param deadline an absolute point in time.
    /// \return eStatusTimedOut when it has passed and nothing was taken; what can be taken at once is taken
    /// even after the deadline.
    Status get(Time deadline);

private:
    static void LeaveWait(void* semaphore);
    Status Take(const Time* deadline);

    pthread_mutex_t m_mutex;
    pthread_cond_t m_changed;
    unsigned m_nCount;
    unsigned m_nMaximum;
    unsigned m_nWaiters;  // threads inside get()
    bool m_bClosing;      // the destructor waits for the waiters
};

/// \brief The semaphore that callers make.
class VYN_API Semaphore : public SemaphoreRep {};

}  // namespace rhu::os
