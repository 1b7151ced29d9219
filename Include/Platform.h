#pragma once

/// \file
/// What depends on the host and on the place of the installation: the arguments of `main`, temporary names,
/// dynamic libraries, the directories of the installation and of the user.
///
/// Directories come in the normal form of SPathName, without a closing "/". No lock guards the statics behind
/// the results: the directories of the installation are fixed from their first use on, those of the user are
/// assigned at each call, which the caller keeps apart from other threads.

#include "SPathName.h"
#include "SString.h"

namespace vyn {

/// The number of arguments that VynSaveMainArguments stored; 0 before.
extern VYN_API int nVynArgc;
/// The arguments that VynSaveMainArguments stored, which belong to its caller; null before.
extern VYN_API const char** ppszVynArgv;
/// The first argument that VynSaveMainArguments stored, in normal path form; empty before.
extern VYN_API SPathName pathVynAbsoluteArgv0;

/// Keeps the arguments of `main` for VynGetMainArguments; for the tool to call first of all. When \p argc is
/// below 1, or \p argv or its first element is null, nothing is stored and an internal error is reported.
/// \param argv kept as a pointer, not copied; it outlives all uses of the arguments.
VYN_API void VynSaveMainArguments(int argc, const char** argv);
/// Hands back what VynSaveMainArguments kept; 0 and null when that was nothing.
VYN_API void VynGetMainArguments(int& argc, const char**& argv);
/// \return the text of pathVynAbsoluteArgv0. It isn't made absolute: `./tool` stays `./tool`.
VYN_API const char* TMPVynGetAbsoluteArgv0();

/// Makes up a name for a file that doesn't exist yet, in the system's directory for temporary files. The file
/// isn't created, so that another process can take the name at any time.
/// \param prefix start of the last path element; the system takes five bytes of it.
/// \return the path, which ends in \p suffix; the empty path when no free name was found.
VYN_API SPathName VynGetTemporaryFilePath(const SString& prefix, const SString& suffix);

/// Rewrites the plain name of a library into the name of its file: `Foo` becomes `libfoo.so`.
VYN_API void VynGetDynamicLinkLibraryName(SString& name);
/// Loads a dynamic library, with its symbols bound at once and visible to libraries that are loaded later.
/// \pre \p path isn't null.
/// \return the handle, or null on failure; `dlerror` then tells the reason.
VYN_API HINSTANCE VynLoadDynamicLinkLibrary(const char* path);
/// \param handle what VynLoadLibrary or VynLoadDynamicLinkLibrary returned, not VynhDllInstance. Null searches the
/// whole process.
/// \return the address of \p symbol in the library, or null when it has none.
VYN_API void* VynGetProcAddress(HINSTANCE handle, const char* symbol);
/// \return the current `errno`.
VYN_API unsigned long VynGetLastError();
/// Loads a dynamic library as VynLoadDynamicLinkLibrary does and, when it has a function
/// `void InitializeLibResources(HINSTANCE)` of C linkage, calls that with the handle. So a resource library
/// registers its strings.
/// \return the handle, which VynFreeLibrary takes back, or null on failure.
VYN_API HINSTANCE VynLoadLibrary(const char* path);
/// Calls the library's `void UninitializeLibResources(HINSTANCE)`, when there is one, and unloads it. Does
/// nothing with a null \p handle.
/// \param handle what VynLoadLibrary or VynLoadDynamicLinkLibrary returned, or null.
VYN_API void VynFreeLibrary(HINSTANCE handle);

/// \return the value of the variable DRAVMOOR_INSTALLATION, or the empty string; valid until the environment
/// changes. Nothing is derived from the running module.
VYN_API const char* VynGetModuleFileName();
/// \return the directory that holds the file of this library. Empty when the loader can't tell it; then it is
/// looked for again at the next call. What isn't empty stays, and is valid for the life of the process.
VYN_API const char* VynGetInstallationBin();
/// The same as VynGetInstallationBin.
VYN_API const char* VynGetInstallationDirectory();
/// \return the directory above VynGetInstallationBin(), kept in the same way.
VYN_API const char* VynGetInstallationRoot();
/// \return the directory of this name below VynGetInstallationRoot(), kept in the same way.
VYN_API const char* VynGetInstallationEtc();
/// \return the directory of this name below VynGetInstallationRoot(), kept in the same way.
VYN_API const char* VynGetInstallationLib();
/// \return the directory of this name below VynGetInstallationRoot(), kept in the same way.
VYN_API const char* VynGetInstallationInclude();

/// Sets \p path to the user's own directory, the value of HOME. A value that is empty or longer than a path counts as
/// unset, here and in the functions below.
/// \return false when HOME is unset; \p path is then unchanged.
VYN_API bool VynGetUserPersonalDirectory(SPathName& path);
/// Finds the directory of the tool's data of this user and this version below HOME, and creates it.
/// \return the directory, valid until the next call; what the last call found when HOME is unset, at first
/// the empty string.
VYN_API const char* VynGetUserDir();
/// \return the user's add-ins, "addins" below the variable ZEM_USER_ADDINS_DIR or, when that is unset, below
/// VynGetUserDir(). Not created. Valid until the next call.
VYN_API const char* VynGetUserAddinsDir();
/// \return the variable ZEM_TEAM_ADDINS_DIR as it stands or, when that is unset, "TeamAddins" below the
/// user's shared data; without either what the last call found, at first the empty string. Not created. Valid
/// until the next call.
VYN_API const char* VynGetTeamAddinsDir();
/// The same with ZEM_COMPANY_ADDINS_DIR and "CompanyAddins".
VYN_API const char* VynGetCompanyAddinsDir();
/// Sets \p path to the directory below HOME that the user's tools share, and creates it.
/// \return false when HOME is unset; \p path is then unchanged.
VYN_API bool VynGetSharedDataDirectory(SPathName& path);
/// Sets \p path to the directory below ZROOT that the tools of all users share, and creates it. A value that is empty
/// or longer than a path counts as unset.
/// \return false when ZROOT is unset; \p path is then unchanged.
VYN_API bool VynGetAllUsersSharedDataDirectory(SPathName& path);

}  // namespace vyn
