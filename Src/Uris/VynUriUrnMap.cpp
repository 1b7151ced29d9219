#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Paths/SPathName_p.h"
#include "Platform.h"
#include "SPathName.h"
#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"
#include "Uris/VynUri_p.h"
#include "VynRes.h"

namespace vyn {

namespace {

const char fileVariable[] = "ZEM_URN_MAP_FILE";

bool bMapLives = false;

VYN_INIT(VYN_INIT_URN_MAP) SURNMapHandler g_URNMapHandler;

bool GetURNMapTextFile(SPathName& path) {
    if (!VynGetSharedDataDirectory(path)) {
        return false;
    }
    path.AddPathElement("urnmap.txt");
    return true;
}

void InsertURNsFromList(const SString& text, std::map<SString, SString>& map) {
    std::vector<SString> entries;
    SUrnResolver::DecodeUrnMap(text, entries);
    for (const SString& entry : entries) {
        SString tag;
        SString value;
        SUrnResolver::DecodeUrnMapped(entry, tag, value);
        if (map.count(tag)) {
            detail::ReportOwnString(detail::eStrUrnAlreadyDefined, {tag, value});
        } else if (!VynInsertUrn(tag.c_str(), value.c_str(), map)) {
            vynerr << strerror(errno) << ": " << value << endl << flush;
        }
    }
}

void VynParseUrnEnvVariableAndInsertUrns(std::map<SString, SString>& map) {
    const char* value = detail::Environment(fileVariable);
    if (!value) {
        return;
    }
    const SString path(value);
    FILE* file = fopen(path.c_str(), "r");
    if (!file) {
        detail::ReportOwnString(detail::eStrOpenForReadFailed, {path});
        return;
    }
    SString text;
    for (int c = fgetc(file); c != EOF; c = fgetc(file)) {
        if (c != '\r' && c != '\0') {
            text += static_cast<char>(c);
        }
    }
    fclose(file);
    InsertURNsFromList(text, map);
}

void FillMap(std::map<SString, SString>& map) {
    map.clear();
    VynInsertUrn("k4", VynGetInstallationRoot(), map);
    VynInsertUrn("k4user", VynGetUserDir(), map);
    VynInsertUrn("k4useraddins", VynGetUserAddinsDir(), map);
    VynInsertUrn("k4teamaddins", VynGetTeamAddinsDir(), map);
    VynInsertUrn("k4companyaddins", VynGetCompanyAddinsDir(), map);
    SPathName projects;  // stays empty when there is none
    VynGetDefaultUserProjectPath(projects);
    VynInsertUrn("k4zemprojects", projects.c_str(), map);
    VynParseUrnEnvVariableAndInsertUrns(map);
}

// Lets the variable name `path` from now on and reads the map anew.
void ReadMapFrom(const SPathName& path) {
    const char* current = detail::Environment(fileVariable);
    if (!current || path != current) {
        putenv(strdup((SString(fileVariable) + "=" + path).c_str()));
    }
    FillMap(*VynGetUrnUriMap());  // NOLINT(clang-analyzer-unix.Malloc): the environment keeps the copy
}

void ReportNotOpened(const SPathName& path) {
    vynerr << "Can not open the file: " << path << endl << flush;
}

// Writes each entry as a line and closes the file. What a full disk refuses may only show at the close.
// Returns false, and reports, when not all was written.
bool WriteAndClose(FILE* file, const SPathName& path, const std::vector<SString>& entries) {
    bool written = true;
    for (const SString& entry : entries) {
        written = fwrite(entry.data(), 1, entry.size(), file) == entry.size() && fputc('\n', file) != EOF;
        if (!written) {
            break;
        }
    }
    if (fclose(file) != 0) {
        written = false;
    }
    if (!written) {
        vynerr << "Error occured while writing to file :" << path << endl << flush;
    }
    return written;
}

}  // namespace

SURNMapHandler::SURNMapHandler() {
    FillMap(*this);
    bMapLives = true;
}

SURNMapHandler::~SURNMapHandler() {
    bMapLives = false;
}

std::map<SString, SString>* VynGetUrnUriMap() {
    if (bMapLives) {
        return &g_URNMapHandler;
    }
    // Reached by the hooks of a resource library, which is loaded before and unloaded after the map.
    static auto* outside = new std::map<SString, SString>;
    return outside;
}

bool VynInsertUrn(const char* name, const char* target, std::map<SString, SString>& map) {
    if (!detail::FitsPath((SString(target) + "/").c_str())) {
        return false;
    }
    SString key(name);
    key.MakeLower();
    SPathName directory(target);
    directory.AddPathElement("");
    map[key] = directory;
    return true;
}

void ParseTagValue(const SString& text, SString& tag, SString& value) {
    const size_t colon = text.find(':');
    if (colon == SString::npos || colon == 0) {
        tag = text;
        return;
    }
    // The tag is set last, since `text` may be one of the results.
    const SString name(text.substr(0, colon));
    value = text.substr(colon + 1);
    tag = name;
}

void SUrnResolver::DecodeUrnMapped(const SString& entry, SString& name, SString& target) {
    ParseTagValue(entry, name, target);
}

void SUrnResolver::DecodeUrnMap(const SString& text, std::vector<SString>& entries) {
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find_first_of("\n;", start);
        if (end == start || end == SString::npos) {
            // An empty entry ends the list, and all the rest is the last entry.
            end = text.size();
        }
        const size_t first = text.find_first_not_of(' ', start);
        if (first < end) {
            entries.push_back(text.substr(first, end - first));
        }
        start = end + 1;
    }
}

void SUrnResolver::RegisterURNsFromOptionString(const SString& text) {
    std::vector<SString> entries;
    DecodeUrnMap(text, entries);
    SPathName path;
    if (!GetURNMapTextFile(path)) {
        return;
    }
    if (FILE* file = fopen(path.c_str(), "w")) {
        WriteAndClose(file, path, entries);
    } else {
        ReportNotOpened(path);
    }
    ReadMapFrom(path);
}

void SUrnResolver::RegisterURNsWithoutOptions() {
    SPathName path;
    if (GetURNMapTextFile(path)) {
        ReadMapFrom(path);
    }
}

void SUrnResolver::RegisterURNAndSaveURNMapFile(const SString& name, const SString& target) {
    SPathName path;
    if (!GetURNMapTextFile(path)) {
        return;
    }
    FILE* file = fopen(path.c_str(), "a");
    if (!file) {
        ReportNotOpened(path);
        return;
    }
    if (WriteAndClose(file, path, {SString(name + ":" + target)})) {
        RegisterURNsWithoutOptions();
    }
}

}  // namespace vyn
