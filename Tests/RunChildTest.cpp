#include "RunChild.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include "TestSupport.h"

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace vyn;

namespace {

// In the environment of each child: of this process, since others may run the same tests beside it.
const std::string markValue = std::to_string(getpid());
constexpr char mark[] = "VYN_RUN_CHILD_TEST";

SChildRequest Shell(const std::string& script) {
    SChildRequest request;
    request.program = "sh";
    request.arguments = {"-c", script};
    request.environment = {{mark, markValue}};
    request.grace = 200ms;
    return request;
}

// The running processes that have the mark in their environment.
int MarkedProcesses() {
    int count = 0;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        const std::string environment = test::ReadText(process.path().string() + "/environ");
        count += environment.find(mark + ("=" + markValue + '\0')) != std::string::npos;
    }
    return count;
}

// Checks that nothing is left of a run: descriptors, children, and their descendants, which take a moment to die.
class CNothingLeft {
public:
    ~CNothingLeft() {
        for (int i = 0; i < 1000 && MarkedProcesses() > 0; ++i) {
            usleep(10000);
        }
        EXPECT_EQ(0, MarkedProcesses());
        EXPECT_EQ(m_nOpen, test::OpenDescriptors());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    }

private:
    const decltype(test::OpenDescriptors()) m_nOpen = test::OpenDescriptors();
};

}  // namespace

TEST(RunChild, ComesBackFromWhateverAProgramDoes) {
    const std::string large(1 << 20, 'x');
    const struct {
        const char* script;
        std::string input;
        std::chrono::milliseconds totalTime, idleTime;
        ChildEnd end;
        int code;
        std::string output, error;
        std::chrono::milliseconds atLeast, atMost;
    } rows[] = {
        {"cat; echo ${VYN_RUN_CHILD_TEST:+set} >&2; exit 3", large, 0s, 0s, eChildExited, 3, large, "set\n",
         0s, 9s},
        {"exec cat 0<&0 1>&2", large, 0s, 0s, eChildExited, 0, "", large, 0s, 9s},
        {"exec <&-; sleep 0.1; echo closed its input", large, 0s, 0s, eChildExited, 0, "closed its input\n",
         "", 0s, 9s},
        {"read -r line; exit 4", "a\n" + large, 0s, 0s, eChildExited, 4, "", "", 0s, 9s},
        {"kill -USR1 $$", "", 0s, 0s, eChildSignalled, SIGUSR1, "", "", 0s, 9s},
        {"sleep 60 & echo has a grandchild", "", 0s, 0s, eChildExited, 0, "has a grandchild\n", "", 0s, 9s},
        {"trap '' TERM; setsid sleep 3 & echo it escapes", "", 0s, 0s, eChildExited, 0, "it escapes\n", "",
         0s, 2500ms},
        {"trap '' TERM; sleep 60; sleep 60", "", 100ms, 0s, eChildTotalTime, 0, "", "", 300ms, 9s},
        {"trap 'echo tidied up; exit 5' TERM; echo on; sleep 60 & wait", "", 100ms, 0s, eChildTotalTime, 0,
         "on\ntidied up\n", "", 100ms, 9s},
        {"(trap 'sleep 0.1; echo last words' TERM; sleep 60 & wait) & sleep 60", "", 100ms, 0s,
         eChildTotalTime, 0, "last words\n", "", 200ms, 9s},
        {"kill -STOP $$", "", 0s, 100ms, eChildIdleTime, 0, "", "", 100ms, 9s},
        {"exec >&- 2>&-; sleep 60", "", 0s, 100ms, eChildIdleTime, 0, "", "", 100ms, 9s},
        {"for i in 1 2 3 4 5 6; do echo $i >&2; sleep 0.2; done", "", 0s, 1s, eChildExited, 0, "",
         "1\n2\n3\n4\n5\n6\n", 1200ms, 9s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        const CNothingLeft nothingLeft;
        SChildRequest request = Shell(row.script);
        request.input = row.input;
        request.totalTime = row.totalTime;
        request.idleTime = row.idleTime;
        const auto begin = std::chrono::steady_clock::now();
        const SChildOutcome outcome = RunChild(request);
        const auto time = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(row.end, outcome.end);
        EXPECT_EQ(row.code, outcome.code);
        EXPECT_TRUE(row.output == outcome.output) << outcome.output.substr(0, 200);
        EXPECT_TRUE(row.error == outcome.error) << outcome.error.substr(0, 200);
        EXPECT_TRUE(row.atLeast <= time && time <= row.atMost)
            << std::chrono::duration_cast<std::chrono::milliseconds>(time).count() << " ms";
    }
}

TEST(RunChild, SaysWhichCallFailedWhenThereIsNoChild) {
    const auto none = std::nullopt;
    const struct {
        const char *program, *directory;
        std::string variable;
        int descriptors;
        const char* call;
        int code;
    } rows[] = {
        {"no-such-program", "", "A", 100, "execvp", ENOENT},
        {"/etc", "", "A", 100, "execvp", EACCES},
        {"true", "/no/such", "A", 100, "chdir", ENOENT},
        {"true", "", "", 100, "execvp", EINVAL},
        {"true", "", "A=B", 100, "execvp", EINVAL},
        {"true", "", "A\0"s, 100, "execvp", EINVAL},
        {"true", "", "A", 7, "pipe2", EMFILE},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.program) + row.directory + row.variable);
        const CNothingLeft nothingLeft;
        SChildRequest request;
        request.program = row.program;
        request.directory = row.directory;
        request.environment = {{row.variable, none}};
        rlimit limit;
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit few = {static_cast<rlim_t>(row.descriptors), limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        const SChildOutcome outcome = RunChild(request);
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(eChildNotStarted, outcome.end);
        EXPECT_EQ(row.call, outcome.failedCall);
        EXPECT_EQ(row.code, outcome.code);
    }
}

TEST(RunChild, KeepsWhatItIsTold) {
    const struct {
        ChildKeep keep;
        bool join;
        const char *output, *error;
    } rows[] = {
        {eKeepAll, false, "12345\n789\n", "6\n"},
        {eKeepHead, false, "1234", "6\n"},
        {eKeepTail, false, "789\n", "6\n"},
        {eKeepAll, true, "12345\n6\n789\n", ""},
    };
    for (const auto& row : rows) {
        SChildRequest request = Shell("echo 12345; echo 6 >&2; echo 789");
        request.keep = row.keep;
        request.keepBytes = 4;
        request.joinError = row.join;
        const SChildOutcome outcome = RunChild(request);
        EXPECT_EQ(row.output, outcome.output) << row.keep;
        EXPECT_EQ(row.error, outcome.error) << row.keep;
    }
    SChildRequest flood = Shell("cat /dev/zero & cat /dev/zero >&2");
    flood.keep = eKeepTail;
    flood.keepBytes = 1000;
    flood.totalTime = 100ms;
    const CNothingLeft nothingLeft;
    const SChildOutcome outcome = RunChild(flood);
    EXPECT_EQ(eChildTotalTime, outcome.end);
    EXPECT_EQ(std::string(1000, '\0'), outcome.output);
    EXPECT_EQ(std::string(1000, '\0'), outcome.error);
}

TEST(RunChild, HandsLinesOverAsTheyCome) {
    constexpr size_t longest = 65536;
    const std::string whole(longest, 'x');
    std::string lines;
    SChildRequest request = Shell("pwd; cat; echo err >&2");
    request.directory = "/usr";
    request.input = "\na\n" + whole + "\n" + whole + "y\nend";
    request.onLine = [&](ChildStream stream, const std::string& line) {
        lines += stream == eChildError ? "" : line == whole ? "long|" : line + "|";
    };
    EXPECT_EQ(0, RunChild(request).code);
    EXPECT_EQ("/usr||a|long|long|y|end|", lines);

    const CNothingLeft nothingLeft;
    request = Shell("echo a; sleep 60");
    request.onLine = [](ChildStream, const std::string&) { throw std::runtime_error("enough"); };
    EXPECT_THROW(RunChild(request), std::runtime_error);
}

TEST(RunChild, IsCancelledFromAnotherThreadAndOutlastsSignals) {
    const CNothingLeft nothingLeft;
    CChildCancel cancel;
    SChildRequest request = Shell("echo on; sleep 60");
    request.cancel = &cancel;
    std::thread other;
    request.onLine = [&](ChildStream, const std::string&) { other = std::thread([&] { cancel.Cancel(); }); };
    EXPECT_EQ(eChildCancelled, RunChild(request).end);
    other.join();

    request = Shell("sleep 0.1; cat");
    request.input = std::string(1 << 20, 'x');
    const test::Interruptions interruptions([] {});
    EXPECT_EQ(request.input, RunChild(request).output);
}
