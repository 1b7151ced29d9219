#include "RunChild.h"

#include <stdexcept>

#include "TestSupport.h"

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace vyn;
using namespace vyn::test;

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
        const std::string environment = ReadText(process.path().string() + "/environ");
        count += environment.find(mark + ("=" + markValue + '\0')) != std::string::npos;
    }
    return count;
}

// Checks that nothing is left of a run: descriptors, children, and their descendants, which take a moment to die.
struct CNothingLeft {
    ~CNothingLeft() {
        for (int i = 0; i < 1000 && MarkedProcesses() > 0; ++i) {
            usleep(10000);
        }
        EXPECT_EQ(0, MarkedProcesses());
        EXPECT_EQ(m_nOpen, OpenDescriptors());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    }
    const long m_nOpen = OpenDescriptors();
};

TEST(RunChild, ComesBackFromWhateverAProgramDoes) {
    const std::string large(1 << 20, 'x');
    using Text = std::string;
    using Time = std::chrono::milliseconds;
    const Rows<Text, Text, Time, Time, ChildEnd, int, Text, Text, Time, Time> rows = {
        {"cat; echo ${VYN_RUN_CHILD_TEST:+set} >&2; exit 3", large, 0s, 0s, eChildExited, 3, large, "set\n", 0s, 9s},
        {"exec cat 0<&0 1>&2", large, 0s, 0s, eChildExited, 0, "", large, 0s, 9s},
        {"exec <&-; sleep 0.1; echo closed its input", large, 0s, 0s, eChildExited, 0, "closed its input\n", "", 0s,
         9s},
        {"read -r line; exit 4", "a\n" + large, 0s, 0s, eChildExited, 4, "", "", 0s, 9s},
        {"kill -USR1 $$", "", 0s, 0s, eChildSignalled, SIGUSR1, "", "", 0s, 9s},
        {"sleep 60 & echo has a grandchild", "", 0s, 0s, eChildExited, 0, "has a grandchild\n", "", 0s, 9s},
        {"trap '' TERM; setsid sleep 3 & echo it escapes", "", 0s, 0s, eChildExited, 0, "it escapes\n", "", 0s, 2500ms},
        {"trap '' TERM; sleep 60; sleep 60", "", 100ms, 0s, eChildTotalTime, 0, "", "", 300ms, 9s},
        {"trap 'echo tidied up; exit 5' TERM; echo on; sleep 60 & wait", "", 100ms, 0s, eChildTotalTime, 0,
         "on\ntidied up\n", "", 100ms, 9s},
        {"(trap 'sleep 0.1; echo last words' TERM; sleep 60 & wait) & sleep 60", "", 100ms, 0s, eChildTotalTime, 0,
         "last words\n", "", 200ms, 9s},
        {"kill -STOP $$", "", 0s, 100ms, eChildIdleTime, 0, "", "", 100ms, 9s},
        {"exec >&- 2>&-; sleep 60", "", 0s, 100ms, eChildIdleTime, 0, "", "", 100ms, 9s},
        {"for i in 1 2 3 4 5 6; do echo $i >&2; sleep 0.2; done", "", 0s, 1s, eChildExited, 0, "", "1\n2\n3\n4\n5\n6\n",
         1200ms, 9s}};
    for (const auto& [script, input, totalTime, idleTime, end, code, output, error, atLeast, atMost] : rows) {
        SCOPED_TRACE(script);
        const CNothingLeft nothingLeft;
        SChildRequest request = Shell(script);
        std::tie(request.input, request.totalTime, request.idleTime) = std::tie(input, totalTime, idleTime);
        const auto begin = std::chrono::steady_clock::now();
        const SChildOutcome outcome = RunChild(request);
        const auto time = std::chrono::steady_clock::now() - begin;
        EXPECT_EQ(std::pair(end, code), std::pair(outcome.end, outcome.code));
        EXPECT_TRUE(output == outcome.output) << outcome.output.substr(0, 200);
        EXPECT_TRUE(error == outcome.error) << outcome.error.substr(0, 200);
        EXPECT_TRUE(atLeast <= time && time <= atMost) << std::chrono::duration_cast<Time>(time).count() << " ms";
    }
}

TEST(RunChild, SaysWhichCallFailedWhenThereIsNoChild) {
    const Rows<const char*, const char*, std::string, int, const char*, int> rows = {
        {"true", "", "A", 7, "pipe2", EMFILE},     {"true", "", "A\0"s, 100, "execvp", EINVAL},
        {"true", "", "", 100, "execvp", EINVAL},   {"true", "/no/such", "A", 100, "chdir", ENOENT},
        {"/etc", "", "A", 100, "execvp", EACCES},  {"no-such-program", "", "A", 100, "execvp", ENOENT},
        {"true", "", "A=B", 100, "execvp", EINVAL}};
    for (const auto& [program, directory, variable, descriptors, call, code] : rows) {
        SCOPED_TRACE(std::string(program) + directory + variable);
        const CNothingLeft nothingLeft;
        SChildRequest request;
        std::tie(request.program, request.directory) = std::tie(program, directory);
        request.environment = {{variable, std::nullopt}};
        rlimit limit;
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit few = {static_cast<rlim_t>(descriptors), limit.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        const SChildOutcome outcome = RunChild(request);
        setrlimit(RLIMIT_NOFILE, &limit);
        EXPECT_EQ(std::tuple(eChildNotStarted, std::string(call), code),
                  std::tuple(outcome.end, outcome.failedCall, outcome.code));
    }
}

TEST(RunChild, KeepsWhatItIsTold) {
    const Rows<ChildKeep, bool, const char*, const char*> rows = {{eKeepAll, false, "12345\n789\n", "6\n"},
                                                                  {eKeepHead, false, "1234", "6\n"},
                                                                  {eKeepTail, false, "789\n", "6\n"},
                                                                  {eKeepAll, true, "12345\n6\n789\n", ""}};
    for (const auto& [keep, join, output, error] : rows) {
        SChildRequest request = Shell("echo 12345; echo 6 >&2; echo 789");
        request.keep = keep;
        request.keepBytes = 4;
        request.joinError = join;
        const SChildOutcome outcome = RunChild(request);
        EXPECT_EQ(output, outcome.output) << keep;
        EXPECT_EQ(error, outcome.error) << keep;
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
    const std::string whole(65536, 'x');  // the longest line
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
    const Interruptions interruptions([] {});
    EXPECT_EQ(request.input, RunChild(request).output);
}
