// Step 5, the tool: formats documents, and hands them to a filter that has a time limit.
//
//     texttool [GROUP/NAME=VALUE...] DOCUMENT...

#include <RunChild.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Documents.h"
#include "Sheet.h"

namespace {

// Writes the text, or what the filter makes of it.
bool Deliver(const std::string& text, const Settings& settings) {
    const std::string command = settings.FilterCommand();
    if (command.empty()) {
        fputs(text.c_str(), stdout);
        return true;
    }
    vyn::SChildRequest request;
    request.program = "sh";
    request.arguments = {"-c", command};
    request.input = text;
    request.totalTime = std::chrono::seconds(settings.FilterSeconds());
    const vyn::SChildOutcome outcome = vyn::RunChild(request);
    fputs(outcome.output.c_str(), stdout);
    fputs(outcome.error.c_str(), stderr);
    switch (outcome.end) {
        case vyn::eChildExited:
            if (outcome.code == 0) {
                return true;
            }
            break;
        case vyn::eChildNotStarted:
            Tell(eFilterNotStarted, command, strerror(outcome.code));
            return false;
        case vyn::eChildTotalTime:
            Tell(eFilterTooSlow, command, settings.FilterSeconds());
            return false;
        default:
            break;
    }
    Tell(eFilterFailed, command, outcome.code);
    return false;
}

bool Assign(Settings& settings, const char* argument) {
    const vyn::ChangeAnswer answer = settings.Assign(argument);
    switch (answer.obstacle) {
        case vyn::eNoObstacle:
            return true;
        case vyn::eUnknownOption:
            Tell(eUnknownOption, argument);
            return false;
        case vyn::eFixedBelow:
            Tell(eFixed, argument, answer.file, answer.line);
            return false;
        default:
            Tell(eCantSave, answer.file);
            return false;
    }
}

bool FormatDocument(const char* name, Sheet& sheet, const Settings& settings) {
    std::vector<Paragraph> paragraphs;
    if (!ReadDocument(name, paragraphs)) {
        return false;
    }
    std::string text;
    for (const Paragraph& paragraph : paragraphs) {
        text += Format(paragraph, sheet, settings) + "\n";
    }
    text += Format({"Footer", settings.Footer()}, sheet, settings);
    if (!Deliver(text, settings)) {
        return false;
    }
    Tell(eSummary, name, paragraphs.size(), std::count(text.begin(), text.end(), '\n'));
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Tell(eUsage);
        return 2;
    }
    RegisterTexts();
    Settings settings;
    Sheet sheet(DataPath("house.styles"));
    bool isDone = true;
    for (int i = 1; i < argc; ++i) {
        const bool isOption = strchr(argv[i], '=') != nullptr;
        isDone = (isOption ? Assign(settings, argv[i]) : FormatDocument(argv[i], sheet, settings)) && isDone;
    }
    if (settings.Save() != 0) {
        Tell(eCantSave, settings.PersonalPath());
        return 1;
    }
    return isDone ? 0 : 1;
}
