#include "VynResourceHandler.h"

#include <algorithm>
#include <vector>

#include "Text/InitOrder_p.h"
#include "VynRes.h"

namespace vyn {

namespace {

// A registered range.
struct SResourceRange {
    unsigned first;  // the base
    unsigned last;
    SString prefix;
};

// A registered handler with its range at registration. Not owned.
struct SResourceHandlerInfo {
    const IVynResourceHandler* handler;
    unsigned first;
    unsigned last;
};

// All handlers and ranges, in order of registration.
class CResourceManager {
public:
    // The single instance, made when it is first needed.
    static CResourceManager& Get() {
        if (!m_pInstance) {
            m_pInstance = new CResourceManager;
        }
        return *m_pInstance;
    }

    static CResourceManager* m_pInstance;

    std::vector<SResourceHandlerInfo> m_vecHandlers;
    std::vector<SResourceRange> m_vecRanges;
};

CResourceManager* CResourceManager::m_pInstance = nullptr;

// Deletes the manager at the end of the library. What uses it even later starts from an empty one.
class CResourceManagerDestroyer {
public:
    CResourceManagerDestroyer() = default;
    CResourceManagerDestroyer(const CResourceManagerDestroyer&) = delete;
    CResourceManagerDestroyer& operator=(const CResourceManagerDestroyer&) = delete;
    ~CResourceManagerDestroyer() {
        delete CResourceManager::m_pInstance;
        CResourceManager::m_pInstance = nullptr;
    }
};

VYN_INIT(VYN_INIT_RESOURCE_MANAGER) CResourceManagerDestroyer resourceManagerDestroyer;

// The bounds and the prefix of the registered range around a span.
IVynResourceHandler::SStatus GetLogicalRange(unsigned first, unsigned last, unsigned& logicalFirst,
                                             unsigned& logicalLast, SString& prefix) {
    for (const SResourceRange& range : CResourceManager::Get().m_vecRanges) {
        if (IsRangeContained(first, last, range.first, range.last)) {
            logicalFirst = range.first;
            logicalLast = range.last;
            prefix = range.prefix;
            return IVynResourceHandler::eHandlerOk;
        }
    }
    return IVynResourceHandler::eHandlerFailed;
}

}  // namespace

IVynResourceHandler::SStatus VynResourceHandler::GetString(unsigned id, SString& text) const {
    if (!m_hInstance) {
        return eHandlerFailed;
    }
    VynDllHrscState module(m_hInstance);
    return IsHandled(id) && text.LoadStringA(id) ? eHandlerOk : eHandlerFailed;
}

IVynResourceHandler::SStatus VynResourceHandler::GetPrefixedString(unsigned id, SString& text) const {
    unsigned base = 0;
    unsigned end = 0;
    SString prefix;
    if (!m_hInstance || GetLogicalRange(m_nFirst, m_nLast, base, end, prefix) != eHandlerOk) {
        return eHandlerFailed;
    }
    const int number = static_cast<int>(id - base);
    SString plain;
    if (number < 0 || GetString(id, plain) != eHandlerOk) {
        return eHandlerFailed;
    }
    text.Format("%s%04d: %s", prefix.c_str(), number, plain.c_str());
    return eHandlerOk;
}

void VynResourceHandler::GetHandledRange(unsigned& first, unsigned& last) const {
    first = m_nFirst;
    last = m_nLast;
}

bool VynResourceHandler::IsHandled(unsigned id) const {
    return IsIDInRange(id, m_nFirst, m_nLast);
}

IVynResourceHandler::SStatus VynModuleManager::RegisterRange(const char* prefix, unsigned first, unsigned last) {
    if (!prefix || first > last) {
        return IVynResourceHandler::eHandlerFailed;
    }
    std::vector<SResourceRange>& ranges = CResourceManager::Get().m_vecRanges;
    for (const SResourceRange& range : ranges) {
        if (range.prefix == prefix) {
            return range.first == first || range.last == last ? IVynResourceHandler::eHandlerOk
                                                              : IVynResourceHandler::eHandlerFailed;
        }
        // The bases don't count, so that ranges may share a boundary.
        if (DoRangesOverlap(first + 1, last, range.first + 1, range.last)) {
            return IVynResourceHandler::eHandlerFailed;
        }
    }
    ranges.push_back({first, last, prefix});
    return IVynResourceHandler::eHandlerOk;
}

IVynResourceHandler::SStatus VynModuleManager::RegisterResourceHandler(const IVynResourceHandler& handler) {
    unsigned first = 0;
    unsigned last = 0;
    handler.GetHandledRange(first, last);
    std::vector<SResourceHandlerInfo>& handlers = CResourceManager::Get().m_vecHandlers;
    for (const SResourceHandlerInfo& entry : handlers) {
        if (entry.handler == &handler) {
            return IVynResourceHandler::eHandlerOk;
        }
        if (first > last) {
            return IVynResourceHandler::eHandlerFailed;
        }
        unsigned entryFirst = 0;
        unsigned entryLast = 0;
        entry.handler->GetHandledRange(entryFirst, entryLast);
        if (DoRangesOverlap(first, last, entryFirst, entryLast)) {
            return IVynResourceHandler::eHandlerFailed;
        }
    }
    handlers.push_back({&handler, first, last});
    return IVynResourceHandler::eHandlerOk;
}

void VynModuleManager::UnregisterResourceHandler(const IVynResourceHandler& handler) {
    std::vector<SResourceHandlerInfo>& handlers = CResourceManager::Get().m_vecHandlers;
    const auto entry = std::find_if(handlers.begin(), handlers.end(),
                                    [&](const SResourceHandlerInfo& info) { return info.handler == &handler; });
    if (entry != handlers.end()) {
        handlers.erase(entry);
    }
}

const IVynResourceHandler* VynModuleManager::GetResourceHandler(unsigned id) {
    for (const SResourceHandlerInfo& entry : CResourceManager::Get().m_vecHandlers) {
        if (entry.handler->IsHandled(id)) {
            return entry.handler;
        }
    }
    return nullptr;
}

void NbxGetPrefixedString(unsigned id, SString& text) {
    if (const IVynResourceHandler* handler = VynModuleManager::GetResourceHandler(id)) {
        handler->GetPrefixedString(id, text);
    }
}

bool IsIDInRange(unsigned id, unsigned first, unsigned last) {
    return first <= id && id <= last;
}

bool IsRangeContained(unsigned first, unsigned last, unsigned outerFirst, unsigned outerLast) {
    return first >= outerFirst && outerLast >= last;
}

bool DoRangesOverlap(unsigned first1, unsigned last1, unsigned first2, unsigned last2) {
    return IsIDInRange(first1, first2, last2) || IsIDInRange(last1, first2, last2) ||
           IsIDInRange(first2, first1, last1) || IsIDInRange(last2, first1, last1);
}

}  // namespace vyn
