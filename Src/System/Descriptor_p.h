#pragma once

/// \file
/// What the sources of child processes and sockets share to handle descriptors.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace vyn::detail {

/// A descriptor that is closed with its owner.
class CDescriptor {
public:
    CDescriptor() = default;
    explicit CDescriptor(int fd) : m_nFd(fd) {}
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    ~CDescriptor() { Close(); }

    int Get() const { return m_nFd; }
    int Release() {
        const int fd = m_nFd;
        m_nFd = -1;
        return fd;
    }
    void Reset(int fd) {
        Close();
        m_nFd = fd;
    }
    void Close() {
        if (m_nFd != -1) {
            close(Release());
        }
    }

private:
    int m_nFd = -1;
};

/// Copies a descriptor to a number above the standard ones. \return -1 on failure.
inline int CopyUp(int fd, bool inherit) {
    return fcntl(fd, inherit ? F_DUPFD : F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

/// A pipe whose ends don't take the numbers of standard descriptors that are closed.
struct SPipe {
    bool Open(bool inherit) {
        int ends[2];
        if (pipe2(ends, inherit ? 0 : O_CLOEXEC) != 0) {
            return false;
        }
        read.Reset(ends[0]);
        write.Reset(ends[1]);
        return MoveUp(read, inherit) && MoveUp(write, inherit);
    }

    CDescriptor read;
    CDescriptor write;

private:
    static bool MoveUp(CDescriptor& end, bool inherit) {
        if (end.Get() > STDERR_FILENO) {
            return true;
        }
        const int fd = CopyUp(end.Get(), inherit);
        end.Reset(fd);
        return fd != -1;
    }
};

/// Makes a system call again for as long as a signal interrupts it. \return its result.
template <class Call>
auto Retried(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) {
            return result;
        }
    }
}

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
