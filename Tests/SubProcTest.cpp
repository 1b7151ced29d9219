#include "SubProc.h"

#include <sys/syscall.h>

#include <cstdarg>

#include "RunChild.h"
#include "TestSupport.h"

using namespace vyn::test;
namespace fs = std::filesystem;
using vyn::CSubProc;
using vyn::CSubProcTimeOut;

// The system calls of a launch go through these functions, which can be told to fail.

int callToFail = 0;  // counts down with each call; the call that reaches 0 fails
bool closeRangeMissing = false;
int signalsSent = 0;    // to other processes
int signalInChild = 0;  // sent by the child to itself before it executes the program

bool FailsNow() {
    if (callToFail == 0 || --callToFail > 0) {
        return false;
    }
    errno = EIO;
    return true;
}

#pragma GCC visibility push(default)
extern "C" {

int pipe2(int* ends, int flags) {
    return FailsNow() ? -1 : static_cast<int>(syscall(SYS_pipe2, ends, flags));
}
int dup2(int from, int to) {
    return FailsNow() ? -1 : static_cast<int>(syscall(SYS_dup2, from, to));
}
int dup3(int from, int to, int flags) {
    return FailsNow() ? -1 : static_cast<int>(syscall(SYS_dup3, from, to, flags));
}
int chdir(const char* path) {
    return FailsNow() ? -1 : static_cast<int>(syscall(SYS_chdir, path));
}
int fcntl(int fd, int command, ...) {
    va_list args;
    va_start(args, command);
    const long argument = va_arg(args, long);
    va_end(args);
    const bool copies = command == F_DUPFD || command == F_DUPFD_CLOEXEC;
    return copies && FailsNow() ? -1 : static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}
int kill(pid_t id, int signal) {
    signalsSent += id != getpid();
    return static_cast<int>(syscall(SYS_kill, id, signal));
}
int close_range(unsigned first, unsigned last, int flags) {
    if (signalInChild != 0) {
        kill(getpid(), signalInChild);
    }
    if (closeRangeMissing) {
        errno = ENOSYS;
        return -1;
    }
    return static_cast<int>(syscall(SYS_close_range, first, last, flags));
}

}  // extern "C"
#pragma GCC visibility pop

const std::string probe = VYN_PROBE_DIR "/Probe";

// What a launch has to leave as it was: the directory, and the open descriptors with what they stand for.
std::string ParentState() {
    std::string state = fs::current_path().string();
    for (const auto& open : fs::directory_iterator("/proc/self/fd")) {
        const int flags = fcntl(atoi(open.path().filename().c_str()), F_GETFD);
        state += " " + open.path().string() + ":" + std::to_string(flags) + fs::read_symlink(open).string();
    }
    return state;
}

int Launch(CSubProc& child, std::vector<const char*> argv, const char* directory = nullptr) {
    argv.push_back(nullptr);
    return child.launch(argv[0], argv.data(), directory, false);
}

int Shell(CSubProc& child, const char* script, const char* directory = nullptr) {
    return Launch(child, {"sh", "-c", script}, directory);
}

std::string ReadAll(CSubProc& child) {
    std::string text;
    char buffer[4096];
    for (int n; (n = child.read(buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<size_t>(n));
    }
    return text;
}

// The output of a child that ran to its end.
std::string OutputOf(CSubProc& child) {
    const std::string text = ReadAll(child);
    EXPECT_EQ(0, child.get_exit_status()) << text;
    child.reset();
    return text;
}

// The raw status of the one child that this process has; -1 when there is none.
int ReapOther() {
    int status = -1;
    while (waitpid(-1, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

// Undoes what a test does to a standard descriptor.
struct CKeepDescriptor {
    explicit CKeepDescriptor(int fd) : m_nFd(fd), m_nSaved(fcntl(fd, F_DUPFD_CLOEXEC, 100)) {}
    ~CKeepDescriptor() {
        dup2(m_nSaved, m_nFd);
        close(m_nSaved);
    }
    const int m_nFd, m_nSaved;
};

// A null value unsets it.
void SetVariable(const char* name, const char* value) {
    value ? setenv(name, value, 1) : unsetenv(name);
}

TEST(Launch, ConnectsBothStreamsAndLeavesTheParentAlone) {
    const std::string before = ParentState();
    CSubProc child;
    ASSERT_EQ(0, Shell(child, "read line; echo \"got $line\"; echo err >&2; pwd; exit 3", "/usr"));
    EXPECT_EQ(1, child.state());
    EXPECT_EQ(-1, Launch(child, {"true"})) << "in state 1";
    EXPECT_EQ(5, child.write("line\n", 5));
    EXPECT_EQ("got line\nerr\n/usr\n", ReadAll(child));
    EXPECT_EQ(3 << 8, child.get_exit_status());
    const auto again = [&] { EXPECT_EQ(3 << 8, child.get_exit_status()) << "with nobody left to wait for"; };
    EXPECT_EQ("waitpid: No child processes\n", ErrorOutputOf(again));
    child.reset();
    EXPECT_EQ(0, child.state());

    // The other form, no directory, on the same object; what goes in comes out.
    char name[] = "cat", *argv[] = {name, nullptr};
    ASSERT_EQ(0, child.launchw("cat", argv, "", true));
    EXPECT_TRUE(fcntl(child.rfd(), F_GETFD) & fcntl(child.wfd(), F_GETFD) & FD_CLOEXEC)
        << "a child of another thread would get it";
    EXPECT_EQ(3, child.write("abc", 3));
    EXPECT_EQ(0, child.close_write());
    EXPECT_EQ(-1, child.wfd());
    EXPECT_EQ(0, child.write("d", 1));
    EXPECT_EQ("abc", OutputOf(child));
    EXPECT_EQ(before, ParentState());
}

TEST(Launch, HandsExactlyTheThreeStandardDescriptorsOn) {
    const int low = fcntl(0, F_DUPFD, 60), high = fcntl(0, F_DUPFD, getdtablesize() - 1);
    const std::string before = ParentState();
    CSubProc child;
    for (const bool missing : {false, true}) {
        closeRangeMissing = missing;
        EXPECT_EQ(0, Launch(child, {probe.c_str()}));
        EXPECT_EQ("0:r 1:w 2:w", OutputOf(child)) << "without close_range: " << missing;
    }
    closeRangeMissing = false;
    setenv("KOPRAN_NO_CLOSE", "", 1);
    EXPECT_EQ(0, Launch(child, {probe.c_str()}));
    const std::vector<int> inherited = {child.rfd(), child.wfd(), low, high};
    const std::string open = OutputOf(child);
    for (const int fd : inherited) {
        EXPECT_NE(std::string::npos, open.find(" " + std::to_string(fd) + ":")) << fd << " in " << open;
    }
    unsetenv("KOPRAN_NO_CLOSE");
    EXPECT_EQ(before, ParentState());
    close(low);
    close(high);
}

TEST(Launch, WorksWithAnyStandardDescriptorClosed) {
    for (int closed = 1; closed < 8; ++closed) {
        std::string before, after, output;
        {
            const CKeepDescriptor in(0), out(1), err(2);
            for (int fd = 0; fd < 3; ++fd) {
                closed & 1 << fd ? close(fd) : fcntl(fd, F_SETFD, FD_CLOEXEC);
            }
            vyn::CChildCancel cancel;
            before = ParentState();
            CSubProc child;
            if (Shell(child, "read line; echo $line; echo err >&2") == 0) {
                child.write("out\n", 4);
                output = ReadAll(child);
                child.get_exit_status();
            }
            child.reset();
            vyn::SChildRequest request;
            std::tie(request.program, request.input, request.cancel) = std::tuple("cat", "in", &cancel);
            output += vyn::RunChild(request).output + std::to_string(cancel.Descriptor() > STDERR_FILENO);
            after = ParentState();
        }
        EXPECT_EQ("out\nerr\nin1", output) << closed;
        EXPECT_EQ(before, after) << closed;
    }
}

TEST(Launch, UndoesEveryStepThatWasDone) {
    // Two pipes, three saved, three redirected, a directory: then the child, and its way back.
    constexpr int stepsBefore = 9;
    constexpr int stepsBack = 4;
    const std::string before = ParentState();
    const fs::path directory = fs::current_path();
    CSubProc none;
    const char* argv[] = {"true", nullptr};
    EXPECT_EQ(-1, none.launch(nullptr, argv, nullptr, false));
    EXPECT_EQ(-1, none.launch("true", nullptr, nullptr, false));
    EXPECT_EQ(-1, Launch(none, {"true"}, "/no/such/directory"));
    EXPECT_EQ(-1, none.get_exit_status()) << "nothing was launched";
    EXPECT_EQ(before, ParentState());
    for (int step = 1; step <= stepsBefore + stepsBack; ++step) {
        CSubProc child;
        int launched;
        {
            const CKeepDescriptor in(0), out(1), err(2);
            callToFail = step;
            launched = Shell(child, "exit 7", "/usr");
            callToFail = 0;
            if (step == stepsBefore + 1) {
                fs::current_path(directory);  // the way back there is what failed
            }
        }
        EXPECT_EQ(std::tuple(-1, 0, -1, -1), std::tuple(launched, child.state(), child.rfd(), child.wfd())) << step;
        EXPECT_EQ(before, ParentState()) << step;
        EXPECT_EQ(step <= stepsBefore ? -1 : 7 << 8, ReapOther()) << step << ": a started child runs on";
    }
}

TEST(Launch, SurvivesASystemWithoutProcesses) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto launch = [] {
        const std::string before = ParentState();
        CSubProc child;
        return Launch(child, {"true"}, "/usr") == -1 && child.state() == 0 && before == ParentState() &&
               vyn::local_spawn("true", environ, false) == -1;
    };
    // One line, of the second call: during a launch it goes to the pipe.
    EXPECT_EXIT(WithoutProcesses(launch), testing::ExitedWithCode(0), "^fork: Resource temporarily unavailable\n$");
}

TEST(Launch, ReportsAProgramThatCannotRunOnThePipe) {
    CSubProc child;
    ASSERT_EQ(0, Launch(child, {"/etc"}));
    EXPECT_EQ("execvp: Permission denied\n", ReadAll(child));
    EXPECT_EQ(1 << 8, child.get_exit_status());
    child.reset();
}

TEST(Launch, RestoresTheLibraryPathOfOneChild) {
    const Rows<const char*, const char*, const char*> rows = {{"/current", "/saved", "/saved"},
                                                              {nullptr, "/saved", "/saved"},
                                                              {"/current", "", ""},
                                                              {"/current", nullptr, "/current"}};
    for (const auto& [current, saved, first] : rows) {
        SetVariable("LD_LIBRARY_PATH", current);
        SetVariable("M7_SAVED_LD_LIBRARY_PATH", saved);
        const std::string unchanged = current ? std::string("=") + current : "";
        CSubProc child;
        child.restore_ld_library_path();
        EXPECT_EQ(-1, Shell(child, "", "/no/such/directory")) << "the request survives this";
        for (const std::string& expected : {std::string("=") + first, unchanged}) {
            ASSERT_EQ(0, Shell(child, "env | sed -n 's/^LD_LIBRARY_PATH//p' | tr -d '\\n'"));
            EXPECT_EQ(expected, OutputOf(child)) << "once, and in the first child only";
        }
        EXPECT_STREQ(current, getenv("LD_LIBRARY_PATH")) << "in the parent";
    }
}

TEST(RestoreLibraryPath, PutsTheSavedValueInItsPlace) {
    SetVariable("LD_LIBRARY_PATH", "/current");
    SetVariable("M7_SAVED_LD_LIBRARY_PATH", nullptr);
    CSubProc::do_restore_ld_library_path();
    EXPECT_STREQ("/current", getenv("LD_LIBRARY_PATH"));
    setenv("M7_SAVED_LD_LIBRARY_PATH", "/saved", 1);
    CSubProc::do_restore_ld_library_path();
    const char* path = getenv("LD_LIBRARY_PATH");
    ASSERT_STREQ("/saved", path);
    // The text belongs to the environment; for the leak detector it goes when it has left it.
    unsetenv("LD_LIBRARY_PATH");
    free(const_cast<char*>(path) - strlen("LD_LIBRARY_PATH="));
}

TEST(Launch, GivesTheChildTheSignalsOfAProgram) {
    static volatile sig_atomic_t handled;
    handled = 0;
    signal(SIGUSR1, [](int) { handled = 1; });
    signal(SIGUSR2, SIG_IGN);
    sigset_t blocked, mask, after;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &blocked, &mask);

    CSubProc child;
    EXPECT_EQ(0, Launch(child, {"grep", "-E", "Sig(Blk|Ign)", "/proc/self/status"}));
    EXPECT_EQ("SigBlk:\t0000000000000001\nSigIgn:\t0000000000000800\n", OutputOf(child));
    // A signal between the start of the child and its program does what it does to a program; a handler of
    // the parent would run in the memory of the parent.
    signalInChild = SIGUSR1;
    EXPECT_EQ(0, Launch(child, {"true"}));
    signalInChild = 0;
    EXPECT_EQ(SIGUSR1, child.get_exit_status());
    child.reset();
    EXPECT_EQ(0, handled);

    pthread_sigmask(SIG_SETMASK, &mask, &after);
    EXPECT_TRUE(sigismember(&after, SIGHUP) == 1 && sigismember(&after, SIGINT) == 0);
}

TEST(State, FollowsKillAndFailedPipes) {
    CSubProc child;
    EXPECT_EQ(-1, child.kill()) << "in state 0";
    char c;
    EXPECT_EQ(0, child.read(&c, 1));
    int (*const stops[])(CSubProc&) = {
        [](CSubProc& p) { return p.kill(); },
        [](CSubProc& p) { return close(p.rfd()), p.read(nullptr, 1); },
        [](CSubProc& p) { return close(p.wfd()), p.write("x", 1); },
        // Nobody reads any more: fails without ending this process.
        [](CSubProc& p) { return p.write("\n", 1), ReadAll(p), p.write("x", 1) + (errno - EPIPE); },
    };
    for (const auto& stop : stops) {
        const bool kills = &stop == stops;
        ASSERT_EQ(0, Launch(child, {"head", "-n1"}));
        EXPECT_EQ(kills ? 0 : -1, stop(child));
        EXPECT_EQ(2, child.state()) << "killed: " << kills;
        EXPECT_EQ(-1, child.get_exit_status());
        EXPECT_EQ(-1, child.kill());
        EXPECT_EQ(-1, Launch(child, {"true"}));
        child.reset();
        EXPECT_EQ(0, child.state());
        EXPECT_EQ(kills ? SIGKILL : 0, ReapOther()) << "killed, or at the end of its input";
    }
}

// The id of a child whose status was collected may be another process's by then.
TEST(State, IsKilledWithoutASignalAfterTheStatusWasCollected) {
    void (*const kills[])(CSubProc&) = {[](CSubProc& p) { EXPECT_EQ(0, p.kill()); },
                                        [](CSubProc&) {},  // the destructor
                                        [](CSubProc& p) {
                                            CSubProcTimeOut watchdog(p);
                                            watchdog.Start(0);
                                            while (p.state() == 1) {
                                            }
                                            watchdog.Abort();
                                        }};
    for (const auto& kill : kills) {
        signalsSent = 0;
        const auto launch = [&] {
            CSubProc child;
            EXPECT_EQ(0, Launch(child, {"true"}));
            EXPECT_EQ(0, child.get_exit_status());
            kill(child);
        };
        EXPECT_EQ("kill: No such process\n", ErrorOutputOf(launch));
        EXPECT_EQ(0, signalsSent);
    }
}

TEST(State, OutlastsSignalsAndEndsInTheDestructorByAKill) {
    CSubProc child;
    ASSERT_EQ(0, Launch(child, {"head", "-n1"}));
    {
        const Interruptions interruptions([&] { child.write("\n", 1); });
        char c;
        EXPECT_EQ(1, child.read(&c, 1));
    }
    child.reset();
    ReapOther();
    {
        CSubProc killed;
        ASSERT_EQ(0, Launch(killed, {"cat"}));
    }
    EXPECT_EQ(SIGKILL, ReapOther()) << "killed, and left for others to wait for";
    ASSERT_EQ(0, Launch(child, {"cat"}));
    const Interruptions interruptions([&] { child.close_write(); });
    EXPECT_EQ(0, child.get_exit_status());
}

// Shows when the watchdog is at work on the child. The count has no lock: the thread sanitizer sees an Abort
// that returns too early.
struct CWatchedProc : CSubProc {
    int kill() override {
        usleep(200);
        ++m_nKills;
        return CSubProc::kill();
    }
    int m_nKills = 0;
};

// Whether the thread sleeps in the system.
bool IsAsleep(int thread) {
    std::string stat;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat"), stat);
    return stat.find(") S ") != std::string::npos;
}

TEST(Watchdog, KillsOrSparesTheChildInEachRaceWithAbort) {
    const std::string before = ParentState();
    for (int round = 0; round < 200; ++round) {
        CWatchedProc child;
        ASSERT_EQ(0, Launch(child, {"cat"}));
        {
            CSubProcTimeOut watchdog(child);
            ASSERT_TRUE(watchdog.Start(0));
            usleep(static_cast<useconds_t>(round % 20) * 10);
            watchdog.Abort();
            const bool killed = child.m_nKills == 1;
            ASSERT_EQ(killed ? 1 : 0, child.m_nKills) << round;
            ASSERT_EQ(killed ? 2 : 1, child.state()) << round;
            child.close_write();
            EXPECT_EQ(killed ? -1 : 0, child.get_exit_status()) << round;
            EXPECT_EQ(killed ? SIGKILL : -1, ReapOther()) << round;
        }
        child.reset();
    }
    EXPECT_EQ(before, ParentState());
}

// By design the watchdog closes the descriptor below a reader, which the thread sanitizer reports.
#ifndef __SANITIZE_THREAD__
TEST(Watchdog, EndsAReadByKillingAtTheDeadline) {
    CSubProc child;
    ASSERT_EQ(0, Launch(child, {"cat"}));
    CSubProcTimeOut watchdog(child);
    ASSERT_TRUE(watchdog.Start(1));
    EXPECT_EQ("", ReadAll(child));
    watchdog.Abort();
    EXPECT_EQ(2, child.state());
    EXPECT_EQ(SIGKILL, ReapOther());
}
#endif

TEST(Watchdog, EndsWithItsThreadWhereverThatIs) {
    CSubProc child;
    CSubProcTimeOut idle(child);
    ASSERT_TRUE(idle.Start(0));
    idle.Abort();
    EXPECT_EQ(0, child.state()) << "nothing runs that could be killed";
    for (int round = 0; round < 50; ++round) {
        CSubProcTimeOut neverStarted(child);
        ASSERT_EQ(0, Launch(child, {"cat"}));
        {
            CSubProcTimeOut watchdog(child);
            ASSERT_TRUE(watchdog.Start(4294967295U));
            usleep(static_cast<useconds_t>(round % 10) * 20);
        }
        EXPECT_EQ(1, child.state()) << round;
        child.close_write();
        EXPECT_EQ("", OutputOf(child)) << round;
    }
}

TEST(Watchdog, FreesAFurtherAbortInItsDestructor) {
    for (int round = 0; round < 50; ++round) {
        CSubProc child;
        auto watchdog = std::make_unique<CSubProcTimeOut>(child);
        std::atomic<int> thread{0};
        std::thread aborter([&, w = watchdog.get()] {
            thread = gettid();
            w->Abort();
        });
        while (!IsAsleep(thread)) {
        }
        watchdog.reset();
        aborter.join();
    }
}
