#include <memory>

#include "Paths/SPathName_p.h"
#include "SPathName.h"
#include "Text/InitOrder_p.h"
#include "Uris/VynUriFileStream_p.h"
#include "Uris/VynUri_p.h"

namespace vyn {

namespace {

// Opens `uri` by an adapter of its own. Null, and a text in `errors`, when that fails.
template <class Adapter>
Adapter* Open(SVector<SString>& errors, const SString& uri, SFileStreamMode mode, detail::LibraryString failure) {
    auto stream = std::make_unique<Adapter>(std::make_unique<SFileStreamBuffer>());
    stream->open(uri, mode);
    if (stream->good()) {
        return stream.release();
    }
    errors.push_back(detail::OwnMessage(failure, {uri}));
    return nullptr;
}

// The scheme of all that is no URI: files.
class SDefaultFileScheme final : public SUriScheme {
public:
    std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString& uri) override {
        return Open<SFile2IstreamAdapter>(errors, uri, eFileStreamRead, detail::eStrOpenForReadFailed);
    }
    std::basic_ostream<char>* OpenWrite(SVector<SString>& errors, const SString& uri) override {
        return Open<SFile2OstreamAdapter>(errors, uri, eFileStreamWrite, detail::eStrOpenForWriteFailed);
    }
    SFormat GetFormat(const SString&) const override { return eFormatUnknown; }
    bool CanHandle(const SString& uri) const override { return !VynIsAUri(uri.c_str()); }
    void GetDisplayText(const SString& uri, SString& text, const SString& extra) const override { text = uri + extra; }
    SStatus GetDefaultOutputLocation(const SString& uri, SString& location) const override {
        location = SPathName(uri).GetDirectory();
        return detail::FitsPath(uri.c_str()) ? eStatusDone : eStatusNotDone;
    }
    void GetSchemeDescription(SString& text) const override { text = "The default file scheme"; }
    bool IsReadOnly(const SString&, bool) override { return false; }
    bool IsEqual(const SString& first, const SString& second) override {
        return detail::FitsPath(first.c_str()) && detail::FitsPath(second.c_str()) &&
               SPathName(first) == SPathName(second);
    }
    bool MakeEditable(const SString&) override { return false; }
    int GetCapabilities() const override {
        return eCapabilityRead | eCapabilityWrite | eCapabilityDefaultOutputLocation;
    }
};

VYN_INIT(VYN_INIT_FILE_SCHEME) SDefaultFileScheme defaultFileScheme;

class SDefaultFileSchemeRegistrator {
public:
    SDefaultFileSchemeRegistrator() { SUriSchemeManager::Register(defaultFileScheme); }
};

VYN_INIT(VYN_INIT_FILE_SCHEME_REGISTRATOR) SDefaultFileSchemeRegistrator defaultFileSchemeRegistrator;

}  // namespace

}  // namespace vyn
