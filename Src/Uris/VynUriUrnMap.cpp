#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Files/File_p.h"
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
constexpr size_t maxFile = size_t{16} * 1024 * 1024;

bool bMapLives = false;

VYN_INIT(VYN_INIT_URN_MAP) SURNMapHandler g_URNMapHandler;

bool GetURNMapTextFile(SPathName& path) {
    if (!VynGetSharedDataDirectory(path)) {
        return false;
    }
    path.AddPathElement("urnmap.txt");
    return true;
}

void InsertURNsFromList(const SString& text, const SString& file, std::map<SString, SString>& map) {
    std::vector<SString> entries;
    SUrnResolver::DecodeUrnMap(text, entries);
    for (const SString& entry : entries) {
        SString tag;
        SString value;
        SUrnResolver::DecodeUrnMapped(entry, tag, value);
        const SUrnFate fate = detail::EnterUrn(eUrnFile, file, tag, value, map);
        if (fate == eUrnAlreadyDefined) {
            detail::ReportOwnString(detail::eStrUrnAlreadyDefined, {tag, value});
        } else if (fate == eUrnTooLong) {
            vynerr << strerror(ENAMETOOLONG) << ": " << value << endl << flush;
        }
    }
}

void VynParseUrnEnvVariableAndInsertUrns(std::map<SString, SString>& map) {
    const char* value = detail::Environment(fileVariable);
    if (!value) {
        return;
    }
    std::string text;
    if (detail::ReadFile(value, text, maxFile) != 0) {
        detail::ReportOwnString(detail::eStrOpenForReadFailed, {value});
        return;
    }
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\0'; }), text.end());
    InsertURNsFromList(text, value, map);
}

void FillMap(std::map<SString, SString>& map) {
    map.clear();
    detail::UrnEntries().clear();
    SPathName projects;  // stays empty when there is none
    VynGetDefaultUserProjectPath(projects);
    const std::pair<const char*, SString> predefined[] = {
        {"k4", VynGetInstallationRoot()},
        {"k4user", VynGetUserDir()},
        {"k4useraddins", VynGetUserAddinsDir()},
        {"k4teamaddins", VynGetTeamAddinsDir()},
        {"k4companyaddins", VynGetCompanyAddinsDir()},
        {"k4zemprojects", projects},
    };
    for (const auto& [name, target] : predefined) {
        detail::EnterUrn(eUrnPredefined, SString(), name, target, map);
    }
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

// The text of a map file. Each entry is a line.
std::string LinesOf(const std::vector<SString>& entries) {
    std::string text;
    for (const SString& entry : entries) {
        text += entry + "\n";
    }
    return text;
}

// 0 or an error number, as for the next one.
int WriteMapFile(const SPathName& path, const std::string& text) {
    const int error = detail::CheckWritable(path.c_str());
    return error ? error : detail::ReplaceFile(path.c_str(), text);
}

int AppendToMapFile(const SPathName& path, const std::string& lines) {
    if (const int error = detail::CheckWritable(path.c_str())) {
        return error;
    }
    detail::FileReplacement file(path.c_str());
    if (const int error = file.Lock()) {
        return error;
    }
    std::string text;
    const int error = file.Read(text);
    if (error != 0 && error != ENOENT) {
        return error;
    }
    if (!text.empty() && text.back() != '\n') {
        text += '\n';  // a line that its author left open
    }
    return file.Replace({text, lines}, detail::Durability::eSynced);
}

// Tells that the map file wasn't written, and stands as before.
void ReportNotWritten(const SPathName& path, int error) {
    for (int writing : {ENOSPC, EDQUOT, EFBIG, EIO, EILSEQ}) {
        if (error == writing) {
            detail::ReportWriteError(path);
            return;
        }
    }
    vynerr << "Can not open the file: " << path << endl << flush;
}

// False for what would be read back as something else.
bool CanBeAnEntry(const SString& name, const SString& target) {
    return name.find_first_of(":;\n") == SString::npos && target.find_first_of(";\n") == SString::npos;
}

}  // namespace

SURNMapHandler::SURNMapHandler() {
    FillMap(*this);
    bMapLives = true;
}

SURNMapHandler::~SURNMapHandler() {
    bMapLives = false;
    detail::UrnEntries().clear();
}

std::map<SString, SString>* VynGetUrnUriMap() {
    if (bMapLives) {
        return &g_URNMapHandler;
    }
    // Reached by the hooks of a resource library, which is loaded before and unloaded after the map.
    static auto* outside = new std::map<SString, SString>;
    return outside;
}

std::map<SString, std::vector<SUrnEntry>>& detail::UrnEntries() {
    static auto* entries = new std::map<SString, std::vector<SUrnEntry>>;
    return *entries;
}

SUrnFate detail::EnterUrn(SUrnSource source, const SString& file, const SString& name, const SString& target,
                          std::map<SString, SString>& map) {
    SUrnFate fate = eUrnAlreadyDefined;
    if (!map.count(name)) {
        fate = VynInsertUrn(name.c_str(), target.c_str(), map) ? eUrnDecides : eUrnTooLong;
    }
    SString key(name);
    key.MakeLower();
    std::vector<SUrnEntry>& entries = UrnEntries()[key];
    if (fate == eUrnDecides) {
        const auto former = std::find_if(entries.rbegin(), entries.rend(),
                                         [](const SUrnEntry& entry) { return entry.fate == eUrnDecides; });
        if (former != entries.rend()) {
            former->fate = eUrnReplaced;
        }
    }
    entries.push_back({source, file, name, target, fate});
    return fate;
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
    if (const int error = WriteMapFile(path, LinesOf(entries))) {
        ReportNotWritten(path, error);
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
    const int error =
        CanBeAnEntry(name, target) ? AppendToMapFile(path, LinesOf({SString(name + ":" + target)})) : EILSEQ;
    if (error != 0) {
        ReportNotWritten(path, error);
        return;
    }
    RegisterURNsWithoutOptions();
}

}  // namespace vyn
