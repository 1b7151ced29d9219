#pragma once

/// \file
/// What the commands share: their table, their arguments, the stack of files, and the ways to print.

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "Messages.h"
#include "VynCheck.h"
#include "VynDeclarations.h"
#include "VynOption.h"

namespace tool {

/// The exit codes.
enum Exit { eDone = 0, eNotFound = 1, eWrongUse = 2, eFileError = 3 };

/// Ends a command with a message on the standard error.
struct Failure {
    Exit code;
    std::string text;
};

/// What stands on the command line.
struct Arguments {
    std::vector<std::string> files;  // -f, the top one first
    std::string declared;            // the file of declarations; empty for none
    std::string address;             // KEY/NAME
    std::string value;
    std::vector<std::string> operands;  // all else
    std::string language;
    bool json = false;
    bool dryRun = false;
    bool origin = false;
    bool dot = false;
    bool svg = false;
    bool add = false;
    bool check = false;
    int timeout = 0;  // seconds; 0 for no limit
    int idle = 0;
};

/// One command of the table.
struct Command {
    const char* name;
    TextId help;
    void (*declare)(CLI::App& app, Arguments& arguments);  // its options and operands
    int (*run)(const Arguments& arguments);                // \return the exit code; may throw Failure
};

extern const Command commandGet, commandSet, commandUnset, commandFix, commandUnfix, commandList, commandExplain,
    commandCheck, commandDiff, commandStyles, commandUrn, commandMessages, commandInfo, commandRun;

// Options that several commands have.
CLI::Option* AddFiles(CLI::App& app, Arguments& arguments);
void AddDeclared(CLI::App& app, Arguments& arguments);
void AddAddress(CLI::App& app, Arguments& arguments);
void AddJson(CLI::App& app, Arguments& arguments);

/// An option's address.
struct Address {
    /// Throws a Failure for what is no KEY/NAME.
    explicit Address(const std::string& text);

    std::string key;
    std::string name;
};

/// \brief The files of a command as a manager.
class Stack {
public:
    /// What is declared when there is no file of declarations.
    enum Scope {
        eOneOption,  // the option of the address
        eAllEntries  // what the files hold
    };

    /// Loads the files; throws a Failure for one that can't be used.
    /// \param isForChange the top file may be missing or empty.
    Stack(const Arguments& arguments, Scope scope, bool isForChange = false);

    vyn::COptionManager& Manager() { return m_manager; }
    /// \return the top file.
    vyn::COptionFile& Top();
    /// \return whether there is a value, or a declared default.
    bool Has(const Address& address);

private:
    void LoadFile(const std::string& path, bool isForChange);

    vyn::COptionManager m_manager;
    bool m_isDeclared;
};

/// Throws a Failure for a file that is missing, empty, too large, or has a NUL byte.
void CheckReadable(const std::string& path);
/// Throws a Failure that tells why the file can't be loaded.
[[noreturn]] void ThrowUnloadable(const std::string& path, int error);
/// Throws a Failure for a value that isn't there.
[[noreturn]] void ThrowNotFound(const std::string& address);

/// \return the words of a system error.
std::string ErrorText(int error);
/// \return `text` on one line.
std::string OneLine(const std::string& text);
/// \return `text` as a JSON string.
std::string Json(const std::string& text);
/// \return `text` in bold, where the output is a terminal that may have colours.
std::string Bold(const std::string& text);
/// Prints the findings, one a line, or appends them to `objects` for PrintJson.
void PrintFindings(const std::string& path, const std::vector<vyn::Finding>& findings, bool json,
                   std::vector<std::string>& objects);
/// Prints an array of JSON objects, one a line.
void PrintJson(const std::vector<std::string>& objects);

/// \return the addresses that the manager declares, sorted.
std::vector<std::string> AllAddresses(vyn::COptionManager& manager);

/// \return the differences of two texts as a unified diff; empty when there are none.
std::string UnifiedDiff(const std::string& path, const std::string& before, const std::string& after);

}  // namespace tool
