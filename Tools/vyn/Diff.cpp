#include <cstdio>

#include "Tool.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    AddJson(app, arguments);
    app.add_option("FILE", arguments.operands, Text(eTextHelpPath))->required()->expected(2);
}

// What a file has for an option, with its mark.
struct Entry {
    bool isThere = false;
    bool isFixed = false;
    std::string text;

    Entry(vyn::COptionFile& file, const Address& address) {
        if (const char* value = file.GetValue(address.key.c_str(), address.name.c_str())) {
            isThere = true;
            text = value;
            isFixed = file.IsUnredefinable(address.key.c_str(), address.name.c_str()) != 0;
        }
    }
    bool operator==(const Entry& other) const {
        return isThere == other.isThere && isFixed == other.isFixed && text == other.text;
    }
    std::string Words() const {
        return (isThere ? '"' + OneLine(text) + '"' : Text(eTextNothing)) +
               (isFixed ? " (" + Text(eTextFixed) + ")" : "");
    }
    std::string Object() const {
        return isThere ? "{\"text\": " + Json(text) + ", \"fixed\": " + (isFixed ? "true" : "false") + "}" : "null";
    }
};

int Run(const Arguments& arguments) {
    Arguments both = arguments;
    both.files = arguments.operands;
    Stack stack(both, Stack::eAllEntries);
    void* pos = stack.Manager().GetFirstFilePosition();
    vyn::COptionFile& first = *stack.Manager().GetNextFile(pos);
    vyn::COptionFile& second = *stack.Manager().GetNextFile(pos);
    std::vector<std::string> objects;
    int code = eDone;
    for (const std::string& text : AllAddresses(stack.Manager())) {
        const Entry before(first, Address(text));
        const Entry after(second, Address(text));
        if (before == after) {
            continue;
        }
        code = eNotFound;
        if (arguments.json) {
            objects.push_back("{\"option\": " + Json(text) + ", \"first\": " + before.Object() +
                              ", \"second\": " + after.Object() + "}");
        } else {
            printf("%s: %s -> %s\n", text.c_str(), before.Words().c_str(), after.Words().c_str());
        }
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return code;
}

}  // namespace

const Command commandDiff = {"diff", eTextHelpDiff, Declare, Run};

}  // namespace tool
