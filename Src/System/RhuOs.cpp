#include "RhuOs.h"

#include <ctime>
#include <limits>

namespace rhu::os {

namespace {

constexpr uint32_t nanosecondsPerSecond = 1000000000;
constexpr uint32_t maxSeconds = std::numeric_limits<uint32_t>::max();

Status StatusOf(int result) {
    return result == 0 ? eStatusOk : eStatusFailed;
}

}  // namespace

void TimeRep::set(long seconds, long nanoseconds) {
    m_nSeconds = static_cast<uint32_t>(seconds);
    m_nNanoseconds = static_cast<uint32_t>(nanoseconds);
}

void TimeRep::set(double seconds) {
    if (!(seconds > 0)) {
        set(0, 0);
        return;
    }
    if (seconds >= static_cast<double>(maxSeconds)) {
        set(maxSeconds, 0);
        return;
    }
    m_nSeconds = static_cast<uint32_t>(seconds);
    m_nNanoseconds = static_cast<uint32_t>((seconds - m_nSeconds) * nanosecondsPerSecond);
}

void TimeRep::setNow() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    set(now.tv_sec, now.tv_nsec);
}

void TimeRep::add(const TimeRep& span) {
    uint64_t seconds = uint64_t{m_nSeconds} + span.m_nSeconds;
    uint32_t nanoseconds = m_nNanoseconds + span.m_nNanoseconds;
    if (nanoseconds >= nanosecondsPerSecond) {
        nanoseconds -= nanosecondsPerSecond;
        ++seconds;
    }
    if (seconds > maxSeconds) {
        seconds = maxSeconds;
        nanoseconds = nanosecondsPerSecond - 1;
    }
    m_nSeconds = static_cast<uint32_t>(seconds);
    m_nNanoseconds = nanoseconds;
}

MutexRep::~MutexRep() {
    pthread_mutex_destroy(&m_mutex);
}

Status MutexRep::init(bool recursive) {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) {
        return eStatusFailed;
    }
    pthread_mutexattr_settype(&attributes, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_NORMAL);
    pthread_mutex_destroy(&m_mutex);
    const int result = pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return StatusOf(result);
}

Status MutexRep::lock() {
    return StatusOf(pthread_mutex_lock(&m_mutex));
}

Status MutexRep::unlock() {
    return StatusOf(pthread_mutex_unlock(&m_mutex));
}

SemaphoreRep::SemaphoreRep() : m_nCount(0), m_nMaximum(0x7fffffff), m_nWaiters(0), m_bClosing(false) {
    pthread_mutex_init(&m_mutex, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_changed, &attributes);
    pthread_condattr_destroy(&attributes);
}

SemaphoreRep::~SemaphoreRep() {
    // The wait below is a cancellation point, and no exception, that of a cancellation neither, may leave a
    // destructor.
    int cancelState;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState);
    pthread_mutex_lock(&m_mutex);
    m_bClosing = true;
    while (m_nWaiters > 0 && m_nCount > 0) {
        pthread_cond_wait(&m_changed, &m_mutex);
    }
    pthread_mutex_unlock(&m_mutex);
    pthread_cond_destroy(&m_changed);
    pthread_mutex_destroy(&m_mutex);
    pthread_setcancelstate(cancelState, nullptr);
}

Status SemaphoreRep::init(unsigned initial, unsigned maximum) {
    if (initial > maximum) {
        return eStatusFailed;
    }
    pthread_mutex_lock(&m_mutex);
    m_nCount = initial;
    m_nMaximum = maximum;
    pthread_mutex_unlock(&m_mutex);
    return eStatusOk;
}

Status SemaphoreRep::put(unsigned n) {
    pthread_mutex_lock(&m_mutex);
    const bool fits = n <= m_nMaximum - m_nCount;
    if (fits) {
        m_nCount += n;
        // Under the mutex: a waiter that takes the unit may destroy the semaphore right after.
        if (n == 1) {
            pthread_cond_signal(&m_changed);
        } else {
            pthread_cond_broadcast(&m_changed);
        }
    }
    pthread_mutex_unlock(&m_mutex);
    return fits ? eStatusOk : eStatusFailed;
}

Status SemaphoreRep::get() {
    return Take(nullptr);
}

Status SemaphoreRep::get(Time deadline) {
    return Take(&deadline);
}

// Ends a get(), by cancellation too, with the mutex held.
void SemaphoreRep::LeaveWait(void* semaphore) {
    SemaphoreRep* self = static_cast<SemaphoreRep*>(semaphore);
    --self->m_nWaiters;
    if (self->m_bClosing) {
        pthread_cond_broadcast(&self->m_changed);
    }
    pthread_mutex_unlock(&self->m_mutex);
}

// Waits by the C interface: the wait of std::condition_variable is noexcept, and the exception by which a
// cancelled thread is unwound would end the process there.
Status SemaphoreRep::Take(const Time* deadline) {
    Status status = eStatusOk;
    pthread_mutex_lock(&m_mutex);
    ++m_nWaiters;
    pthread_cleanup_push(LeaveWait, this);
    int result = 0;
    while (m_nCount == 0 && result == 0) {
        if (deadline) {
            const timespec limit = {static_cast<time_t>(deadline->seconds()),
                                    static_cast<long>(deadline->nanoseconds())};
            result = pthread_cond_timedwait(&m_changed, &m_mutex, &limit);
        } else {
            result = pthread_cond_wait(&m_changed, &m_mutex);
        }
    }
    if (m_nCount > 0) {
        --m_nCount;
    } else {
        status = eStatusTimedOut;
    }
    pthread_cleanup_pop(1);
    return status;
}

}  // namespace rhu::os
