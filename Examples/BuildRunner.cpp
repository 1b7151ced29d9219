// Runs a command with a time limit, streams its output and reports how it ended.
//
//     BuildRunner 10 cc -c main.c
//
// Exits with the code of the command; 124 when its time ran out, 128 plus the number of the signal that ended
// it, 125 when it couldn't be started at all.

#include <poll.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "SubProc.h"

namespace {

constexpr int exitTimedOut = 124;
constexpr int exitNotStarted = 125;
constexpr int exitSignalled = 128;

// Copies the output until it ends. A command that is killed may leave children of its own behind, which hold
// the pipe open: the state is looked at between two pieces of output.
void StreamOutput(vyn::CSubProc& command) {
    constexpr int pauseMs = 100;
    char buffer[4096];
    while (command.state() == 1) {
        pollfd output = {command.rfd(), POLLIN, 0};
        if (poll(&output, 1, pauseMs) == 0) {
            continue;
        }
        const int n = command.read(buffer, sizeof buffer);
        if (n <= 0) {
            return;
        }
        fwrite(buffer, 1, static_cast<size_t>(n), stdout);
        fflush(stdout);
    }
}

int Report(int status, bool stopped, unsigned limit) {
    if (WIFEXITED(status)) {
        printf("BuildRunner: exit code %d\n", WEXITSTATUS(status));
        return WEXITSTATUS(status);
    }
    if (stopped) {
        printf("BuildRunner: timed out after %u s\n", limit);
        return exitTimedOut;
    }
    printf("BuildRunner: ended by signal %d, %s\n", WTERMSIG(status), strsignal(WTERMSIG(status)));
    return exitSignalled + WTERMSIG(status);
}

}  // namespace

int main(int argc, char** argv) {
    char* end = nullptr;
    const unsigned limit = argc > 1 ? static_cast<unsigned>(strtoul(argv[1], &end, 10)) : 0;
    if (argc < 3 || end == argv[1] || *end) {
        fprintf(stderr, "usage: BuildRunner SECONDS COMMAND [ARGUMENT...]\n");
        return exitNotStarted;
    }
    vyn::CSubProc command;
    if (command.launchw(argv[2], argv + 2, nullptr, false) != 0) {
        fprintf(stderr, "BuildRunner: can't start %s\n", argv[2]);
        return exitNotStarted;
    }
    command.close_write();
    vyn::CSubProcTimeOut watchdog(command);
    const bool watched = watchdog.Start(limit);
    StreamOutput(command);
    // The watchdog stays on until the command has ended, since that may go on after its output.
    const int status = command.get_exit_status();
    if (watched) {
        watchdog.Abort();
    }
    const bool stopped = command.state() == 2;
    command.reset();
    return Report(status, stopped, limit);
}
