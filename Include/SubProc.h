#pragma once

/// \file
/// Child processes on two pipes, and a watchdog that kills one that takes too long. No locks: `launch`
/// changes the standard descriptors and the working directory of the whole process while it runs, so that no
/// other thread may use them or launch then. Beside the thread that owns a CSubProc, only its watchdog calls
/// it.

#include <atomic>
#include <memory>
#include <mutex>

#include "VynExport.h"

namespace vyn {

/// \brief One child process: its standard input on one pipe, its standard output and standard error on
/// another.
///
/// The child has the descriptors 0, 1 and 2 and no others, unless KOPRAN_NO_CLOSE is in the environment,
/// which hands all descriptors of this process on, the pipe ends too. The signals that this process handles
/// have their default action in the child; the signal mask and the ignored signals are inherited.
///
/// State | Meaning | Entered by | Left by
/// ------|---------|------------|--------
/// 0 | idle | the constructor, reset() | launch() that succeeds
/// 1 | running | launch() | kill(), a read() or write() that fails; reset()
/// 2 | stopped | see 1 | reset()
///
/// The end of the child changes no state: read() gives 0 from then on, get_exit_status() its status.
///
/// \code
/// CSubProc child;
/// const char* argv[] = {"cc", "-c", "a.c", nullptr};
/// if (child.launch("cc", argv, "/tmp", false) == 0) {
///     child.close_write();
///     char buffer[512];
///     std::string output;
///     for (int n; (n = child.read(buffer, sizeof buffer)) > 0;) {
///         output.append(buffer, static_cast<size_t>(n));
///     }
///     const int status = child.get_exit_status();
///     child.reset();
/// }
/// \endcode
class VYN_API CSubProc {
public:
    CSubProc();
    CSubProc(const CSubProc&) = delete;
    CSubProc& operator=(const CSubProc&) = delete;
    /// Kills a running child by signal 9 and closes the pipes. Nobody waits for a child that was killed.
    virtual ~CSubProc();

    /// Starts a child.
    /// \param program looked for in PATH when it has no "/".
    /// \param argv the arguments, from the program's name to a null pointer.
    /// \param directory working directory of the child; null or empty for that of this process. The path of
    /// the working directory of this process has to be below 1024 bytes when one is given.
    /// \return 0 when the child was started, else -1: for a null \p program or \p argv, in a state other than
    /// 0, and when the system refuses a step. Then the state is 0, the pipes are closed and the standard
    /// descriptors and the working directory are as before. When it is only the way back to them that fails,
    /// the child runs on all the same. A program that can't be executed doesn't fail: the child writes
    /// "execvp: " and the reason to its standard error, and exits with 1. Not a cancellation point.
    virtual int launchw(const char* program, char* const* argv, const char* directory, bool);
    /// The same for the other form of the arguments.
    virtual int launch(const char* program, const char* const* argv, const char* directory, bool);

    /// One `write` of \p len bytes to the standard input of the child.
    /// \return the bytes written, which may be fewer; 0 once the descriptor is closed; -1 on failure, which
    /// `errno` tells and which moves the state to 2: EPIPE when nobody reads any more, without a SIGPIPE.
    virtual int write(const char* buf, unsigned len);
    /// Closes the pipe to the child, whose input ends. \return 0.
    virtual int close_write();
    /// \return the descriptor of the pipe to the child, -1 once it is closed.
    virtual int wfd();

    /// One `read` of at most \p len bytes of the output of the child.
    /// \return the bytes read; 0 at the end of the output and once the descriptor is closed; -1 on failure,
    /// which `errno` tells and which moves the state to 2.
    virtual int read(char* buf, unsigned len);
    /// Closes the pipe from the child. \return 0.
    virtual int close_read();
    /// \return the descriptor of the pipe from the child, -1 once it is closed.
    virtual int rfd();

    /// Kills the child by signal 9 without waiting for it, closes both pipes and moves the state to 2. A child
    /// whose status was collected gets no signal, since its id may be another process's by then: that, like
    /// any failure, is printed.
    /// \return 0; -1 in a state other than 1, where nothing happens.
    virtual int kill();
    /// Closes both pipes and forgets the child, which may go on; the state becomes 0.
    virtual void reset();
    /// Waits for the child in state 1; a failure is printed. The state stays.
    /// \return the status word as `waitpid` stored it; the last one when that fails; -1 in state 2, and
    /// before the first launch.
    virtual int get_exit_status();

    /// \return 0, 1 or 2: see above.
    int state() const { return m_nState; }
    /// Gives the next child its library search path back, as do_restore_ld_library_path does. Acts once.
    void restore_ld_library_path();
    /// Sets LD_LIBRARY_PATH of this process to the value of M7_SAVED_LD_LIBRARY_PATH, if that is set.
    static void do_restore_ld_library_path();

private:
    template <class Argv>
    int Launch(const char* program, Argv argv, const char* directory, int (*spawn)(const char*, Argv, bool));

    void SetChild(int child);
    int UnreapedChild();
    bool SignalChild(int signal);
    bool Reap();

    // A watchdog stops the child on its own thread; by exchanging the descriptors each is closed once.
    std::atomic<int> m_nState;
    std::atomic<int> m_nExitStatus;
    std::atomic<int> m_nReadFd;   // -1 when closed
    std::atomic<int> m_nWriteFd;  // -1 when closed
    std::mutex m_mutex;           // for the next two
    int m_nChild;                 // process id, -1 without a child
    bool m_bReaped;               // the child's status was collected: its id is free
    bool m_bRestoreLibraryPath;   // for the next child only
};

/// Starts \p file with the standard descriptors and the working directory of this process, and the
/// descriptors and signals that CSubProc tells of. Costs about the same whatever this process holds: its
/// memory isn't copied.
/// \param file looked for in PATH when it has no "/".
/// \param argv the arguments, up to a null pointer.
/// \param restore whether the child has the LD_LIBRARY_PATH of CSubProc::do_restore_ld_library_path.
/// \return the id of the child; -1 with a line on standard error when the system can't make a process. A
/// child that can't execute \p file writes a line to standard error and exits with 1.
VYN_API int local_spawn(const char* file, const char* const* argv, bool restore);
/// The same for the other form of the arguments.
VYN_API int local_spawnw(const char* file, char* const* argv, bool restore);

/// \brief Watchdog on one child: kills it unless it is called off in time.
///
/// Runs once: made, started after the `launch` of the child, then called off by exactly one Abort(), or
/// destroyed. Whether the child was killed shows in the child, whose state is 2 then.
class VYN_API CSubProcTimeOut {
public:
    /// \param child not owned; outlives the watchdog. No thread runs yet.
    explicit CSubProcTimeOut(CSubProc& child);
    CSubProcTimeOut(const CSubProcTimeOut&) = delete;
    CSubProcTimeOut& operator=(const CSubProcTimeOut&) = delete;
    /// Ends the watchdog's thread, wherever it is, and frees a thread that sits in Abort(). A class whose
    /// LaunchFunction uses its own fields calls Abort() before they die.
    virtual ~CSubProcTimeOut();

    /// Starts the thread. \param timeout in seconds from now. \return whether the thread runs.
    virtual bool Start(unsigned timeout);
    /// Calls the watchdog off and waits until its thread is done with the child: either it has been killed by
    /// then or it never will be.
    /// \pre Start() returned true, and Abort() wasn't called yet; else it waits for the destructor.
    virtual void Abort();
    /// The body of the thread.
    virtual void LaunchFunction();

    /// Starts the thread with the time-out as it stands. \return whether the thread runs.
    bool Launch();

private:
    struct Record;

    std::unique_ptr<Record> m_pRecord;
    unsigned m_nTimeOut;  // seconds
    CSubProc& m_child;
};

}  // namespace vyn
