#pragma once

/// \file
/// A handle on one POSIX thread, and a small object by which a called party tells a waiting thread that the
/// call has happened.

#include <pthread.h>

#include <optional>

#include "RhuOs.h"
#include "VynExport.h"

namespace vyn {

/// \brief The smallest handle on one POSIX thread.
///
/// One thread owns the object; it has no lock. No operation throws on a failure of the system: each failed
/// thread call prints a line on standard error, as "pthread_create: ", and the system's message.
class VYN_API SThread {
public:
    /// Holds no thread.
    SThread() = default;
    SThread(const SThread&) = delete;
    SThread& operator=(const SThread&) = delete;
    /// Does nothing: a running thread goes on.
    ~SThread() = default;

    /// Starts a thread that runs \p fn with \p arg; what \p fn returns is never looked at. A handle that is
    /// held already is overwritten.
    /// \return true when the thread was started. `errno` is the result of `pthread_create`, 0 on success.
    bool Launch(unsigned long (*fn)(void*), void* arg);
    /// Cancels the thread and drops the handle, without joining: what the system holds for the thread stays
    /// until the process ends. Nothing without a thread; else `errno` is the result of `pthread_cancel`, and
    /// ESRCH for a thread that Wait() has joined.
    void Kill();
    /// Joins the thread; the handle stays. Nothing without a thread; else `errno` is the result of
    /// `pthread_join`, and ESRCH for a thread that was joined before.
    void Wait();
    /// Cancels and joins the thread, which ends at its next cancellation point, and drops the handle. Nothing
    /// without a thread; else `errno` is the result of `pthread_join`, and ESRCH for a thread that Wait() has
    /// joined.
    void KillWait();

private:
    void Cancel();
    void Join();

    std::optional<pthread_t> m_thread;
    bool m_bJoined = false;  // the system may have given the id to another thread
};

/// \brief Tells a waiting thread that a call has happened.
///
/// Whoever makes one gives both words their first values: `ThreadCall call = {nullptr, &semaphore};`
class VYN_API ThreadCall {
public:
    /// \param semaphore may be null; not owned, and it outlives the object.
    void setSemaphore(rhu::os::Semaphore* semaphore);
    /// Adds one to the count of the semaphore, if there is one.
    void called();

    void* m_pOwner;                    ///< free for the maker's use
    rhu::os::Semaphore* m_pSemaphore;  ///< null when nobody waits; not owned
};

}  // namespace vyn
