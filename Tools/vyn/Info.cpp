#include <cstdio>

#include "Platform.h"
#include "SPathName.h"
#include "Tool.h"
#include "VynRes.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    AddJson(app, arguments);
}

int Run(const Arguments& arguments) {
    struct Row {
        TextId text;
        const char* name;
        std::string value;
    };
    vyn::SPathName shared;
    vyn::VynGetSharedDataDirectory(shared);
    std::vector<Row> rows = {{eTextVersion, "version", VYN_VERSION},
                             {eTextInstallation, "installation", vyn::VynGetInstallationDirectory()},
                             {eTextUserDirectory, "user", vyn::VynGetUserDir()},
                             {eTextSharedDirectory, "shared", shared.c_str()},
                             {eTextLanguage, "language", vyn::VynGetLocale()}};
    // What a tool would load.
    vyn::COptionManager manager;
    manager.LoadPredefinedOptionFiles();
    for (void* pos = manager.GetFirstFilePosition(); pos;) {
        rows.push_back({eTextOptionFile, "file", manager.GetNextFile(pos)->GetPathName()});
    }
    std::vector<std::string> objects;
    for (const Row& row : rows) {
        if (arguments.json) {
            objects.push_back("{\"name\": " + Json(row.name) + ", \"value\": " + Json(row.value) + "}");
        } else {
            printf("%s: %s\n", Text(row.text).c_str(), row.value.c_str());
        }
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return eDone;
}

}  // namespace

const Command commandInfo = {"info", eTextHelpInfo, Declare, Run};

}  // namespace tool
