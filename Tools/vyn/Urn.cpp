#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "Platform.h"
#include "SPathName.h"
#include "Tool.h"
#include "VynExplainUrn.h"

namespace tool {

namespace {

void Declare(CLI::App& app, Arguments& arguments) {
    app.add_flag("--add", arguments.add, Text(eTextHelpAdd));
    app.add_flag("--check", arguments.check, Text(eTextHelpCheckFlag));
    AddJson(app, arguments);
    app.add_option("NAME-OR-PATH", arguments.operands, Text(eTextHelpUrnOperand));
}

std::string Source(const vyn::SUrnEntry& entry) {
    return entry.source == vyn::eUrnFile
               ? std::string(entry.file)
               : Text(entry.source == vyn::eUrnPredefined ? eTextUrnPredefined : eTextUrnRegistered);
}

std::string Fate(vyn::SUrnFate fate) {
    switch (fate) {
        case vyn::eUrnDecides:
            return Text(eTextDecides);
        case vyn::eUrnAlreadyDefined:
            return Text(eTextUrnRefused);
        case vyn::eUrnReplaced:
            return Text(eTextUrnReplaced);
        default:
            return Text(eTextUrnTooLong);
    }
}

// A name alone stands for the whole of what it names.
int Explain(const std::string& operand, bool json, std::vector<std::string>& objects) {
    const bool isPath = operand.find('/') != std::string::npos && !vyn::VynIsAUrn(operand.c_str());
    if (isPath) {
        vyn::SString urn;
        vyn::SUrnResolver::CreateUrn(operand, urn);
        const bool isFound = vyn::VynIsAUrn(urn.c_str());
        if (!isFound) {
            fprintf(stderr, "%s\n", Text(eTextUrnUnknown, {operand}).c_str());
            return eNotFound;
        }
        objects.push_back("{\"path\": " + Json(operand) + ", \"urn\": " + Json(urn) + "}");
        printf("%s", json ? "" : (std::string(urn) + "\n").c_str());
        return eDone;
    }
    const std::string urn = vyn::VynIsAUrn(operand.c_str()) ? operand : "urn:" + operand + ":";
    const vyn::SUrnExplanation explanation = vyn::ExplainUrn(urn);
    if (explanation.status != vyn::SUrnResolver::eUrnOk) {
        fprintf(stderr, "%s\n", Text(eTextUrnUnknown, {urn}).c_str());
        return eNotFound;
    }
    std::string entries;
    for (const vyn::SUrnEntry& entry : explanation.entries) {
        if (json) {
            entries += (entries.empty() ? "{\"source\": " : ", {\"source\": ") + Json(Source(entry)) +
                       ", \"target\": " + Json(entry.target) +
                       ", \"decides\": " + (entry.fate == vyn::eUrnDecides ? "true" : "false") + "}";
        } else {
            entries += "  " + Source(entry) + "  " + entry.name + ":" + entry.target + "  " + Fate(entry.fate) + "\n";
        }
    }
    objects.push_back("{\"urn\": " + Json(urn) + ", \"path\": " + Json(explanation.path) + ", \"entries\": [" +
                      entries + "]}");
    printf("%s", json ? "" : (std::string(explanation.path) + "\n" + entries).c_str());
    return eDone;
}

int Check(std::vector<std::string> paths, bool json) {
    if (paths.empty()) {
        const char* path = getenv("ZEM_URN_MAP_FILE");
        if (!path || !*path) {
            throw Failure{eNotFound, Text(eTextNoMapFile)};
        }
        paths.emplace_back(path);
    }
    std::vector<std::string> objects;
    int code = eDone;
    for (const std::string& path : paths) {
        std::vector<vyn::Finding> findings;
        if (const int error = vyn::CheckUrnMap(path.c_str(), findings)) {
            throw Failure{eFileError, path + ": " + ErrorText(error)};
        }
        PrintFindings(path, findings, json, objects);
        code = findings.empty() ? code : eNotFound;
    }
    if (json) {
        PrintJson(objects);
    }
    return code;
}

int Add(const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
        vyn::SString name;
        vyn::SString target;
        vyn::SUrnResolver::DecodeUrnMapped(entry, name, target);
        if (target.empty()) {
            throw Failure{eWrongUse, Text(eTextNoUrnEntry, {entry})};
        }
        if (!vyn::SUrnResolver::CanUrnBeOverridden(entry)) {
            throw Failure{eNotFound, entry + ": " + Text(eTextUrnRefused)};
        }
        vyn::SUrnResolver::RegisterURNAndSaveURNMapFile(name, target);
        // What went wrong is told already.
        const vyn::SUrnExplanation explanation = vyn::ExplainUrn("urn:" + name + ":");
        bool isThere = false;
        for (const vyn::SUrnEntry& known : explanation.entries) {
            isThere = isThere || (known.fate == vyn::eUrnDecides && known.target == target);
        }
        if (!isThere) {
            return eFileError;
        }
    }
    return eDone;
}

int Run(const Arguments& arguments) {
    if (arguments.check) {
        return Check(arguments.operands, arguments.json);
    }
    vyn::SPathName map;
    if (!getenv("ZEM_URN_MAP_FILE") && vyn::VynGetSharedDataDirectory(map) &&
        access((std::string(map.c_str()) + "/urnmap.txt").c_str(), R_OK) == 0) {
        vyn::SUrnResolver::RegisterURNsWithoutOptions();
    }
    if (arguments.operands.empty()) {
        throw Failure{eWrongUse, "vyn urn: NAME-OR-PATH"};
    }
    if (arguments.add) {
        return Add(arguments.operands);
    }
    std::vector<std::string> objects;
    int code = eDone;
    for (const std::string& operand : arguments.operands) {
        code = std::max(code, Explain(operand, arguments.json, objects));
    }
    if (arguments.json) {
        PrintJson(objects);
    }
    return code;
}

}  // namespace

const Command commandUrn = {"urn", eTextHelpUrn, Declare, Run};

}  // namespace tool
