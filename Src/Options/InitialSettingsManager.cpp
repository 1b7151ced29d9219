#include "InitialSettingsManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "Platform.h"

namespace vyn {

namespace {

constexpr size_t kListSize = 1024;  // of the list of files, with its NUL

const COption optPredefined[] = {{"OptionFiles", 1, "user.zop;company.zop", 0, 0}};
const COptionSet setPredefined = {"Predefined", optPredefined, 1, nullptr};
const COptionSet setInitial = {"Initial", nullptr, 0, nullptr};
const COptionSet setSettings = {"Settings", nullptr, 0, nullptr};
const CCategory catPredefined = {"Predefined", nullptr, 0, &setPredefined};
const CCategory* const subInitial[] = {&catPredefined};
const CCategory catInitial = {"Initial", subInitial, 1, &setInitial};
const CCategory catSettings = {"Settings", nullptr, 0, &setSettings};

bool CreateEmptyFile(const char* path) {
    const int fd = open(path, O_CREAT | O_TRUNC | O_CLOEXEC, 0777);
    if (fd < 0) {
        return false;
    }
    close(fd);
    return true;
}

bool MakeSureOfFile(const char* path) {
    return access(path, F_OK) == 0 || CreateEmptyFile(path);
}

// A file that doesn't parse gives way to an empty one, and is kept beside it under the name followed by
// ".bad". One that this user can't read may be sound, and stays.
bool ReplaceByEmptyFile(const SPathName& path) {
    return access(path.c_str(), R_OK) == 0 && rename(path.c_str(), (path + ".bad").c_str()) == 0 &&
           CreateEmptyFile(path.c_str());
}

// The paths of the elements of `list`: the first in the user's directory, the others in that of all users.
std::vector<SPathName> ListedFiles(const char* list, const SPathName& userDirectory,
                                   const SPathName& allUsersDirectory) {
    std::vector<SPathName> paths;
    std::string text(list);
    if (text.size() >= kListSize) {
        errno = ERANGE;
        return paths;
    }
    char* rest = nullptr;
    for (const char* element = strtok_r(&text[0], ";", &rest); element;
         element = strtok_r(nullptr, ";", &rest)) {
        SPathName path(element);
        if (!path.IsAbsolutePath()) {
            path = paths.empty() ? userDirectory : allUsersDirectory;
            path.AddPathElement(element);
        }
        paths.push_back(path);
    }
    return paths;
}

}  // namespace

void GetInitialOptionsPath(SPathName& path) {
    if (VynGetAllUsersSharedDataDirectory(path)) {
        path.AddPathElement("init.zop");
    }
}

CInitialSettingsManager::CInitialSettingsManager() {
    AddCategory(&catInitial);
    AddCategory(&catSettings);
}

CInitialSettingsManager::~CInitialSettingsManager() = default;

const char* CInitialSettingsManager::GetPredefinedOptionFiles() {
    return GetStrValue("Initial/Predefined", "OptionFiles", optPredefined[0].szDefault);
}

void COptionManager::LoadPredefinedOptionFiles() {
    CInitialSettingsManager initial;
    SPathName initialPath;
    GetInitialOptionsPath(initialPath);
    SPathName userDirectory;
    if (!VynGetSharedDataDirectory(userDirectory)) {
        return;
    }
    const SPathName allUsersDirectory(initialPath.GetDirectory());
    if (MakeSureOfFile(initialPath.c_str())) {
        initial.Load(initialPath.c_str());
    }
    for (const SPathName& path :
         ListedFiles(initial.GetPredefinedOptionFiles(), userDirectory, allUsersDirectory)) {
        if (!MakeSureOfFile(path.c_str())) {
            continue;
        }
        COptionFile* file = AddOptionFile(path);
        if (!file && ReplaceByEmptyFile(path)) {
            file = AddOptionFile(path);
        }
        if (file) {
            m_listPredefinedFiles.AddTail(file);
        }
    }
    m_bPredefinedAlreadyLoaded = 1;
}

int COptionManager::IsPredefinedOptionFilesLoaded() const {
    return m_bPredefinedAlreadyLoaded;
}

int COptionDescriptionList::IsCompatibleWith(COptionManager* manager) {
    if (GetCount() == 0) {
        return 1;
    }
    for (void* pos = GetHeadPosition(); pos;) {
        const COptionDescription* description = GetNext(pos);
        const std::string path = std::string(description->GetKey()) + '/' + description->GetName();
        if (manager->FindOption(path.c_str())) {
            return 1;
        }
    }
    return 0;
}

int COptionDescriptionList::FindOption(const char* path) {
    for (void* pos = GetHeadPosition(); pos;) {
        const COptionDescription* description = GetNext(pos);
        if (std::string(description->GetKey()) + '/' + description->GetName() == path) {
            return 1;
        }
    }
    return 0;
}

void COptionDescriptionList::Empty() {
    for (void* pos = GetHeadPosition(); pos;) {
        delete GetNext(pos);
    }
    RemoveAll();
}

}  // namespace vyn
