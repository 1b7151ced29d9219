#include "SubProc.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "System/SubProc_p.h"

namespace vyn {

namespace {

constexpr int stateIdle = 0;
constexpr int stateRunning = 1;
constexpr int stateStopped = 2;

// A descriptor that is closed with its owner.
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

// Copies a descriptor to a number above the standard ones. -1 on failure.
int CopyUp(int fd, bool inherit) {
    return fcntl(fd, inherit ? F_DUPFD : F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

// A pipe whose ends don't take the numbers of standard descriptors that are closed.
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

// One standard descriptor of this process, and the way back to what it was: closed included.
class CStandardDescriptor {
public:
    explicit CStandardDescriptor(int fd) : m_nFd(fd) {}
    ~CStandardDescriptor() { Restore(); }

    bool Save(bool inherit) {
        m_nFlags = fcntl(m_nFd, F_GETFD);
        if (m_nFlags == -1) {
            return true;
        }
        m_saved.Reset(CopyUp(m_nFd, inherit));
        return m_saved.Get() != -1;
    }
    bool PointAt(const CDescriptor& target) {
        m_bReplaced = dup2(target.Get(), m_nFd) != -1;
        return m_bReplaced;
    }
    bool Restore() {
        bool restored = true;
        if (m_bReplaced && m_nFlags == -1) {
            close(m_nFd);
        } else if (m_bReplaced) {
            restored = dup3(m_saved.Get(), m_nFd, m_nFlags & FD_CLOEXEC ? O_CLOEXEC : 0) != -1;
        }
        m_bReplaced = false;
        m_saved.Close();
        return restored;
    }

private:
    const int m_nFd;
    int m_nFlags = -1;  // -1 when the descriptor was closed
    bool m_bReplaced = false;
    CDescriptor m_saved;
};

// The working directory for as long as the object lives, unless it goes back earlier.
class CDirectoryChange {
public:
    ~CDirectoryChange() { Back(); }

    bool Remember() { return getcwd(m_szSaved, maxPath) != nullptr; }
    bool Enter(const char* directory) {
        m_bChanged = chdir(directory) == 0;
        return m_bChanged;
    }
    bool Back() {
        const bool back = !m_bChanged || chdir(m_szSaved) == 0;
        m_bChanged = false;
        return back;
    }

private:
    static constexpr size_t maxPath = 1024;

    bool m_bChanged = false;
    char m_szSaved[maxPath + 1];
};

}  // namespace

CSubProc::CSubProc()
    : m_nState(stateIdle),
      m_nExitStatus(-1),
      m_nChild(-1),
      m_nReadFd(-1),
      m_nWriteFd(-1),
      m_nBufferSize(512),
      m_bRestoreLibraryPath(false) {}

CSubProc::~CSubProc() {
    if (m_nState == stateRunning) {
        CSubProc::kill();
    }
    if (m_nState == stateStopped) {
        CSubProc::get_exit_status();
        CSubProc::reset();
    }
}

// The child inherits its standard descriptors and its working directory: those of this process are pointed
// at the pipes and back. On every way out the guards undo what has been done, the last step first.
template <class Argv>
int CSubProc::Launch(const char* program, Argv argv, const char* directory,
                     int (*spawn)(const char*, Argv, bool)) {
    if (!program || !argv || m_nState != stateIdle) {
        return -1;
    }
    const detail::CCancelOff cancelOff;
    const bool elsewhere = directory && *directory;
    // A child that keeps every descriptor gets those of the launch as well; else no child of another thread
    // may see them.
    const bool inherit = detail::ChildKeepsDescriptors();
    SPipe output;
    SPipe input;
    CStandardDescriptor in(STDIN_FILENO);
    CStandardDescriptor out(STDOUT_FILENO);
    CStandardDescriptor err(STDERR_FILENO);
    CDirectoryChange workDir;
    if ((elsewhere && !workDir.Remember()) || !output.Open(inherit) || !input.Open(inherit) ||
        !in.Save(inherit) || !out.Save(inherit) || !err.Save(inherit) || !out.PointAt(output.write) ||
        !err.PointAt(output.write) || !in.PointAt(input.read)) {
        return -1;
    }
    output.write.Close();
    input.read.Close();
    if (elsewhere && !workDir.Enter(directory)) {
        return -1;
    }

    const int child = spawn(program, argv, m_bRestoreLibraryPath);
    m_bRestoreLibraryPath = false;
    if (child == -1) {
        return -1;
    }
    m_nChild = child;
    // Each of the four ways back is tried, whatever becomes of the others.
    bool back = workDir.Back();
    back = in.Restore() && back;
    back = out.Restore() && back;
    back = err.Restore() && back;
    if (!back) {
        return -1;
    }
    m_nReadFd = output.read.Release();
    m_nWriteFd = input.write.Release();
    m_nState = stateRunning;
    return 0;
}

int CSubProc::launchw(const char* program, char* const* argv, const char* directory, bool) {
    return Launch(program, argv, directory, local_spawnw);
}

int CSubProc::launch(const char* program, const char* const* argv, const char* directory, bool) {
    return Launch(program, argv, directory, local_spawn);
}

int CSubProc::write(const char* buf, unsigned len) {
    const int fd = m_nWriteFd;
    if (fd == -1) {
        return 0;
    }
    const ssize_t n = ::write(fd, buf, len);
    if (n < 0) {
        m_nState = stateStopped;
    }
    return static_cast<int>(n);
}

int CSubProc::close_write() {
    CDescriptor(m_nWriteFd.exchange(-1)).Close();
    return 0;
}

int CSubProc::wfd() {
    return m_nWriteFd;
}

int CSubProc::read(char* buf, unsigned len) {
    const int fd = m_nReadFd;
    if (fd == -1) {
        return 0;
    }
    const ssize_t n = ::read(fd, buf, len);
    if (n < 0) {
        m_nState = stateStopped;
    }
    return static_cast<int>(n);
}

int CSubProc::close_read() {
    CDescriptor(m_nReadFd.exchange(-1)).Close();
    return 0;
}

int CSubProc::rfd() {
    return m_nReadFd;
}

int CSubProc::kill() {
    if (m_nState != stateRunning) {
        return -1;
    }
    m_nExitStatus = -1;
    // A reset on another thread may have taken the id away by now, and -1 would kill everything.
    const int child = m_nChild;
    if (child > 0 && ::kill(child, SIGKILL) != 0) {
        perror("kill");
    }
    close_read();
    close_write();
    m_nState = stateStopped;
    m_nChild = -1;
    return 0;
}

void CSubProc::reset() {
    close_read();
    close_write();
    m_nChild = -1;
    m_nState = stateIdle;
}

int CSubProc::get_exit_status() {
    if (m_nState == stateStopped) {
        m_nExitStatus = -1;
    } else if (m_nState == stateRunning) {
        int status;
        if (waitpid(m_nChild, &status, 0) < 0) {
            perror("waitpid");
        } else {
            m_nExitStatus = status;
        }
    }
    return m_nExitStatus;
}

void CSubProc::restore_ld_library_path() {
    m_bRestoreLibraryPath = true;
}

}  // namespace vyn
