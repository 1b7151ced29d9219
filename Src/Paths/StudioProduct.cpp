#include "StudioProduct.h"

#include <cstdlib>

#include "SPathName.h"
#include "Text/Environment_p.h"

namespace vyn {

namespace {

constexpr char MajorVersion[] = "4";
constexpr char MinorVersion[] = "3";
constexpr char CompanyPath[] = "\\Ostrel\\Halcyne";
constexpr int ToolWithM = 5;  // the tool whose programmatic identifiers end in "M"

SString ProgID(const char* object) {
    SString id(object);
    id += StudioProduct::GetRegistryToolVersion('.');
    if (StudioProduct::GetToolID() == ToolWithM) {
        id += "M";
    }
    return id;
}

}  // namespace

SString StudioProduct::GetCompanyNamePath() {
    return SPathName(CompanyPath);
}

SString StudioProduct::GetRegistryCompanyName() {
    return "Dravmoor";
}

SString StudioProduct::GetCompanyName() {
    return "Ostrel Corporation";
}

SString StudioProduct::GetRegistryToolName() {
    return "Zem";
}

SString StudioProduct::GetToolName() {
    return "Ostrel Halcyne Zem";
}

SString StudioProduct::GetRegistryToolVersion(char separator) {
    SString version;
    version.Format("%s%c%s", MajorVersion, separator, MinorVersion);
    return version;
}

SString StudioProduct::GetFullToolVersion() {
    SString version;
    version.Format("%s.%s.%s.%s.%s", MajorVersion, MinorVersion, "0", "6", "24341");
    return version;
}

SString StudioProduct::GetRegistryToolPath() {
    return "SOFTWARE\\" + GetRegistryCompanyName() + "\\" + GetRegistryToolName() + "\\" + GetRegistryToolVersion('.');
}

SString StudioProduct::GetRegistryToolCustomPath() {
    return GetRegistryToolPath() + "\\Custom\\Studio";
}

SString StudioProduct::GetRegistryLocalePath() {
    return GetRegistryToolPath() + "\\Locale";
}

SString StudioProduct::GetZemStudioProgID() {
    return ProgID("Dravmoor.ZemDeveloperStudioAPI.");
}

SString StudioProduct::GetZemModelProgID() {
    return ProgID("Dravmoor.ZemDeveloperModelAPI.");
}

SString StudioProduct::GetZemEditorActiveXCtrlProgID() {
    return "Dravmoor.ZemEditorsActiveXCtrl." + GetRegistryToolVersion('v');
}

int StudioProduct::GetToolID() {
    const char* id = detail::Environment("QZD_TOOLID");
    return id ? atoi(id) : 1;
}

// The support program lies in the common files directory, which this platform hasn't.
SString StudioProduct::GetXRTToolPath() {
    return "";
}

void StudioProduct::CallXRT(const SString&, const SString&) {}

bool VynGetCommonFilesDirectory(SPathName&) {
    return false;
}

}  // namespace vyn
