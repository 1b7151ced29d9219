// The commands that change one file: set, unset, fix and unfix.

#include <cerrno>
#include <cstdio>

#include "Tool.h"
#include "VynExplain.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    AddFiles(app, arguments);
    AddDeclared(app, arguments);
    app.add_flag("--dry-run", arguments.dryRun, Text(eTextHelpDryRun));
    AddAddress(app, arguments);
}

void DeclareSet(CLI::App& app, Arguments& arguments) {
    Declare(app, arguments);
    app.add_option("VALUE", arguments.value, Text(eTextHelpValue))->required();
}

// Saves the file, or prints what that would change.
int Finish(vyn::COptionFile& file, const Arguments& arguments) {
    const std::string path = file.GetPathName();
    int error = 0;
    if (arguments.dryRun) {
        std::string before;
        if (FILE* old = fopen(path.c_str(), "rb")) {
            char part[4096];
            while (const size_t got = fread(part, 1, sizeof part, old)) {
                before.append(part, got);
            }
            fclose(old);
        }
        const vyn::SavePreview preview = vyn::PreviewSave(file, nullptr);
        error = preview.status;
        printf("%s", error == 0 ? UnifiedDiff(path, before, preview.text).c_str() : "");
    } else {
        error = file.Save(nullptr);
    }
    if (error != 0) {
        throw Failure{eFileError, path + ": " + ErrorText(error)};
    }
    return eDone;
}

void CheckChange(Stack& stack, const Address& address, const std::string& text) {
    const vyn::ChangeAnswer answer = vyn::CanChange(stack.Manager(), address.key.c_str(), address.name.c_str());
    if (answer.obstacle == vyn::eUnknownOption) {
        throw Failure{eNotFound, Text(eTextNotDeclared, {text})};
    }
    if (answer.obstacle == vyn::eFixedBelow) {
        throw Failure{eNotFound, Text(eTextFixedThere, {answer.file, std::to_string(answer.line)})};
    }
    // A file that isn't there is made by the save.
    if (answer.obstacle != vyn::eNoObstacle && answer.error != ENOENT) {
        throw Failure{eFileError, answer.file + ": " + ErrorText(answer.error)};
    }
}

int RunSet(const Arguments& arguments) {
    const Address address(arguments.address);
    if (arguments.value.find('"') != std::string::npos) {
        throw Failure{eWrongUse, Text(eTextQuoteInValue)};
    }
    Stack stack(arguments, Stack::eAllEntries, true);
    CheckChange(stack, address, arguments.address);
    vyn::COptionFile& file = stack.Top();
    if (arguments.files.size() > 1) {
        stack.Manager().SetValue(address.key.c_str(), address.name.c_str(), arguments.value.c_str());
    } else {
        file.SetValue(address.key.c_str(), address.name.c_str(), arguments.value.c_str());
    }
    return Finish(file, arguments);
}

// The value of the top file; throws a Failure when it has none.
vyn::CRgValue& Value(Stack& stack, const Address& address, const std::string& text) {
    vyn::CRgKey* key = stack.Top().FindKey(address.key.c_str());
    vyn::CRgValue* value = key ? key->FindValue(address.name.c_str()) : nullptr;
    if (!value) {
        ThrowNotFound(text);
    }
    return *value;
}

int RunUnset(const Arguments& arguments) {
    const Address address(arguments.address);
    CheckReadable(arguments.files[0]);
    Stack stack(arguments, Stack::eAllEntries, true);
    vyn::CRgValue& value = Value(stack, address, arguments.address);
    if (stack.Top().FindKey(address.key.c_str())->RemoveValue(&value)) {
        delete &value;
    }
    return Finish(stack.Top(), arguments);
}

int Mark(const Arguments& arguments, bool isFixed) {
    const Address address(arguments.address);
    CheckReadable(arguments.files[0]);
    Stack stack(arguments, Stack::eAllEntries, true);
    const std::string text = Value(stack, address, arguments.address).GetValue();
    if (!isFixed && !stack.Top().IsUnredefinable(address.key.c_str(), address.name.c_str())) {
        throw Failure{eNotFound, Text(eTextNotFixed, {arguments.address})};
    }
    stack.Top().SetRedefineFlag(address.key.c_str(), address.name.c_str(), text.c_str(), isFixed);
    return Finish(stack.Top(), arguments);
}

int RunFix(const Arguments& arguments) {
    return Mark(arguments, true);
}

int RunUnfix(const Arguments& arguments) {
    return Mark(arguments, false);
}

}  // namespace

const Command commandSet = {"set", eTextHelpSet, DeclareSet, RunSet};
const Command commandUnset = {"unset", eTextHelpUnset, Declare, RunUnset};
const Command commandFix = {"fix", eTextHelpFix, Declare, RunFix};
const Command commandUnfix = {"unfix", eTextHelpUnfix, Declare, RunUnfix};

}  // namespace tool
