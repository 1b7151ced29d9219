#include "VynIntegration.h"

#include "VynUri.h"

namespace vyn {

SString GetIntegrationKey() {
    return "\\Integration";
}

SString GetReqixIntegraionKey() {
    return "REQIXKey";
}

SString GetReqixTimeoutKey() {
    return "REQIXServerTimeoutValue";
}

SString GetReqixDialogKey() {
    return "REQIXServerTimeoutDialog";
}

bool VynIsReqixIntegrationInstalledInternal() {
    return false;
}

bool VynIsReqixIntegrationInstalled() {
    static const bool installed = VynIsReqixIntegrationInstalledInternal();
    return installed;
}

void VynGetReqixCOMTunigParameters(int& first, unsigned long& second) {
    first = 1;
    second = 45000;
}

SString RemoveFromREQIXUriOptionalParameters(const char* uri) {
    const SString text(uri);
    return VynIsAReqixUri(uri) ? SString(text.substr(0, text.find('?'))) : text;
}

}  // namespace vyn
