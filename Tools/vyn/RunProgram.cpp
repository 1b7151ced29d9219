#include <cstdio>

#include "RunChild.h"
#include "Tool.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    app.add_option("--timeout", arguments.timeout, Text(eTextHelpTimeout))->check(CLI::NonNegativeNumber);
    app.add_option("--idle", arguments.idle, Text(eTextHelpIdle))->check(CLI::NonNegativeNumber);
    app.add_option("PROGRAM", arguments.operands, Text(eTextHelpProgram))->required();
    app.prefix_command(false);
    app.positionals_at_end(true);
}

// The exit code is the program's, 128 and the number of a signal that ended it, 124 for one that was stopped, and 127
// for one that wasn't started, as a shell and its `timeout` have it.
int Run(const Arguments& arguments) {
    vyn::SChildRequest request;
    request.program = arguments.operands[0];
    request.arguments.assign(arguments.operands.begin() + 1, arguments.operands.end());
    request.totalTime = std::chrono::seconds(arguments.timeout);
    request.idleTime = std::chrono::seconds(arguments.idle);
    request.keep = vyn::eKeepTail;
    request.onLine = [](vyn::ChildStream stream, const std::string& line) {
        FILE* file = stream == vyn::eChildOutput ? stdout : stderr;
        fprintf(file, "%s\n", line.c_str());
        fflush(file);
    };
    const vyn::SChildOutcome outcome = vyn::RunChild(request);
    switch (outcome.end) {
        case vyn::eChildExited:
            return outcome.code;
        case vyn::eChildSignalled:
            return 128 + outcome.code;
        case vyn::eChildNotStarted:
            fprintf(stderr, "%s\n", Text(eTextNotStarted, {request.program, ErrorText(outcome.code)}).c_str());
            return 127;
        default:
            fprintf(stderr, "%s\n", Text(eTextTimedOut, {request.program}).c_str());
            return 124;
    }
}

}  // namespace

const Command commandRun = {"run", eTextHelpRun, Declare, Run};

}  // namespace tool
