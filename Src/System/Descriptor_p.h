#pragma once

/// \file
/// What the sources of child processes and sockets share to handle descriptors.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include "Files/File_p.h"

namespace vyn::detail {

/// Copies a descriptor to a number above the standard ones. \return -1 on failure.
inline int CopyUp(int fd, bool inherit) {
    return fcntl(fd, inherit ? F_DUPFD : F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

/// Puts a descriptor above the standard ones, closed on exec unless it is to be inherited. \return none on failure.
inline Descriptor MovedUp(Descriptor fd, bool inherit = false) {
    return fd.Get() > STDERR_FILENO || !fd.IsOpen() ? std::move(fd) : Descriptor(CopyUp(fd.Get(), inherit));
}

/// A pipe whose ends don't take the numbers of standard descriptors that are closed.
struct SPipe {
    bool Open(bool inherit) {
        int ends[2];
        if (pipe2(ends, inherit ? 0 : O_CLOEXEC) != 0) {
            return false;
        }
        read = MovedUp(Descriptor(ends[0]), inherit);
        write = MovedUp(Descriptor(ends[1]), inherit);
        return read.IsOpen() && write.IsOpen();
    }

    Descriptor read;
    Descriptor write;
};

/// Keeps SIGPIPE away from the calling thread for the life of the object. One that was raised meanwhile is
/// taken back, unless another waited already. Leaves errno alone.
class CSigPipeOff {
public:
    CSigPipeOff() {
        sigset_t waiting;
        sigpending(&waiting);
        m_bWaited = sigismember(&waiting, SIGPIPE) == 1;
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_mask);
    }
    CSigPipeOff(const CSigPipeOff&) = delete;
    CSigPipeOff& operator=(const CSigPipeOff&) = delete;
    ~CSigPipeOff() {
        const int error = errno;
        if (error == EPIPE && !m_bWaited) {
            const timespec now = {0, 0};
            Retried([&] { return sigtimedwait(&m_pipe, nullptr, &now); });
        }
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        errno = error;
    }

private:
    bool m_bWaited;
    sigset_t m_pipe;
    sigset_t m_mask;
};

/// `write` without SIGPIPE and without interruption.
inline ssize_t WriteQuietly(int fd, const char* bytes, size_t length) {
    const CSigPipeOff pipeOff;
    return Retried([&] { return write(fd, bytes, length); });
}

}  // namespace vyn::detail
