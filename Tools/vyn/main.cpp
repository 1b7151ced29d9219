// The tool over option files: a table of commands, each in a file of its own.

#include <clocale>
#include <cstdio>

#include "Tool.h"
#include "VynToolMessages.h"

using namespace tool;

namespace {

const Command* const commands[] = {&commandGet,  &commandSet,      &commandUnset, &commandFix,  &commandUnfix,
                                   &commandList, &commandExplain,  &commandCheck, &commandDiff, &commandStyles,
                                   &commandUrn,  &commandMessages, &commandInfo,  &commandRun};

// CLI11 brings English words of its own.
void SetWords(CLI::App& app) {
    const auto formatter = app.get_formatter();
    formatter->label("Usage", Text(eTextUsage));
    formatter->label("OPTIONS", Text(eTextOptions));
    formatter->label("Positionals", Text(eTextOperands));
    formatter->label("SUBCOMMAND", Text(eTextSubcommands));
    app.option_defaults()->group(Text(eTextOptions));
    app.set_help_flag("-h,--help", Text(eTextHelpHelp));
}

int Run(int argc, char** argv) {
    Arguments arguments;
    CLI::App app(Text(eTextHelp), "vyn");
    SetWords(app);
    app.set_version_flag("--version", VYN_VERSION, Text(eTextHelpVersion));
    app.require_subcommand(1);
    const Command* chosen = nullptr;
    for (const Command* command : commands) {
        CLI::App* sub = app.add_subcommand(command->name, Text(command->help));
        SetWords(*sub);
        sub->group(Text(eTextSubcommands));
        command->declare(*sub, arguments);
        sub->callback([command, &chosen] { chosen = command; });
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? eDone : eWrongUse;
    }
    return chosen->run(arguments);
}

}  // namespace

std::string tool::Text(TextId id, std::initializer_list<std::string> texts) {
    static const vyn::VynToolMessages messages("vyn_tool", vynMessages, "share/vyn/locale");
    const std::string format = messages.GetText(id);
    std::string text;
    for (size_t i = 0; i < format.size(); ++i) {
        const size_t n =
            format[i] == '%' && i + 1 < format.size() ? static_cast<size_t>(format[i + 1] - '1') : texts.size();
        if (n < texts.size()) {
            text += texts.begin()[n];
            ++i;
        } else {
            text += format[i];
        }
    }
    return text;
}

int main(int argc, char** argv) {
    int code = eFileError;
    try {
        code = Run(argc, argv);
    } catch (const Failure& failure) {
        fflush(stdout);
        fprintf(stderr, "%s\n", failure.text.c_str());
        code = failure.code;
    } catch (const std::exception& error) {
        fprintf(stderr, "vyn: %s\n", error.what());
    }
    // What was printed has to arrive, too.
    if (fflush(stdout) != 0 || ferror(stdout)) {
        perror("vyn");
        return eFileError;
    }
    return code;
}
