// The files of a command as a manager.

#include <sys/stat.h>
#include <algorithm>
#include <cerrno>
#include <fstream>

#include "Tool.h"

namespace tool {

namespace {

constexpr off_t largest = off_t{1} << 30;

void CollectAddresses(vyn::CMgrCategory& category, std::vector<std::string>& addresses) {
    const vyn::CMgrOptionSet* set = category.GetPath() ? category.GetOptionSet() : nullptr;
    for (void* pos = set ? set->GetFirstOptionPosition() : nullptr; pos;) {
        addresses.push_back(category.GetPath() + std::string("/") + set->GetNextOption(pos)->szName);
    }
    for (void* pos = category.GetFirstCategoryPosition(); pos;) {
        CollectAddresses(*category.GetNextCategory(pos), addresses);
    }
}

// Gathers what makes a file malformed.
struct Gatherer : vyn::CFindingSink {
    explicit Gatherer(const std::string& file) : path(file) {}
    void Report(const vyn::Finding& finding) override {
        text += (text.empty() ? "" : "\n") + path + ":" + std::to_string(finding.line) + ":" +
                std::to_string(finding.column) + ": " + finding.text;
    }
    std::string path;
    std::string text;
};

}  // namespace

CLI::Option* AddFiles(CLI::App& app, Arguments& arguments) {
    return app.add_option("-f,--file", arguments.files, Text(eTextHelpFile))->required()->allow_extra_args(false);
}

void AddDeclared(CLI::App& app, Arguments& arguments) {
    app.add_option("--declared", arguments.declared, Text(eTextHelpDeclared));
}

void AddAddress(CLI::App& app, Arguments& arguments) {
    app.add_option("KEY/NAME", arguments.address, Text(eTextHelpAddress))->required();
}

void AddJson(CLI::App& app, Arguments& arguments) {
    app.add_flag("--json", arguments.json, Text(eTextHelpJson));
}

Address::Address(const std::string& text) {
    const size_t slash = text.rfind('/');
    if (slash == std::string::npos || slash == 0 || slash + 1 == text.size()) {
        throw Failure{eWrongUse, Text(eTextNoAddress, {text})};
    }
    key = text.substr(0, slash);
    name = text.substr(slash + 1);
}

Stack::Stack(const Arguments& arguments, Scope scope, bool isForChange) : m_isDeclared(!arguments.declared.empty()) {
    // Checked before any is read twice.
    for (size_t i = 0; i < arguments.files.size(); ++i) {
        struct stat status;
        const bool mayBeEmpty = isForChange && i == 0;
        if (!mayBeEmpty || (stat(arguments.files[i].c_str(), &status) == 0 && status.st_size > 0)) {
            CheckReadable(arguments.files[i]);
        }
    }
    vyn::CDeclarations declarations;
    if (m_isDeclared) {
        CheckReadable(arguments.declared);
        if (const int error = declarations.Load(arguments.declared.c_str())) {
            ThrowUnloadable(arguments.declared, error);
        }
    } else {
        for (size_t i = 0; scope == eAllEntries && i < arguments.files.size(); ++i) {
            const int error = declarations.LoadEntries(arguments.files[i].c_str());
            if (error != 0 && !(isForChange && i == 0 && error == ENOENT)) {
                ThrowUnloadable(arguments.files[i], error);
            }
        }
        const Address address(arguments.address.empty() ? "./." : arguments.address);
        if (!arguments.address.empty() && !declarations.Has(address.key.c_str(), address.name.c_str())) {
            declarations.Add(address.key.c_str(), {address.name.c_str(), vyn::eTextOption, "", 0, 0});
        }
    }
    declarations.AddTo(m_manager);
    for (size_t i = 0; i < arguments.files.size(); ++i) {
        LoadFile(arguments.files[i], isForChange && i == 0);
    }
}

void Stack::LoadFile(const std::string& path, bool isForChange) {
    if (isForChange) {
        const int error = m_manager.AddPersonalFile(path.c_str())->GetLoadError();
        if (error != 0 && error != ENOENT) {
            ThrowUnloadable(path, error);
        }
    } else if (!m_manager.Load(path.c_str())) {
        ThrowUnloadable(path, EILSEQ);
    }
}

vyn::COptionFile& Stack::Top() {
    void* pos = m_manager.GetFirstFilePosition();
    return *m_manager.GetNextFile(pos);
}

bool Stack::Has(const Address& address) {
    const std::string path = address.key + '/' + address.name;
    return m_isDeclared ? m_manager.FindOption(path.c_str()) != nullptr
                        : m_manager.IsRedefined(address.key.c_str(), address.name.c_str()) != 0;
}

void CheckReadable(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        throw Failure{eFileError, path + ": " + ErrorText(errno)};
    }
    if (!S_ISREG(status.st_mode)) {
        throw Failure{eFileError, path + ": " + ErrorText(S_ISDIR(status.st_mode) ? EISDIR : EINVAL)};
    }
    if (status.st_size == 0) {
        throw Failure{eFileError, Text(eTextEmptyFile, {path})};
    }
    if (status.st_size > largest) {
        throw Failure{eFileError, Text(eTextTooLarge, {path})};
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw Failure{eFileError, path + ": " + ErrorText(errno)};
    }
    std::string text(static_cast<size_t>(status.st_size), '\0');
    file.read(&text[0], status.st_size);
    text.resize(static_cast<size_t>(file.gcount()));
    const size_t nul = text.find('\0');
    if (nul != std::string::npos) {
        const auto place = text.begin() + static_cast<std::ptrdiff_t>(nul);
        const size_t line = text.rfind('\n', nul) + 1;
        throw Failure{eFileError, Text(eTextNulByte, {path, std::to_string(std::count(text.begin(), place, '\n') + 1),
                                                      std::to_string(nul - line + 1)})};
    }
}

void ThrowUnloadable(const std::string& path, int error) {
    Gatherer gatherer(path);
    const int found = error == EILSEQ ? vyn::ReportLoad(path.c_str(), gatherer) : error;
    throw Failure{eFileError,
                  gatherer.text.empty() ? path + ": " + ErrorText(found != 0 ? found : error) : gatherer.text};
}

void ThrowNotFound(const std::string& address) {
    throw Failure{eNotFound, Text(eTextNotThere, {address})};
}

std::vector<std::string> AllAddresses(vyn::COptionManager& manager) {
    std::vector<std::string> addresses;
    CollectAddresses(manager, addresses);
    std::sort(addresses.begin(), addresses.end());
    return addresses;
}

}  // namespace tool
