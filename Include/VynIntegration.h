#pragma once

/// \file
/// What the tools share about their integration with Reqix, the requirement tool: names of settings, and what
/// is known of its URIs. No state but a fixed answer; callable from any thread.

#include "SString.h"

namespace vyn {

/// \return the sub-key of the integration, to be appended to a tool's key.
VYN_API SString GetIntegrationKey();
/// \return the name of the setting of the integration itself.
VYN_API SString GetReqixIntegraionKey();
/// \return the name of the setting of the server's time-out.
VYN_API SString GetReqixTimeoutKey();
/// \return the name of the setting of the time-out's dialog.
VYN_API SString GetReqixDialogKey();

/// Looks whether the integration is installed. It never is on this platform.
VYN_API bool VynIsReqixIntegrationInstalledInternal();
/// \return what VynIsReqixIntegrationInstalledInternal answered at the first call.
VYN_API bool VynIsReqixIntegrationInstalled();
/// Tells the fixed tuning values of the connection to Reqix, which only the tools use.
VYN_API void VynGetReqixCOMTunigParameters(int& first, unsigned long& second);

/// \param uri null means the empty text.
/// \return the text before the first "?" of a "reqix:" URI; any other text as it stands.
VYN_API SString RemoveFromREQIXUriOptionalParameters(const char* uri);

}  // namespace vyn
