#include "SubProc.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "System/Descriptor_p.h"
#include "System/SubProc_p.h"

namespace vyn {

using detail::Descriptor;
using detail::Retried;
using detail::SPipe;

namespace {

constexpr int noChild = -1;
constexpr int stateIdle = 0;
constexpr int stateRunning = 1;
constexpr int stateStopped = 2;

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
        m_saved = Descriptor(detail::CopyUp(m_nFd, inherit));
        return m_saved.Get() != -1;
    }
    bool PointAt(const Descriptor& target) {
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
    Descriptor m_saved;
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

// The phases of a launch. The child inherits its standard descriptors and its working directory: those of this
// process are pointed at the pipes and back. On every way out the destructors undo what has been done, the
// last step first.
class CLaunch {
public:
    // Opens the pipes, and keeps what the next phases change.
    bool Prepare(const char* directory) {
        // A child that keeps every descriptor gets those of the launch as well; else no child of another
        // thread may see them.
        const bool inherit = detail::ChildKeepsDescriptors();
        return (!IsElsewhere(directory) || m_workDir.Remember()) && m_output.Open(inherit) && m_input.Open(inherit) &&
               m_in.Save(inherit) && m_out.Save(inherit) && m_err.Save(inherit);
    }
    bool RedirectStreams() {
        if (!m_out.PointAt(m_output.write) || !m_err.PointAt(m_output.write) || !m_in.PointAt(m_input.read)) {
            return false;
        }
        m_output.write.Close();
        m_input.read.Close();
        return true;
    }
    bool EnterDirectory(const char* directory) { return !IsElsewhere(directory) || m_workDir.Enter(directory); }
    // Each of the four ways back is tried, whatever becomes of the others.
    bool GoBack() {
        bool back = m_workDir.Back();
        back = m_in.Restore() && back;
        back = m_out.Restore() && back;
        return m_err.Restore() && back;
    }
    int TakeOutput() { return m_output.read.Release(); }
    int TakeInput() { return m_input.write.Release(); }

private:
    static bool IsElsewhere(const char* directory) { return directory && *directory; }

    SPipe m_output;
    SPipe m_input;
    CStandardDescriptor m_in{STDIN_FILENO};
    CStandardDescriptor m_out{STDOUT_FILENO};
    CStandardDescriptor m_err{STDERR_FILENO};
    CDirectoryChange m_workDir;
};

}  // namespace

CSubProc::CSubProc()
    : m_nState(stateIdle),
      m_nExitStatus(-1),
      m_nReadFd(-1),
      m_nWriteFd(-1),
      m_nChild(noChild),
      m_bReaped(false),
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

template <class Argv>
int CSubProc::Launch(const char* program, Argv argv, const char* directory, int (*spawn)(const char*, Argv, bool)) {
    if (!program || !argv || m_nState != stateIdle) {
        return -1;
    }
    const detail::CCancelOff cancelOff;
    CLaunch launch;
    if (!launch.Prepare(directory) || !launch.RedirectStreams() || !launch.EnterDirectory(directory)) {
        return -1;
    }
    const int child = spawn(program, argv, m_bRestoreLibraryPath);
    m_bRestoreLibraryPath = false;
    if (child == -1) {
        return -1;
    }
    SetChild(child);
    if (!launch.GoBack()) {
        return -1;
    }
    m_nReadFd = launch.TakeOutput();
    m_nWriteFd = launch.TakeInput();
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
    const ssize_t n = detail::WriteQuietly(fd, buf, len);
    if (n < 0) {
        m_nState = stateStopped;
    }
    return static_cast<int>(n);
}

int CSubProc::close_write() {
    Descriptor(m_nWriteFd.exchange(-1)).Close();
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
    const ssize_t n = Retried([&] { return ::read(fd, buf, len); });
    if (n < 0) {
        m_nState = stateStopped;
    }
    return static_cast<int>(n);
}

int CSubProc::close_read() {
    Descriptor(m_nReadFd.exchange(-1)).Close();
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
    if (!SignalChild(SIGKILL)) {
        perror("kill");
    }
    close_read();
    close_write();
    m_nState = stateStopped;
    SetChild(noChild);
    return 0;
}

void CSubProc::reset() {
    close_read();
    close_write();
    SetChild(noChild);
    m_nState = stateIdle;
}

int CSubProc::get_exit_status() {
    if (m_nState == stateStopped) {
        m_nExitStatus = -1;
    } else if (m_nState == stateRunning && !Reap()) {
        perror("waitpid");
    }
    return m_nExitStatus;
}

void CSubProc::SetChild(int child) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_nChild = child;
    m_bReaped = false;
}

int CSubProc::UnreapedChild() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_bReaped ? noChild : m_nChild;
}

// The id belongs to the child until it is reaped: a signal goes out only under the lock under which that
// is done. False with errno when the system refuses it.
bool CSubProc::SignalChild(int signal) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_bReaped) {
        errno = ESRCH;
        return false;
    }
    // A reset on another thread may have taken the id away by now, and -1 would signal everything.
    return m_nChild == noChild || ::kill(m_nChild, signal) == 0;
}

// Waits for the end of the child, and only then reaps it, since a watchdog may have to kill it meanwhile.
// False with errno when there is nobody to wait for.
bool CSubProc::Reap() {
    const int child = UnreapedChild();
    if (child == noChild) {
        errno = ECHILD;
        return false;
    }
    siginfo_t ended;
    Retried([&] { return waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT); });
    const detail::CCancelOff cancelOff;
    const std::lock_guard<std::mutex> lock(m_mutex);
    int status;
    const bool reaped = Retried([&] { return waitpid(child, &status, 0); }) != -1;
    if (reaped) {
        m_nExitStatus = status;
    }
    // Without a child to wait for somebody else has reaped it.
    m_bReaped = m_nChild == child;
    return reaped;
}

void CSubProc::restore_ld_library_path() {
    m_bRestoreLibraryPath = true;
}

}  // namespace vyn
