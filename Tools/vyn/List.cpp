#include <fnmatch.h>
#include <cstdio>

#include "Tool.h"
#include "VynExplain.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    AddFiles(app, arguments)->required(false);
    AddDeclared(app, arguments);
    app.add_flag("--origin", arguments.origin, Text(eTextHelpOrigin));
    AddJson(app, arguments);
    app.add_option("PATTERN", arguments.value, Text(eTextHelpPattern));
}

int Run(const Arguments& arguments) {
    if (arguments.files.empty() && arguments.declared.empty()) {
        throw Failure{eWrongUse, Text(eTextNoFiles)};
    }
    Stack stack(arguments, Stack::eAllEntries);
    std::vector<std::string> objects;
    for (const std::string& text : AllAddresses(stack.Manager())) {
        if (!arguments.value.empty() && fnmatch(arguments.value.c_str(), text.c_str(), 0) != 0) {
            continue;
        }
        const Address address(text);
        const std::string value = stack.Manager().GetValue(address.key.c_str(), address.name.c_str());
        std::string file;
        std::string line = "0";
        if (arguments.origin) {
            const vyn::ValueExplanation explanation =
                vyn::ExplainValue(stack.Manager(), address.key.c_str(), address.name.c_str());
            const vyn::ExplainStep* step = explanation.GetDecision();
            file = step->file;
            line = std::to_string(step->line);
        }
        if (arguments.json) {
            std::string object = "{\"option\": " + Json(text) + ", \"value\": " + Json(value);
            if (arguments.origin) {
                object.append(", \"file\": ").append(Json(file)).append(", \"line\": ").append(line);
            }
            objects.push_back(object + "}");
            continue;
        }
        if (arguments.origin) {
            file.empty() ? printf("%s\t", Text(eTextDefault).c_str()) : printf("%s:%s\t", file.c_str(), line.c_str());
        }
        printf("%s=%s\n", text.c_str(), OneLine(value).c_str());
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return eDone;
}

}  // namespace

const Command commandList = {"list", eTextHelpList, Declare, Run};

}  // namespace tool
