#include <algorithm>

#include "Text/InitOrder_p.h"
#include "Uris/VynUri_p.h"

namespace vyn {

namespace {

SUriScheme* (*pfnSelectSchemeCallback)(const std::list<SUriScheme*>&) = nullptr;

bool IsRegistered(const SUriScheme* scheme) {
    const std::list<SUriScheme*>& schemes = *VynGetUriSchemeList();
    return std::find(schemes.begin(), schemes.end(), scheme) != schemes.end();
}

// The scheme that was registered last of those that fit; null when there is none. Here and below the walk is
// over a copy of the list, since a scheme that is asked may register and unregister schemes.
template <class Predicate>
SUriScheme* FindLatest(Predicate fits) {
    const std::list<SUriScheme*> schemes(*VynGetUriSchemeList());
    for (auto it = schemes.rbegin(); it != schemes.rend(); ++it) {
        if (IsRegistered(*it) && fits(**it)) {
            return *it;
        }
    }
    return nullptr;
}

SUriScheme* GetLatestSchemeHandler(const SString& uri) {
    return FindLatest([&](const SUriScheme& scheme) { return scheme.CanHandle(uri); });
}

SUriScheme* GetLatestSupportedSchemeHandlerForCapability(SUriScheme::SCapability capability, const SString& uri) {
    return FindLatest([&](const SUriScheme& scheme) {
        return (scheme.GetCapabilities() & capability) != 0 && scheme.CanHandle(uri);
    });
}

SUriScheme* GetSelectedSchemeHandlerForCapability(SUriScheme::SCapability capability) {
    std::list<SUriScheme*> offering;
    for (SUriScheme* scheme : std::list<SUriScheme*>(*VynGetUriSchemeList())) {
        if (IsRegistered(scheme) && (scheme->GetCapabilities() & capability) != 0) {
            offering.push_back(scheme);
        }
    }
    if (offering.size() < 2) {
        return offering.empty() ? nullptr : offering.front();
    }
    return pfnSelectSchemeCallback ? pfnSelectSchemeCallback(offering) : nullptr;
}

class CCompositeScheme final : public SUriScheme {
public:
    std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString& uri) override {
        SString resolved;
        SUriScheme* handler = FindForResolved(eCapabilityRead, uri, resolved);
        return handler ? handler->OpenRead(errors, resolved) : nullptr;
    }

    std::basic_ostream<char>* OpenWrite(SVector<SString>& errors, const SString& uri) override {
        SString resolved;
        SUriScheme* handler = FindForResolved(eCapabilityWrite, uri, resolved);
        return handler ? handler->OpenWrite(errors, resolved) : nullptr;
    }

    SFormat GetFormat(const SString& uri) const override {
        const SUriScheme* handler = GetLatestSchemeHandler(uri);
        return handler ? handler->GetFormat(uri) : eFormatUnknown;
    }

    bool CanHandle(const SString& uri) const override {
        SString resolved;
        return SUrnResolver::ResolveUrn(uri, resolved) && GetLatestSchemeHandler(resolved);
    }

    void GetDisplayText(const SString& uri, SString& text, const SString& extra) const override {
        if (const SUriScheme* handler = GetLatestSchemeHandler(uri)) {
            handler->GetDisplayText(uri, text, extra);
        } else {
            text = uri;
        }
    }

    SStatus GetDefaultOutputLocation(const SString& uri, SString& location) const override {
        SString resolved;
        const SUriScheme* handler = FindForResolved(eCapabilityDefaultOutputLocation, uri, resolved);
        if (!handler) {
            location.clear();
            return eStatusNoHandler;
        }
        handler->GetDefaultOutputLocation(uri, location);
        return eStatusDone;
    }

    void GetSchemeDescription(SString& text) const override { text = "Composite Scheme"; }

    bool IsReadOnly(const SString& uri, bool flag) override {
        SString resolved;
        if (!SUrnResolver::ResolveUrn(uri, resolved)) {
            return false;
        }
        SUriScheme* handler = GetLatestSchemeHandler(resolved);
        return !handler || handler->IsReadOnly(uri, flag);
    }

    bool IsEqual(const SString& first, const SString& second) override {
        SString resolvedFirst;
        SString resolvedSecond;
        if (!SUrnResolver::ResolveUrn(first, resolvedFirst) || !SUrnResolver::ResolveUrn(second, resolvedSecond)) {
            return false;
        }
        SUriScheme* handler = GetLatestSchemeHandler(resolvedFirst);
        return !handler || handler->IsEqual(resolvedFirst, resolvedSecond);
    }

    bool MakeEditable(const SString& uri) override {
        SString resolved;
        SUriScheme* handler = FindForResolved(eCapabilityMakeEditable, uri, resolved);
        return handler && handler->MakeEditable(uri);
    }

    int GetCapabilities() const override {
        int capabilities = 0;
        for (const SUriScheme* scheme : std::list<SUriScheme*>(*VynGetUriSchemeList())) {
            capabilities |= IsRegistered(scheme) ? scheme->GetCapabilities() : 0;
        }
        return capabilities;
    }

    SStatus OpenDialog(SVector<SString>& errors, const SString& start, SString& result, const SString& extra) override {
        SUriScheme* handler = GetSelectedSchemeHandlerForCapability(eCapabilityOpenDialog);
        return handler ? handler->OpenDialog(errors, start, result, extra) : eStatusNoHandler;
    }

    SStatus SaveDialog(SVector<SString>& errors, const SString& start, SString& result, const SString& extra) override {
        SUriScheme* handler = GetSelectedSchemeHandlerForCapability(eCapabilitySaveDialog);
        return handler ? handler->SaveDialog(errors, start, result, extra) : eStatusNoHandler;
    }

    SStatus DirDialog(SVector<SString>& errors, const SString& start, SString& result) override {
        SUriScheme* handler = GetSelectedSchemeHandlerForCapability(eCapabilityDirDialog);
        return handler ? handler->DirDialog(errors, start, result) : eStatusNoHandler;
    }

    SStatus DirectRead(SVector<SString>& errors, const SString& uri, SVector<void*>& data,
                       const void* context) override {
        SUriScheme* handler = GetLatestSchemeHandler(uri);
        return handler ? handler->DirectRead(errors, uri, data, context) : eStatusNoHandler;
    }

    SStatus DirectWrite(SVector<SString>& errors, const SString& uri, const SVector<void*>& data,
                        const void* context) override {
        SUriScheme* handler = GetLatestSchemeHandler(uri);
        return handler ? handler->DirectWrite(errors, uri, data, context) : eStatusNoHandler;
    }

private:
    // Null when the URN isn't resolved, too.
    static SUriScheme* FindForResolved(SCapability capability, const SString& uri, SString& resolved) {
        return SUrnResolver::ResolveUrn(uri, resolved)
                   ? GetLatestSupportedSchemeHandlerForCapability(capability, resolved)
                   : nullptr;
    }
};

// Has no state and takes no code to be built, so that it is ready at any time.
VYN_INIT(VYN_INIT_COMPOSITE_SCHEME) CCompositeScheme theCompositeScheme;

}  // namespace

SUriScheme& SUri = theCompositeScheme;

SUriScheme::SStatus SUriScheme::OpenDialog(SVector<SString>&, const SString&, SString&, const SString&) {
    return eStatusNotDone;
}

SUriScheme::SStatus SUriScheme::SaveDialog(SVector<SString>&, const SString&, SString&, const SString&) {
    return eStatusNotDone;
}

SUriScheme::SStatus SUriScheme::DirDialog(SVector<SString>&, const SString&, SString&) {
    return eStatusNotDone;
}

SUriScheme::SStatus SUriScheme::DirectRead(SVector<SString>&, const SString&, SVector<void*>&, const void*) {
    return eStatusNotDone;
}

SUriScheme::SStatus SUriScheme::DirectWrite(SVector<SString>&, const SString&, const SVector<void*>&, const void*) {
    return eStatusNotDone;
}

std::list<SUriScheme*>* VynGetUriSchemeList() {
    static auto* schemes = new std::list<SUriScheme*>;
    return schemes;
}

void SUriSchemeManager::Register(SUriScheme& scheme) {
    if (!IsRegistered(&scheme)) {
        VynGetUriSchemeList()->push_back(&scheme);
    }
}

void SUriSchemeManager::UnRegister(SUriScheme& scheme) {
    VynGetUriSchemeList()->remove(&scheme);
}

void SUriSchemeManager::SetSelectSchemeDialog(SUriScheme* (*callback)(const std::list<SUriScheme*>&)) {
    pfnSelectSchemeCallback = callback;
}

SUriScheme* GetMatchingUriScheme(const SString& uri, SUriScheme::SCapability capability) {
    return GetLatestSupportedSchemeHandlerForCapability(capability, uri);
}

}  // namespace vyn
