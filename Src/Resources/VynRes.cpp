#include "VynRes.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <list>

#include "Messages/SourceReport_p.h"
#include "Platform.h"
#include "Resources/VynRes_p.h"
#include "SPathName.h"
#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"
#include "VynToolMessages.h"

namespace vyn {

HINSTANCE VynhDllInstance = nullptr;
int (*pVynLoadStringMFC)(HINSTANCE, unsigned, SString&) = nullptr;

namespace {

HINSTANCE _vynResourceHandle = nullptr;
SStringTable* pStringTable = nullptr;

// The registry: one table per module handle.
MMap<HINSTANCE, SStringTable*>& _vynStringTableMap() {
    static MMap<HINSTANCE, SStringTable*> tables;
    return tables;
}

// Reports show handles and objects as numbers.
long Number(const void* p) {
    return reinterpret_cast<long>(p);
}

bool IsTracing() {
    return detail::Environment("QZD_DEBUG_RESOURCE") != nullptr;
}

void _VynRegisterStringTable(HINSTANCE handle, SStringTable* table) {
    SStringTable*& entry = _vynStringTableMap()[handle];
    if (entry && entry != table && IsTracing()) {
        detail::SourceReport() << "_VynRegisterStringTable(" << Number(handle) << ", " << Number(table) << ", "
                               << Number(entry) << ")" << endl
                               << flush;
    }
    entry = table;
}

void _VynUnregisterStringTable(SStringTable* table) {
    if (IsTracing()) {
        detail::SourceReport() << "_VynUnregisterStringTable(" << Number(table) << ")" << endl << flush;
    }
    MMap<HINSTANCE, SStringTable*>& tables = _vynStringTableMap();
    for (void* pos = tables.GetStartPosition(); pos;) {
        HINSTANCE handle = nullptr;
        SStringTable* entry = nullptr;
        tables.GetNextAssoc(pos, handle, entry);
        if (entry == table) {
            tables.RemoveKey(handle);
            return;
        }
    }
}

// The table of `handle`; null when it has none.
SStringTable* FindTable(HINSTANCE handle) {
    SStringTable* table = nullptr;
    _vynStringTableMap().Lookup(handle, table);
    return table;
}

void ReportNotLoaded(HINSTANCE handle, unsigned id, const char* reason, const char* file = __builtin_FILE(),
                     int line = __builtin_LINE()) {
    detail::SourceReport(file, line) << "VynLoadString(" << Number(handle) << ", " << long{id} << "): " << reason
                                     << endl
                                     << flush;
}

// Keeps the directory of a language's files in `kept`.
const char* KeepLocaleDir(SString& kept, const char* language) {
    if (kept.IsEmpty()) {
        SPathName path(VynGetInstallationRoot());
        path.AddPathElement("locale");
        path.AddPathElement(language);
        kept = path;
    }
    return kept.c_str();
}

// Loads the resource library `path`; null, with the reason in `error`, when there is none.
HINSTANCE LoadResourceLibrary(const SPathName& path, SString& error) {
    if (!detail::IsFolderName(VynGetLocale()) || path.IsEmpty()) {
        error = "no such language";
        return nullptr;
    }
    const HINSTANCE handle = VynLoadLibrary(path.c_str());
    if (!handle) {
        error = dlerror();
        return nullptr;
    }
    // Freed by the last destructor of a module that it may depend on, it would take that module along, from under
    // the code that still runs. So it stays in memory.
    if (void* kept = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE)) {
        dlclose(kept);
    }
    return handle;
}

constexpr VynMessage englishMessages[] = {
    {detail::eStrDuringWrite, "%s: during write of %s"},
    {detail::eStrDuringRead, "%s: during read of %s"},
    {detail::eStrInputStreamFailed, "Failed to read from input stream while transfering to %s."},
    {detail::eStrInputStreamBroken, "Internal error in input stream detected while transfering to %s."},
    {detail::eStrErrorWhileReading, "Error: %s, while reading from file: %s."},
    {detail::eStrOutputStreamFailed, "Failed to write to output stream while transfering from %s."},
    {detail::eStrOutputStreamBroken, "Internal error in output stream detected while transfering from %s."},
    {detail::eStrMyProjects, "My Projects"},
    {detail::eStrOpenForWriteFailed, "Failed to open '%s' for write."},
    {detail::eStrOpenForReadFailed, "Failed to open '%s' for read."},
    {detail::eStrUrnTargetNotFoundPlain, "URN '%s', target location not found: '%s'."},
    {detail::eStrUrnTargetNotAbsolute, "URN '%s', target location must be an absolute path: '%s'."},
    {detail::eStrUrnUnknown, "The URN Name '%s' was not found. Please define it in ZEM->Options->General->URNMap."},
    {detail::eStrUrnAlreadyDefined,
     "The URN name '%s' is already defined to '%s'. Please check environment variable ZEM_URN_MAP_FILE and "
     "ZEM->Options->General->URNMap."},
    {detail::eStrUrnTargetNotFound, "URN '%1', target location not found: '%2'. Error :'%3'."},
    {detail::eStrInvalidFilter, "The filter '%1' is invalid.\n%2"},
    {17, "'%1' is unexpected here: expected %2"},
    {18, "text after a value: '%1'"},
    {19, "text before the first heading is passed over"},
    {20, "the heading has no ']'"},
    {21, "the text has no closing quote"},
    {22, "the list of attributes has no ')'"},
    {23, "the list of attributes isn't of the form (name=value, name=value)"},
    {24, "the value '%1' has no text"},
    {25, "the number %1 is read as %2"},
    {26, "a NUL byte ends the text here"},
    {27, "the mark of another encoding: %1"},
    {28, "the value '%1' has been there in line %2 already"},
    {29, "the section '%1' has been there in line %2 already"},
    {30, "the name has %1 bytes: more than 255 have no address"},
    {31, "the text of '%1' can't be stored: it has a quote"},
    {32, "unknown section '%1'"},
    {33, "unknown option '%1'"},
    {34, "'%1' has to be an integer, not '%2'"},
    {35, "'%1' has to be true or false, not '%2'"},
    {36, "'%1' has the text that lies underneath"},
    {37, "'%1' is fixed in %2, line %3: this value doesn't count"},
    {38, "'%1': \"fixed\" changes nothing here"},
    {39, "the style '%1' is based on '%2', which isn't there"},
    {40, "the style '%1' is based on itself, by way of '%2'"},
    {41, "'%1' is no entry of the form name:target"},
    {42, "the URN name '%1' is predefined: the entry is refused"},
    {43, "the URN name '%1' has been there in line %2 already: the entry is refused"},
    {44, "the target of '%1' is no directory with an absolute path: '%2'"},
    {45, "a save was interrupted: the text is that of '%1'"},
    {46, "a heading"},
    {47, "a name between '[', '/' and ']'"},
    {48, "a value, a heading or the end"},
    {49, "'='"},
    {detail::eStrDidYouMean, ": did you mean '%1'?"},
    {}};

bool IsPseudoLanguage() {
    return strcmp(VynGetLocale(), detail::kPseudoLanguage) == 0;
}

// Whether the strings are those that are compiled in.
bool IsCompiledIn() {
    return strcmp(VynGetLocale(), detail::kEnglish) == 0 || IsPseudoLanguage();
}

// Tables keep pointers: an altered text stays, like the others.
const char* KeepPseudoText(const char* text) {
    static auto& kept = *new std::list<SString>;
    kept.push_back(VynPseudoText(text));
    return kept.back().c_str();
}

void InitializeLibResources(HINSTANCE handle) {
    pStringTable = new SStringTable(handle);
    for (const VynMessage* message = englishMessages; message->text; ++message) {
        pStringTable->Add(message->id, IsPseudoLanguage() ? KeepPseudoText(message->text) : message->text);
    }
}

// Sets the library's handle while it loads: the address of the one object of this class.
class CVynDllMainWrapper {
public:
    CVynDllMainWrapper() { DllMain(GetDllHandle(this), 0, nullptr); }
    CVynDllMainWrapper(const CVynDllMainWrapper&) = delete;
    CVynDllMainWrapper& operator=(const CVynDllMainWrapper&) = delete;
    ~CVynDllMainWrapper() { DllMain(GetDllHandle(this), 3, nullptr); }
};

VYN_INIT(VYN_INIT_DLL_MAIN) CVynDllMainWrapper manageDll;
VYN_INIT(VYN_INIT_RESOURCE_HANDLE) VynDllHrscState _dhs(VynhDllInstance);
VYN_INIT(VYN_INIT_RESOURCES)
VynHandleResourceDLL _hrd("VYN10_R.DLL", InitializeLibResources, VynhDllInstance);

}  // namespace

SStringTable::SStringTable(HINSTANCE handle) {
    if (IsTracing()) {
        detail::SourceReport() << "SStringTable( " << Number(handle) << ", " << Number(this) << ")" << endl << flush;
    }
    _VynRegisterStringTable(handle, this);
}

SStringTable::~SStringTable() {
    if (IsTracing()) {
        detail::SourceReport() << "~SStringTable( " << Number(this) << ")" << endl << flush;
    }
    _VynUnregisterStringTable(this);
}

void SStringTable::Add(unsigned id, const char* text) {
    m_mapStrings[id] = text;
}

int SStringTable::GetString(unsigned id, char* buffer, int size) {
    const char* text = GetString(id);
    if (!text) {
        return -1;
    }
    const int length = static_cast<int>(strlen(text));
    if (!buffer) {
        return length;
    }
    const int copied = std::min(length, size - 1);
    memcpy(buffer, text, static_cast<size_t>(copied));
    buffer[copied] = '\0';
    return copied + 1;
}

const char* SStringTable::GetString(unsigned id) {
    const char* text = nullptr;
    m_mapStrings.Lookup(id, text);
    return text;
}

void VynUnregisterStringTable(HINSTANCE handle) {
    if (IsTracing()) {
        detail::SourceReport() << "VynUnregisterStringTable(" << Number(handle) << ")" << endl << flush;
    }
    SStringTable* table = nullptr;
    if (!_vynStringTableMap().Lookup(handle, table)) {
        detail::SourceReport() << "VynUnregisterStringTable(" << Number(handle) << "): instance not found" << endl
                               << flush;
    } else if (!table) {
        detail::SourceReport() << "VynUnregisterStringTable(" << Number(handle) << "): 0 table" << endl << flush;
    } else {
        delete table;
    }
}

void VynSetResourceHandle(HINSTANCE handle) {
    _vynResourceHandle = handle;
}

HINSTANCE VynGetResourceHandle() {
    return _vynResourceHandle;
}

VynDllHrscState::VynDllHrscState(HINSTANCE handle) : m_hSaved(_vynResourceHandle) {
    _vynResourceHandle = handle;
}

VynDllHrscState::~VynDllHrscState() {
    _vynResourceHandle = m_hSaved;
}

int VynLoadString(unsigned id, char* buffer, int size) {
    return VynLoadString(_vynResourceHandle, id, buffer, size);
}

int VynLoadString(HINSTANCE handle, unsigned id, char* buffer, int size) {
    SStringTable* table = nullptr;
    if (!_vynStringTableMap().Lookup(handle, table)) {
        return 0;
    }
    return table ? table->GetString(id, buffer, size) : -1;
}

int VynLoadString(HINSTANCE handle, unsigned id, SString& text) {
    SStringTable* table = FindTable(handle);
    if (!table) {
        if (pVynLoadStringMFC) {
            return pVynLoadStringMFC(handle, id, text);
        }
        ReportNotLoaded(handle, id, "handle not found");
        return 0;
    }
    const char* found = table->GetString(id);
    if (!found) {
        ReportNotLoaded(handle, id, "resource not found");
        return 0;
    }
    text = found;
    return static_cast<int>(text.length());
}

int LoadStringA(HINSTANCE handle, unsigned id, SString& text) {
    SStringTable* table = FindTable(handle);
    const char* found = table ? table->GetString(id) : nullptr;
    if (!found) {
        return 0;
    }
    text = found;
    return 1;
}

SString detail::OwnMessage(LibraryString id, std::initializer_list<SString> texts) {
    SString format;
    LoadStringA(VynhDllInstance, id, format);
    SString message;
    size_t next = 0;
    for (const char* p = format.c_str(); *p; ++p) {
        const bool numbered = p[0] == '%' && p[1] >= '1' && p[1] <= '9';
        const bool sequential = p[0] == '%' && p[1] == 's';
        const size_t index = numbered ? static_cast<size_t>(p[1] - '1') : next;
        if ((numbered || sequential) && index < texts.size()) {
            message += texts.begin()[index];
            next += sequential ? 1 : 0;
            ++p;
        } else {
            message += *p;
        }
    }
    return message;
}

bool detail::IsFolderName(const SString& language) {
    return language.find('/') == SString::npos && language.find("..") == SString::npos;
}

const VynMessage* VynGetEnglishMessages() {
    return englishMessages;
}

const char* VynGetLocale() {
    const char* language = detail::Environment("DRAVMOOR_STUDIO_LANGUAGE");
    return language && *language ? language : detail::kEnglish;
}

const char* VynGetLocaleDir() {
    static auto& directory = *new SString;  // never destroyed: valid to the very end of the process
    return KeepLocaleDir(directory, VynGetLocale());
}

const char* VynGetDefaultLocaleDir() {
    static auto& directory = *new SString;  // never destroyed: valid to the very end of the process
    return KeepLocaleDir(directory, detail::kEnglish);
}

int DllMain(void* handle, unsigned long reason, void*) {
    if (reason == 0 && !VynhDllInstance) {
        VynhDllInstance = static_cast<HINSTANCE>(handle);
    }
    return 1;
}

void* GetDllHandle(void* address) {
    return address;
}

bool VynGetDefaultUserProjectPath(SPathName& path) {
    const SString name = detail::OwnMessage(detail::eStrMyProjects, {});
    SPathName projects;
    if (name.empty() || !VynGetUserPersonalDirectory(projects)) {
        return false;
    }
    projects.AddPathElement(name);
    projects.CreateDirectoryA();
    path = projects;
    return true;
}

VynHandleResourceDLL::VynHandleResourceDLL(const char* name, void (*install)(HINSTANCE), HINSTANCE& instance)
    : m_strName(name), m_hInstance(instance), m_hLoaded(nullptr) {
    // The destructor uses the registry, which therefore has to be built before this object is.
    _vynStringTableMap();
    if (IsTracing()) {
        detail::SourceReport() << "VynHandleResourceDLL( " << m_strName << ", " << Number(m_hInstance) << ", "
                               << Number(this) << ")" << endl
                               << flush;
    }
    if (IsCompiledIn()) {
        if (install) {
            install(_vynResourceHandle);
        }
        return;
    }
    SPathName path(VynGetLocaleDir());
    if (path.IsEmpty()) {
        return;
    }
    path.AddPathElement(m_strName);
    SString error;
    m_hLoaded = LoadResourceLibrary(path, error);
    if (!m_hLoaded) {
        SString message;
        message.Format("Loading of resource DLL \"%s\" failed.\nError reported: %s", name, error.c_str());
        vynerr << message << endl << flush;
        return;
    }
    m_hInstance = m_hLoaded;
    instance = m_hLoaded;
}

VynHandleResourceDLL::~VynHandleResourceDLL() {
    if (IsTracing()) {
        detail::SourceReport() << "~VynHandleResourceDLL( " << m_strName << ", " << Number(m_hInstance) << ", "
                               << Number(this) << ")" << endl
                               << flush;
    }
    VynFreeLibrary(m_hLoaded);
    VynUnregisterStringTable(m_hInstance);
}

}  // namespace vyn
