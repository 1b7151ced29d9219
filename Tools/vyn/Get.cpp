#include <cstdio>

#include "Tool.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    AddFiles(app, arguments);
    AddDeclared(app, arguments);
    AddJson(app, arguments);
    AddAddress(app, arguments);
}

int Run(const Arguments& arguments) {
    const Address address(arguments.address);
    Stack stack(arguments, Stack::eOneOption);
    if (!stack.Has(address)) {
        ThrowNotFound(arguments.address);
    }
    const std::string value = stack.Manager().GetValue(address.key.c_str(), address.name.c_str());
    if (arguments.json) {
        printf("{\"option\": %s, \"value\": %s}\n", Json(arguments.address).c_str(), Json(value).c_str());
    } else {
        printf("%s\n", value.c_str());
    }
    return eDone;
}

}  // namespace

const Command commandGet = {"get", eTextHelpGet, Declare, Run};

}  // namespace tool
