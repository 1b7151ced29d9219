#include "VynCheck.h"

#include <cerrno>
#include <cstdio>
#include <memory>

#include "Tool.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    app.add_option("-f,--file", arguments.files, Text(eTextHelpFile))->allow_extra_args(false);
    AddDeclared(app, arguments);
    AddJson(app, arguments);
    app.add_option("FILE", arguments.operands, Text(eTextHelpPath))->required();
}

int Run(const Arguments& arguments) {
    // The files of -f lie below the checked ones.
    const bool isCompared = !arguments.declared.empty() || !arguments.files.empty();
    const auto stack = isCompared ? std::make_unique<Stack>(arguments, Stack::eAllEntries) : nullptr;
    std::vector<std::string> objects;
    int code = eDone;
    for (const std::string& path : arguments.operands) {
        std::vector<vyn::Finding> findings;
        try {
            CheckReadable(path);
        } catch (const Failure& failure) {
            fprintf(stderr, "%s\n", failure.text.c_str());
            code = eFileError;
            continue;
        }
        vyn::CheckFile(path.c_str(), stack ? &stack->Manager() : nullptr, findings);
        code = code == eDone && !findings.empty() ? eNotFound : code;
        PrintFindings(path, findings, arguments.json, objects);
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return code;
}

}  // namespace

const Command commandCheck = {"check", eTextHelpCheck, Declare, Run};

}  // namespace tool
