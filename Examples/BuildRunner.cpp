// Runs a command with a time limit, streams its output and reports how it ended.
//
//     BuildRunner 10 cc -c main.c
//
// Exits with the code of the command; 124 when its time ran out, 128 plus the number of the signal that ended
// it, 125 when it couldn't be started at all.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "RunChild.h"

int main(int argc, char** argv) {
    const long seconds = argc > 2 ? strtol(argv[1], nullptr, 10) : 0;
    if (seconds <= 0) {
        fprintf(stderr, "usage: BuildRunner SECONDS COMMAND [ARGUMENT...]\n");
        return 125;
    }
    vyn::SChildRequest command;
    command.program = argv[2];
    command.arguments.assign(argv + 3, argv + argc);
    command.totalTime = std::chrono::seconds(seconds);
    command.joinError = true;
    command.keep = vyn::eKeepHead;  // nothing: each line is printed as it comes
    command.onLine = [](vyn::ChildStream, const std::string& line) { puts(line.c_str()), fflush(stdout); };
    const vyn::SChildOutcome outcome = RunChild(command);
    switch (outcome.end) {
        case vyn::eChildExited:
            printf("BuildRunner: exit code %d\n", outcome.code);
            return outcome.code;
        case vyn::eChildSignalled:
            printf("BuildRunner: ended by signal %d, %s\n", outcome.code, strsignal(outcome.code));
            return 128 + outcome.code;
        case vyn::eChildNotStarted:
            printf("BuildRunner: %s: %s\n", outcome.failedCall.c_str(), strerror(outcome.code));
            return 125;
        default:
            printf("BuildRunner: timed out after %ld s\n", seconds);
            return 124;
    }
}
