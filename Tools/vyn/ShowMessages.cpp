#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "Tool.h"
#include "VynToolMessages.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    app.add_option("--language", arguments.language, Text(eTextHelpLanguage));
    app.add_flag("--check", arguments.check, Text(eTextHelpCheckFlag));
    AddJson(app, arguments);
}

// The library chooses its language while it loads: for another one the program begins anew.
[[noreturn]] void StartAgain(const Arguments& arguments) {
    setenv("DRAVMOOR_STUDIO_LANGUAGE", arguments.language.c_str(), 1);
    const char* words[5] = {"vyn", "messages"};
    size_t count = 2;
    if (arguments.check) {
        words[count++] = "--check";
    }
    if (arguments.json) {
        words[count++] = "--json";
    }
    execv("/proc/self/exe", const_cast<char* const*>(words));
    throw Failure{eFileError, "vyn: " + ErrorText(errno)};
}

int Run(const Arguments& arguments) {
    if (!arguments.language.empty() && arguments.language != vyn::VynGetLocale()) {
        StartAgain(arguments);
    }
    if (arguments.check) {
        vyn::SVector<vyn::SString> findings;
        const int count = vyn::VynCheckTranslation(vyn::VynGetEnglishMessages(), vyn::VynhDllInstance, findings);
        std::vector<std::string> objects;
        for (const vyn::SString& finding : findings) {
            objects.push_back(Json(finding));
            printf("%s", arguments.json ? "" : (OneLine(finding) + "\n").c_str());
        }
        if (arguments.json) {
            PrintJson(objects);
        }
        return count == 0 ? eDone : eNotFound;
    }
    std::vector<std::string> objects;
    for (const vyn::VynMessage* message = vyn::VynGetEnglishMessages(); message->text; ++message) {
        vyn::SString text;
        vyn::LoadStringA(vyn::VynhDllInstance, message->id, text);
        if (arguments.json) {
            objects.push_back("{\"number\": " + std::to_string(message->id) + ", \"english\": " + Json(message->text) +
                              ", \"text\": " + Json(text) + "}");
        } else {
            printf("%u\t%s\t%s\n", message->id, OneLine(message->text).c_str(), OneLine(text).c_str());
        }
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return eDone;
}

}  // namespace

const Command commandMessages = {"messages", eTextHelpMessages, Declare, Run};

}  // namespace tool
