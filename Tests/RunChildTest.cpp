#include "RunChild.h"

#include <malloc.h>

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
    request.environment = {{mark, "taken back"}, {mark, markValue}};
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
        {"cat; grep -cz VYN_RUN_CHILD_TEST /proc/$$/environ >&2; exit 3", large, Time::max(), Time::max(), eChildExited,
         3, large, "1\n", 0s, 9s},
        {"exec cat 0<&0 1>&2", large, 0s, 0s, eChildExited, 0, "", large, 0s, 9s},
        {"exec <&-; sleep 0.3; echo closed its input", large, 0s, 0s, eChildExited, 0, "closed its input\n", "", 0s,
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
        {"trap 'echo woken' TERM; kill -STOP $$; while :; do sleep 0.01; done", "", 0s, 100ms, eChildIdleTime, 0,
         "woken\n", "", 300ms, 9s},
        {"sleep 60 & exec perl -e '$SIG{TERM} = sub { die }; setpgrp 0, getpgrp getppid; sleep 60'", "", 1s, 0s,
         eChildTotalTime, 0, "", "Died at -e line 1.\n", 1s, 9s},
        {"exec >&- 2>&-; sleep 60", "", 0s, 300ms, eChildIdleTime, 0, "", "", 300ms, 9s},
        {"for i in 1 2 3 4 5 6; do echo $i >&2; sleep 0.2; done", "", 0s, 1s, eChildExited, 0, "", "1\n2\n3\n4\n5\n6\n",
         1200ms, 9s}};
    for (const auto& [script, input, totalTime, idleTime, end, code, output, error, atLeast, atMost] : rows) {
        SCOPED_TRACE(script);
        const CNothingLeft nothingLeft;
        SChildRequest request = Shell(script);
        std::tie(request.input, request.totalTime, request.idleTime) = std::tie(input, totalTime, idleTime);
        const auto begin = std::chrono::steady_clock::now();
        const clock_t busy = clock();
        const SChildOutcome outcome = RunChild(request);
        const auto time = std::chrono::steady_clock::now() - begin;
        EXPECT_LT(clock() - busy, CLOCKS_PER_SEC / 16);
        EXPECT_EQ(std::pair(end, code), std::pair(outcome.end, outcome.code));
        EXPECT_TRUE(output == outcome.output) << outcome.output.substr(0, 200);
        EXPECT_TRUE(error == outcome.error) << outcome.error.substr(0, 200);
        EXPECT_TRUE(atLeast <= time && time <= atMost) << std::chrono::duration_cast<Time>(time).count() << " ms";
    }
}

TEST(RunChild, SaysWhichCallFailedWhenThereIsNoChild) {
    Rows<const char*, const char*, std::string, int, const char*, int> rows = {
        {"true", "", "A\0"s, 100, "execvp", EINVAL},         {"true", "", "", 100, "execvp", EINVAL},
        {"true", "/no/such", "A", 100, "chdir", ENOENT},     {"/etc", "", "A", 100, "execvp", EACCES},
        {"no-such-program", "", "A", 100, "execvp", ENOENT}, {"true", "", "A=B", 100, "execvp", EINVAL}};
    const int lowest = LowestFreeDescriptor();
    for (int descriptors = lowest; descriptors < lowest + 8; ++descriptors) {  // of four pipes
        rows.push_back({"true", "", "A", descriptors, "pipe2", EMFILE});
    }
    for (const auto& [program, directory, variable, descriptors, call, code] : rows) {
        SCOPED_TRACE(program + (directory + variable) + std::to_string(descriptors));
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
        SChildRequest request = Shell("echo 12345; sleep 0.1; echo 6 >&2; echo 789");
        std::tie(request.keep, request.keepBytes, request.joinError) = std::tuple(keep, 4, join);
        const SChildOutcome outcome = RunChild(request);
        EXPECT_EQ(std::pair(std::string(output), std::string(error)), std::pair(outcome.output, outcome.error)) << keep;
    }
    SChildRequest flood = Shell("cat /dev/zero & cat /dev/zero >&2");
    std::tie(flood.keep, flood.keepBytes, flood.totalTime) = std::tuple(eKeepTail, 4, 100ms);
    const CNothingLeft nothingLeft;
    const SChildOutcome outcome = RunChild(flood);
    EXPECT_EQ(std::tuple(eChildTotalTime, "\0\0\0\0"s, "\0\0\0\0"s),
              std::tuple(outcome.end, outcome.output, outcome.error));
}

TEST(RunChild, HandsLinesOverAsTheyCome) {
    const std::string whole(65536, '0');  // the longest line
    std::string lines;
    SChildRequest request = Shell("pwd; printf %065536d; sleep 0.1; echo; cat; echo err >&2");
    request.directory = "/usr";
    request.input = "\na\n" + whole + "\n" + whole + "y\nend";
    request.onLine = [&](ChildStream stream, const std::string& line) {
        lines += stream == eChildError ? "" : line == whole ? "long|" : line + "|";
    };
    EXPECT_EQ(0, RunChild(request).code);
    EXPECT_EQ("/usr|long||a|long|long|y|end|", lines);

    // More than one read can take is in both pipes when the child has ended.
    request = Shell(
        "exec perl -e 'fcntl($_, 1031, 1 << 20) || die for *STDOUT, *STDERR;"
        "syswrite STDERR, \"\n\" . 1 x 999999; syswrite STDOUT, 1 x 1000000'");
    request.onLine = [](ChildStream, const std::string& line) {
        line.empty() ? waitid(P_ALL, 0, nullptr, WEXITED | WNOWAIT) : 0;
    };
    const SChildOutcome outcome = RunChild(request);
    EXPECT_EQ(std::pair(outcome.output.size(), outcome.error.size()), std::pair(size_t{1000000}, size_t{1000000}));
}

TEST(RunChild, LeavesNothingAfterManyRunsFromTwoThreads) {
    using End = std::optional<ChildEnd>;  // none is an exception
    const Rows<const char*, End> rows = {
        {"exit 3", eChildExited},      {"kill -9 $$", eChildSignalled},     {"", eChildNotStarted},
        {"sleep 60", eChildTotalTime}, {"echo; sleep 60", eChildCancelled}, {"echo; sleep 60", End()}};
    const auto runAll = [&rows](int rounds) {
        for (size_t i = 0; i < rows.size() * static_cast<size_t>(rounds); ++i) {
            const auto& [script, end] = rows[i % rows.size()];
            CChildCancel cancel;
            SChildRequest request = Shell(script);
            request.directory = end == eChildNotStarted ? "/no/such" : "";
            request.totalTime = end == eChildTotalTime ? 1ms : 0ms;
            request.cancel = &cancel;
            request.onLine = [&, cancels = end.has_value()](ChildStream, const std::string&) {
                cancels ? cancel.Cancel() : throw std::runtime_error("enough");
            };
            try {
                EXPECT_EQ(end, RunChild(request).end) << script;
            } catch (const std::runtime_error&) {
                EXPECT_EQ(end, std::nullopt);
            }
        }
    };
    const auto runInTwoThreads = [&](int rounds) {
        std::thread other(runAll, rounds);
        runAll(rounds);
        other.join();
        return mallinfo2().uordblks;
    };
    const CNothingLeft nothingLeft;
    const char* const rounds = getenv("VYN_TEST_ROUNDS");
    const size_t atFirst = runInTwoThreads(2);
    EXPECT_LT(runInTwoThreads(rounds ? atoi(rounds) : 20), atFirst + 500) << "bytes";
}

TEST(RunChild, OutlastsSignalsAndIsCancelledByOne) {
    CChildCancel cancel;
    SChildRequest request = Shell("sleep 0.1; cat");
    request.input = std::string(1 << 20, 'x');
    {
        const Interruptions interruptions([] {});
        EXPECT_EQ(request.input, RunChild(request).output);
    }
    request = Shell("sleep 60");
    request.cancel = &cancel;
    const CNothingLeft nothingLeft;
    const Interruptions interruptions([&] { cancel.Cancel(); });
    EXPECT_EQ(eChildCancelled, RunChild(request).end);
    request.program = "no-such-program";
    EXPECT_EQ(eChildCancelled, RunChild(request).end) << "it isn't even started";
}
