#pragma once

/// \file
/// One call that runs a program under supervision: input, both outputs, limits, and how it ended. May be called
/// from several threads at once, but not while a CSubProc launches, which changes the working directory.

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VynExport.h"

namespace vyn {

/// How a child ended.
enum ChildEnd {
    eChildExited,      ///< by itself, with an exit code
    eChildSignalled,   ///< by a signal that the supervision didn't send
    eChildTotalTime,   ///< stopped, since its total time was over
    eChildIdleTime,    ///< stopped, since it had written nothing for too long
    eChildCancelled,   ///< stopped by CChildCancel, or not even started
    eChildNotStarted,  ///< there was none: a call of the system failed
};

/// Which output of a child.
enum ChildStream { eChildOutput, eChildError };

/// What is kept of an output that is longer than the limit.
enum ChildKeep { eKeepAll, eKeepHead, eKeepTail };

/// \brief Stops a child from another thread, a signal handler or a call-back.
class VYN_API CChildCancel {
public:
    CChildCancel();
    CChildCancel(const CChildCancel&) = delete;
    CChildCancel& operator=(const CChildCancel&) = delete;
    /// \pre no RunChild uses the object any more.
    ~CChildCancel();

    /// Stops every child that runs with this object; further ones aren't started. Safe in signal handlers.
    void Cancel();

    /// \return the descriptor that can be read once the object was cancelled; -1 when the system had none, which
    /// makes RunChild fail.
    int Descriptor() const { return m_nDescriptor; }

private:
    const int m_nDescriptor;
};

/// \brief What to run, and within which limits.
struct SChildRequest {
    /// Looked for in PATH of this process when it has no "/"; a relative one counts from `directory`.
    std::string program;
    std::vector<std::string> arguments;  ///< without the program's name
    std::string input;                   ///< its whole standard input
    std::string directory;               ///< its working directory; empty for that of this process
    /// Variables that differ from this process's: name and value, without which it is unset. The last of a name counts.
    std::vector<std::pair<std::string, std::optional<std::string>>> environment;

    std::chrono::milliseconds totalTime{0};  ///< from the start; 0 for no limit
    std::chrono::milliseconds idleTime{0};   ///< without any output; 0 for no limit
    std::chrono::milliseconds grace{2000};   ///< from SIGTERM to SIGKILL
    CChildCancel* cancel = nullptr;          ///< not owned; may be null

    ChildKeep keep = eKeepAll;  ///< of each output
    size_t keepBytes = 0;       ///< the limit of the head or the tail
    bool joinError = false;     ///< the standard error goes into the output, in the order of writing
    /// Called in the thread of RunChild with each line as it comes, without its line feed; a line of more than 64 KiB
    /// comes in pieces. What it throws ends the child and leaves RunChild.
    std::function<void(ChildStream stream, const std::string& line)> onLine;
};

/// \brief How a child ended, and what it wrote.
struct SChildOutcome {
    ChildEnd end = eChildNotStarted;  ///< which of the ways
    int code = 0;            ///< exit code; number of the signal; `errno` of a child that wasn't started; else 0
    std::string failedCall;  ///< the call of the system that failed, as "execvp" or "chdir"; empty for a started child
    std::string output;      ///< as far as kept
    std::string error;       ///< as far as kept
};

/// Runs a program to its end. Whatever it does, the call comes back at a limit: the program leads a group of
/// processes, which gets SIGTERM, and SIGKILL when its grace is over. Only for a program that this process may not
/// signal, as one run by `sudo`, it waits. Input and outputs are served together. A child that doesn't read its input
/// to the end is no failure, and raises no SIGPIPE.
///
/// When the program has ended, what is left of its group is killed: a program that is to outlive it makes a group
/// or session of its own. Outputs that such a program holds open aren't waited for.
///
/// The child has the descriptors 0, 1 and 2 and the signals that CSubProc tells of. The standard descriptors and
/// the directory of this process aren't touched.
///
/// \code
/// SChildRequest request;
/// request.program = "cc";
/// request.arguments = {"-c", "a.c"};
/// request.totalTime = std::chrono::seconds(30);
/// const SChildOutcome outcome = RunChild(request);
/// if (outcome.end == eChildExited && outcome.code == 0) {
///     printf("%s", outcome.output.c_str());
/// }
/// \endcode
///
/// \pre this process doesn't ignore SIGCHLD, and waits nowhere for just any child: the exit code is -1 when somebody
/// else collected it.
/// \return a failure is always eChildNotStarted. The code is EINVAL for a zero byte in a text, and for a name of a
/// variable that is empty or has a "=".
VYN_API SChildOutcome RunChild(const SChildRequest& request);

}  // namespace vyn
