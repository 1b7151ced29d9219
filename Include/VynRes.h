#pragma once

/// \file
/// Numbered, translatable strings per module: tables in memory, the current resource handle, the language,
/// and the choice between compiled-in strings and a resource library. Nothing is locked: the handle and the
/// registry of tables are one for the process and belong to one thread at a time.

#include "SMap.h"
#include "SString.h"

namespace vyn {

class SPathName;

/// \brief The numbered strings of one module, filled by code.
///
/// A table registers itself under its module's handle, where the VynLoadString family finds it, and takes
/// itself out when it is destroyed. It keeps the pointers it is given and copies no text.
class VYN_API SStringTable {
public:
    /// Registers the empty table under \p handle. A table that was there is replaced, not destroyed.
    explicit SStringTable(HINSTANCE handle);
    SStringTable(const SStringTable&) = delete;
    SStringTable& operator=(const SStringTable&) = delete;
    virtual ~SStringTable();

    /// Sets string \p id, replacing an earlier one.
    /// \param text outlives the table. Not null.
    void Add(unsigned id, const char* text);

    /// Copies string \p id, cut to \p size - 1 bytes, with a closing NUL.
    /// \param buffer null to ask for the length.
    /// \param size of \p buffer in bytes, at least 1; not used for a null \p buffer.
    /// \return the bytes placed, the NUL included; the length of the text, without a NUL, for a null \p
    /// buffer; -1 when there's no such string.
    int GetString(unsigned id, char* buffer, int size);
    /// \return the text that Add received, or null when there's no such string.
    const char* GetString(unsigned id);

private:
    MMap<unsigned, const char*> m_mapStrings;
};

/// Destroys the table of \p handle, which was made by `new`. A handle without a table is reported as an
/// internal error.
VYN_API void VynUnregisterStringTable(HINSTANCE handle);

/// The handle of this library: where its own strings are found. It stands for the library itself or is the
/// handle of its resource library. Set while the library loads.
extern VYN_API HINSTANCE VynhDllInstance;

/// A tool's own loader of strings, for handles without a table; null when there is none. Its result is that
/// of VynLoadString.
extern VYN_API int (*pVynLoadStringMFC)(HINSTANCE handle, unsigned id, SString& text);

/// Makes \p handle the one where strings are looked up that are named by their number alone.
VYN_API void VynSetResourceHandle(HINSTANCE handle);
/// \return the current resource handle; null before anybody set one.
VYN_API HINSTANCE VynGetResourceHandle();

/// \brief Makes a resource handle current for as long as the object lives.
///
/// Objects are destroyed in the reverse order of their making:
/// \code
/// VynDllHrscState own(VynhDllInstance);
/// message.Format(9, path);
/// \endcode
class VYN_API VynDllHrscState {
public:
    /// Makes \p handle, which may be null, current until the end of the object.
    explicit VynDllHrscState(HINSTANCE handle);
    VynDllHrscState(const VynDllHrscState&) = delete;
    VynDllHrscState& operator=(const VynDllHrscState&) = delete;
    ~VynDllHrscState();

private:
    HINSTANCE m_hSaved;
};

/// The next function with the current resource handle.
VYN_API int VynLoadString(unsigned id, char* buffer, int size);
/// Reads string \p id of a module, as SStringTable::GetString does.
/// \return its result; 0 when \p handle has no table.
VYN_API int VynLoadString(HINSTANCE handle, unsigned id, char* buffer, int size);
/// Loads string \p id of a module, or asks pVynLoadStringMFC when \p handle has no table. What isn't found is
/// reported as an internal error and leaves \p text unchanged.
/// \return the length of the text, or what pVynLoadStringMFC returned; 0 when there's no such string.
VYN_API int VynLoadString(HINSTANCE handle, unsigned id, SString& text);
/// Loads string \p id of a module and reports nothing.
/// \return 1 when there is such a string, an empty one included; else 0, and \p text is unchanged.
VYN_API int LoadStringA(HINSTANCE handle, unsigned id, SString& text);

/// \return the language of the messages, from the variable DRAVMOOR_STUDIO_LANGUAGE; "en" when that is unset
/// or empty. Valid until the environment changes. A name with "/" or ".." in it is a language without a library.
VYN_API const char* VynGetLocale();
/// \return the directory of the language's files, `locale/` and VynGetLocale() below the root of the
/// installation. Computed once; valid for the life of the process.
VYN_API const char* VynGetLocaleDir();
/// The same for "en", whatever the language.
VYN_API const char* VynGetDefaultLocaleDir();

/// Start-up hook of the library's module: with \p reason 0 \p handle becomes VynhDllInstance when that is
/// still null. Other reasons do nothing.
/// \return 1.
VYN_API int DllMain(void* handle, unsigned long reason, void* reserved);
/// \return \p address: an address inside the library stands for its module.
VYN_API void* GetDllHandle(void* address);

/// Finds the user's directory of projects, named in the language of the messages below HOME, and creates it;
/// whether that succeeds isn't told.
/// \return false when there's no such name or HOME is unset; \p path is then unchanged.
VYN_API bool VynGetDefaultUserProjectPath(SPathName& path);

/// \brief Chooses where the strings of a module come from, for the life of the object.
///
/// In "en" they are compiled in; for another language the resource library of the module's name is loaded
/// from VynGetLocaleDir(). It has a function `void InitializeLibResources(HINSTANCE)` of C linkage, which
/// makes a table under the handle that it is given, and stays in memory until the process ends. When the library
/// can't be loaded a message is written, and the module has no strings. A module holds one object of this class for the
/// time that it is loaded.
class VYN_API VynHandleResourceDLL {
public:
    /// \param name file name of the resource library. Not null.
    /// \param install makes the table of the English strings; called in "en" with the current resource
    /// handle. Null when there are none.
    /// \param[in,out] instance the module's handle; becomes that of the resource library when one is loaded.
    VynHandleResourceDLL(const char* name, void (*install)(HINSTANCE), HINSTANCE& instance);
    VynHandleResourceDLL(const VynHandleResourceDLL&) = delete;
    VynHandleResourceDLL& operator=(const VynHandleResourceDLL&) = delete;
    /// Unloads the resource library and destroys the table of the module. A module without a table is reported.
    virtual ~VynHandleResourceDLL();

private:
    SString m_strName;
    HINSTANCE m_hInstance;
    HINSTANCE m_hLoaded;  // the resource library; null when none was loaded
};

}  // namespace vyn
