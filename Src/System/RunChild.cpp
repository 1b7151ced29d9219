#include "RunChild.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include "System/Descriptor_p.h"
#include "System/SubProc_p.h"

namespace vyn {

using detail::Descriptor;
using detail::Retried;
using detail::SPipe;

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto never = Clock::time_point::max();
constexpr size_t pieceBytes = size_t{64} << 10;  // of a transfer, and of a line
constexpr auto pauseWithoutPidfd = std::chrono::milliseconds(10);

Clock::time_point After(std::chrono::milliseconds time) {
    const auto now = Clock::now();
    return time < std::chrono::duration_cast<std::chrono::milliseconds>(never - now) ? now + time : never;
}

Clock::time_point EndOf(std::chrono::milliseconds limit) {
    return limit.count() > 0 ? After(limit) : never;
}

bool IsCancelled(const CChildCancel* cancel) {
    pollfd event = {cancel ? cancel->Descriptor() : -1, POLLIN, 0};
    return Retried([&] { return poll(&event, 1, 0); }) == 1;
}

// One output of the child: what is kept of it, and its unfinished line.
class COutput {
public:
    COutput(const SChildRequest& request, ChildStream stream) : m_request(request), m_stream(stream) {}

    // The end that the child writes to, is the caller's.
    bool Open(SPipe& pipe) {
        if (!pipe.Open(false)) {
            return false;
        }
        fcntl(pipe.read.Get(), F_SETFL, O_NONBLOCK);
        m_pipe = std::move(pipe.read);
        return true;
    }
    int Get() const { return m_pipe.Get(); }
    // Takes at most `limit` bytes that are there. False when there are none.
    bool Read(size_t limit);
    // What is in the pipe now, and no more: others may go on writing for ever.
    void Drain();
    std::string Finish();

private:
    void Keep(const char* bytes, size_t length);
    void AddToLines(const char* bytes, size_t length);

    const SChildRequest& m_request;
    const ChildStream m_stream;
    Descriptor m_pipe;
    std::string m_kept;
    std::string m_line;
};

bool COutput::Read(size_t limit) {
    char bytes[pieceBytes];
    const ssize_t n = Retried([&] { return read(m_pipe.Get(), bytes, std::min(limit, sizeof bytes)); });
    if (n > 0) {
        Keep(bytes, static_cast<size_t>(n));
        AddToLines(bytes, static_cast<size_t>(n));
        return true;
    }
    if (n == 0 || errno != EAGAIN) {
        m_pipe.Close();
    }
    return false;
}

void COutput::Drain() {
    int waiting = 0;
    if (m_pipe.Get() == -1 || ioctl(m_pipe.Get(), FIONREAD, &waiting) != 0) {
        return;
    }
    const size_t all = static_cast<size_t>(waiting);
    for (size_t done = 0; done < all && Read(all - done); done += pieceBytes) {  // each takes a whole piece
    }
}

void COutput::Keep(const char* bytes, size_t length) {
    const size_t limit = m_request.keepBytes;
    if (m_request.keep == eKeepHead) {
        length = std::min(length, limit - m_kept.size());
    }
    m_kept.append(bytes, length);
    // Twice the tail is held, so that it isn't moved with every piece.
    if (m_request.keep == eKeepTail && m_kept.size() / 2 > limit) {
        m_kept.erase(0, m_kept.size() - limit);
    }
}

void COutput::AddToLines(const char* bytes, size_t length) {
    if (!m_request.onLine) {
        return;
    }
    for (const char* const end = bytes + length; bytes != end;) {
        const size_t room = std::min(static_cast<size_t>(end - bytes), pieceBytes - m_line.size());
        const char* const lineEnd = std::find(bytes, bytes + room, '\n');
        m_line.append(bytes, lineEnd);
        bytes = lineEnd;
        const bool whole = bytes != end && *bytes == '\n';
        if (whole || (m_line.size() == pieceBytes && bytes != end)) {
            m_request.onLine(m_stream, std::exchange(m_line, {}));
        }
        bytes += whole;
    }
}

std::string COutput::Finish() {
    m_pipe.Close();
    if (!m_line.empty()) {
        m_request.onLine(m_stream, std::exchange(m_line, {}));
    }
    if (m_request.keep == eKeepTail && m_kept.size() > m_request.keepBytes) {
        m_kept.erase(0, m_kept.size() - m_request.keepBytes);
    }
    return std::move(m_kept);
}

// False for texts that can't be handed to a program as they are.
bool IsValid(const SChildRequest& request) {
    const auto hasZero = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    for (const auto& [name, value] : request.environment) {
        if (name.empty() || name.find('=') != std::string::npos || hasZero(name) || (value && hasZero(*value))) {
            return false;
        }
    }
    return !hasZero(request.program) && !hasZero(request.directory) &&
           std::none_of(request.arguments.begin(), request.arguments.end(), hasZero);
}

// One child from its start to the collection of its status. Its id isn't reaped before the last signal is sent, so that
// it can't be another process's.
class CSupervision {
public:
    explicit CSupervision(const SChildRequest& request)
        : m_request(request), m_output(request, eChildOutput), m_error(request, eChildError) {}
    CSupervision(const CSupervision&) = delete;
    CSupervision& operator=(const CSupervision&) = delete;
    // Ends a child that a call-back's exception, or the cancellation of this thread, left behind.
    ~CSupervision() {
        if (m_nChild != noChild) {
            const detail::CCancelOff cancelOff;
            SignalAll(SIGKILL);
            Reap();
        }
    }

    SChildOutcome Run();

private:
    static constexpr pid_t noChild = -1;

    bool Start();
    bool Spawn(int input, int output, int error);
    bool FailedIn(const char* call, int error);
    void ServeOnce();
    void FeedInput();
    void Stop(ChildEnd end);
    void CheckLimits(bool cancelled);
    bool IsStopping() const { return m_outcome.end != eChildExited; }
    bool IsOver() const;
    bool HasEnded() const;
    void SignalAll(int signal);
    int Reap();

    const SChildRequest& m_request;
    SChildOutcome m_outcome;
    pid_t m_nChild = noChild;
    Descriptor m_pidfd;  // readable at the end of the child; not on old systems
    bool m_bEnded = false;
    bool m_bKilled = false;
    Descriptor m_input;
    size_t m_nWritten = 0;
    COutput m_output;
    COutput m_error;
    Clock::time_point m_totalEnd = never;
    Clock::time_point m_idleEnd = never;
    Clock::time_point m_graceEnd = never;
};

bool CSupervision::FailedIn(const char* call, int error) {
    m_outcome.end = eChildNotStarted;
    m_outcome.code = error;
    m_outcome.failedCall = call;
    return false;
}

bool CSupervision::Start() {
    m_totalEnd = EndOf(m_request.totalTime);
    if (m_request.cancel && m_request.cancel->Descriptor() == -1) {
        return FailedIn("eventfd", EMFILE);
    }
    if (!IsValid(m_request)) {
        return FailedIn("execvp", EINVAL);
    }
    if (IsCancelled(m_request.cancel)) {
        m_outcome.end = eChildCancelled;
        return false;
    }
    SPipe input, output, error;
    if (!input.Open(false) || !m_output.Open(output) || (!m_request.joinError && !m_error.Open(error))) {
        return FailedIn("pipe2", errno);
    }
    fcntl(input.write.Get(), F_SETFL, O_NONBLOCK);
    m_input = std::move(input.write);
    return Spawn(input.read.Get(), output.write.Get(), m_request.joinError ? output.write.Get() : error.write.Get());
}

// The child says on a further pipe why it couldn't execute its program.
bool CSupervision::Spawn(int input, int output, int error) {
    SPipe report;
    if (!report.Open(false)) {
        return FailedIn("pipe2", errno);
    }
    std::vector<char*> argv = {const_cast<char*>(m_request.program.c_str())};
    for (const std::string& argument : m_request.arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    detail::CEnvironment environment(m_request.environment);
    detail::SSpawn spawn = {m_request.program.c_str(), argv.data(), environment.Get()};
    spawn.leadsGroup = true;
    spawn.streams[STDIN_FILENO] = input;
    spawn.streams[STDOUT_FILENO] = output;
    spawn.streams[STDERR_FILENO] = error;
    spawn.directory = m_request.directory.empty() ? nullptr : m_request.directory.c_str();
    spawn.report = report.write.Get();
    m_nChild = detail::Spawn(spawn);
    if (m_nChild == noChild) {
        return FailedIn("fork", errno);
    }
    report.write.Close();
    detail::SSpawnFailure failure;
    if (Retried([&] { return read(report.read.Get(), &failure, sizeof failure); }) == sizeof failure) {
        Reap();
        return FailedIn(failure.call, failure.error);
    }
    m_pidfd = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, m_nChild, 0)));
    m_idleEnd = EndOf(m_request.idleTime);
    return true;
}

// To the group, and to its leader, which may have joined another.
void CSupervision::SignalAll(int signal) {
    kill(-m_nChild, signal);
    if (getpgid(m_nChild) != m_nChild) {
        kill(m_nChild, signal);
    }
}

bool CSupervision::HasEnded() const {
    siginfo_t ended = {};
    const int result = waitid(P_PID, static_cast<id_t>(m_nChild), &ended, WEXITED | WNOHANG | WNOWAIT);
    return result == 0 ? ended.si_pid != 0 : errno == ECHILD;
}

// The status of the child as waitpid gives it; -1 when somebody else has it.
int CSupervision::Reap() {
    int status = -1;
    Retried([&] { return waitpid(m_nChild, &status, 0); });
    m_nChild = noChild;
    return status;
}

void CSupervision::FeedInput() {
    const size_t left = m_request.input.size() - m_nWritten;
    const ssize_t n = detail::WriteQuietly(m_input.Get(), m_request.input.data() + m_nWritten, left);
    if (n > 0) {
        m_nWritten += static_cast<size_t>(n);
    }
    // A child that doesn't read its input is within its rights.
    if (m_nWritten == m_request.input.size() || (n < 0 && errno != EAGAIN)) {
        m_input.Close();
    }
}

void CSupervision::Stop(ChildEnd end) {
    m_outcome.end = end;
    m_totalEnd = m_idleEnd = never;
    m_graceEnd = After(m_request.grace);
    SignalAll(SIGTERM);
    SignalAll(SIGCONT);  // a stopped process doesn't get the other
}

void CSupervision::CheckLimits(bool cancelled) {
    const Clock::time_point now = Clock::now();
    if (cancelled) {
        Stop(eChildCancelled);
    } else if (now >= m_totalEnd) {
        Stop(eChildTotalTime);
    } else if (now >= m_idleEnd) {
        Stop(eChildIdleTime);
    } else if (now >= m_graceEnd) {
        m_bKilled = true;
        m_graceEnd = never;
        SignalAll(SIGKILL);
    }
}

// The milliseconds until the next limit, for poll: rounded up, and -1 when there is none.
int PollTime(Clock::time_point limit) {
    if (limit == never) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

void CSupervision::ServeOnce() {
    const int cancel = m_request.cancel && !IsStopping() ? m_request.cancel->Descriptor() : -1;
    const bool looksAtEnd = m_pidfd.Get() == -1;
    const auto wake = looksAtEnd ? Clock::now() + pauseWithoutPidfd : never;
    pollfd events[] = {{m_input.Get(), POLLOUT, 0},
                       {m_output.Get(), POLLIN, 0},
                       {m_error.Get(), POLLIN, 0},
                       {m_bEnded ? -1 : m_pidfd.Get(), POLLIN, 0},
                       {cancel, POLLIN, 0}};
    const auto limit = std::min({m_totalEnd, m_idleEnd, m_graceEnd, wake});
    if (poll(events, std::size(events), PollTime(limit)) == -1) {
        return;
    }
    if (events[0].revents != 0) {
        FeedInput();
    }
    const bool wrote = events[1].revents != 0 && m_output.Read(pieceBytes);
    const bool complained = events[2].revents != 0 && m_error.Read(pieceBytes);
    if ((wrote || complained) && !IsStopping()) {
        m_idleEnd = EndOf(m_request.idleTime);
    }
    m_bEnded = m_bEnded || events[3].revents != 0 || (looksAtEnd && HasEnded());
    if (!m_bEnded || IsStopping()) {
        CheckLimits(events[4].revents != 0);
    }
}

// A program that is being stopped leaves the rest of its grace to what else holds the outputs.
bool CSupervision::IsOver() const {
    const bool silent = m_output.Get() == -1 && m_error.Get() == -1;
    return m_bEnded && (!IsStopping() || m_bKilled || silent);
}

SChildOutcome CSupervision::Run() {
    m_outcome.end = eChildExited;
    if (!Start()) {
        return m_outcome;
    }
    while (!IsOver()) {
        ServeOnce();
    }
    SignalAll(SIGKILL);
    m_output.Drain();
    m_error.Drain();
    m_outcome.output = m_output.Finish();
    m_outcome.error = m_error.Finish();
    const int status = Reap();
    if (IsStopping()) {
        return m_outcome;
    }
    if (status != -1 && WIFSIGNALED(status)) {
        m_outcome.end = eChildSignalled;
        m_outcome.code = WTERMSIG(status);
    } else {
        m_outcome.code = status == -1 ? -1 : WEXITSTATUS(status);
    }
    return m_outcome;
}

}  // namespace

// A number of a closed standard descriptor would be written to by whoever prints.
CChildCancel::CChildCancel()
    : m_nDescriptor(detail::MovedUp(detail::Descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))).Release()) {}

CChildCancel::~CChildCancel() {
    if (m_nDescriptor != -1) {
        close(m_nDescriptor);
    }
}

void CChildCancel::Cancel() {
    const int error = errno;
    eventfd_write(m_nDescriptor, 1);
    errno = error;
}

SChildOutcome RunChild(const SChildRequest& request) {
    return CSupervision(request).Run();
}

}  // namespace vyn
