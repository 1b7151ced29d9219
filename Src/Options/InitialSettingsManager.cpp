#include "InitialSettingsManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "Files/File_p.h"
#include "Platform.h"

namespace vyn {

namespace {

constexpr size_t kListSize = 1024;  // of the list of files, with its NUL
constexpr int kMostKept = 99;       // malformed files of one name that are kept

const COption optPredefined[] = {{"OptionFiles", 1, "user.zop;company.zop", 0, 0}};
const COptionSet setPredefined = {"Predefined", optPredefined, 1, nullptr};
const COptionSet setInitial = {"Initial", nullptr, 0, nullptr};
const COptionSet setSettings = {"Settings", nullptr, 0, nullptr};
const CCategory catPredefined = {"Predefined", nullptr, 0, &setPredefined};
const CCategory* const subInitial[] = {&catPredefined};
const CCategory catInitial = {"Initial", subInitial, 1, &setInitial};
const CCategory catSettings = {"Settings", nullptr, 0, &setSettings};

// What another process makes at the same time stays.
bool MakeSureOfFile(const char* path) {
    return detail::OpenFile(path, O_RDONLY | O_CREAT | O_EXCL, 0666).IsOpen() || errno == EEXIST;
}

bool IsMalformed(std::string& text) {
    CDefRgKey ignored("");
    return CRgLoader(ignored).LoadText(text) != 0;
}

// Whether the path, with all links followed, lies below the directory.
bool IsBelow(const char* path, const char* directory) {
    const std::unique_ptr<char, void (*)(void*)> file(realpath(path, nullptr), free);
    const std::unique_ptr<char, void (*)(void*)> top(realpath(directory, nullptr), free);
    const size_t length = top ? strlen(top.get()) : 0;
    return file && top && strncmp(file.get(), top.get(), length) == 0 && file.get()[length] == '/';
}

// A file of the user's that was read to its end and is malformed gives way to an empty one, and is kept beside it under
// the name followed by ".bad", or ".bad2" and so on when there is such a file already.
bool ReplaceByEmptyFile(const SPathName& path, const SPathName& userDirectory) {
    // Under the lock: what another process saves meanwhile isn't set aside.
    detail::FileReplacement file(path.c_str());
    std::string text;
    if (file.Lock() != 0 || file.Read(text) != 0) {
        return false;
    }
    if (text.empty()) {
        return true;
    }
    if (!IsMalformed(text) || !IsBelow(path.c_str(), userDirectory.c_str())) {
        return false;
    }
    std::string kept(path + ".bad");
    for (int n = 2; link(path.c_str(), kept.c_str()) != 0; ++n) {
        if (errno != EEXIST || n > kMostKept) {
            return false;
        }
        kept = path + ".bad" + std::to_string(n);
    }
    return unlink(path.c_str()) == 0 && MakeSureOfFile(path.c_str());
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
    for (const char* element = strtok_r(&text[0], ";", &rest); element; element = strtok_r(nullptr, ";", &rest)) {
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
    for (const SPathName& path : ListedFiles(initial.GetPredefinedOptionFiles(), userDirectory, allUsersDirectory)) {
        if (!MakeSureOfFile(path.c_str())) {
            continue;
        }
        COptionFile* file = AddOptionFile(path);
        if (!file && ReplaceByEmptyFile(path, userDirectory)) {
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
