#pragma once

/// \file
/// Names and version of the tool family, in one place. Nothing here keeps a state; StudioProduct::GetToolID
/// reads the environment at each call.

#include "SString.h"

namespace vyn {

class SPathName;

/// \brief The identity of the tool family: company, tool, version, and the keys that are derived from them.
///
/// All operations are static, and the identity is fixed when the library is built. The registry paths and
/// programmatic identifiers have a use on Windows only; they are told everywhere so that all tools show and
/// exchange the same ones.
class VYN_API StudioProduct {
public:
    /// \return the company's part of a user's data directory in normal path form, `/Ostrel/Halcyne`.
    static SString GetCompanyNamePath();
    /// \return the company's word in registry keys.
    static SString GetRegistryCompanyName();
    /// \return the company's name for people.
    static SString GetCompanyName();
    /// \return the tool's word in registry keys and directories.
    static SString GetRegistryToolName();
    /// \return the tool's name for people.
    static SString GetToolName();
    /// \return major and minor version with \p separator between them: `4.3` with a point.
    static SString GetRegistryToolVersion(char separator);
    /// \return all five fields of the version, with points between them.
    static SString GetFullToolVersion();
    /// \return the registry path of the tool and this version, with backslashes.
    static SString GetRegistryToolPath();
    /// \return the path of the tool's own settings below GetRegistryToolPath().
    static SString GetRegistryToolCustomPath();
    /// \return the path of the language settings below GetRegistryToolPath().
    static SString GetRegistryLocalePath();
    /// \return the programmatic identifier of the studio's API, with "M" behind it for tool number 5.
    static SString GetZemStudioProgID();
    /// \return the programmatic identifier of the model's API, with "M" behind it for tool number 5.
    static SString GetZemModelProgID();
    /// \return the programmatic identifier of the editors' control, the same for every tool number.
    static SString GetZemEditorActiveXCtrlProgID();
    /// \return the number of the running tool, from the variable QZD_TOOLID: 1 when it is unset, 0 when its
    /// value is no number.
    static int GetToolID();
    /// \return the path of the support program, below the common files directory; empty where there is no
    /// such directory, as on this platform.
    static SString GetXRTToolPath();
    /// Calls the support program where there is one; does nothing on this platform.
    static void CallXRT(const SString&, const SString&);
};

/// Asks for the directory of files that all tools of all makers share.
/// \return false: this platform has none. The path isn't touched.
VYN_API bool VynGetCommonFilesDirectory(SPathName& path);

}  // namespace vyn
