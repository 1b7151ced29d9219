// Takes any text as the URN map of the option, and any bytes as its file. HOME is to be a directory of its own.

#include "Fuzz.h"
#include "Platform.h"
#include "VynUri.h"

using vyn::SString;
using vyn::SUrnResolver;
using vyn::fuzz::Require;

namespace {

std::string Map() {
    SString map;
    SUrnResolver::EncodeUrnMap(map);
    return map;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const SString text(vyn::fuzz::Text(data, size));
    SUrnResolver::RegisterURNsFromOptionString(text);
    const std::string map = Map();
    SUrnResolver::RegisterURNsWithoutOptions();
    Require(Map() == map, "the map read again is another one");

    vyn::SPathName file;
    Require(vyn::VynGetSharedDataDirectory(file), "no directory of the user");
    file.AddPathElement("urnmap.txt");
    vyn::fuzz::WriteFile(file, text);
    SUrnResolver::RegisterURNsWithoutOptions();

    std::vector<SString> entries;
    SUrnResolver::DecodeUrnMap(text, entries);
    for (const SString& entry : entries) {
        SString name, target, path;
        SUrnResolver::DecodeUrnMapped(entry, name, target);
        SUrnResolver::CanUrnBeOverridden(entry);
        SUrnResolver::DoesUrnMappedExist(entry, false);
        SUrnResolver::ResolveUrn("urn:" + name + ":a/b", path);
        SUrnResolver::CreateUrn(target, path);
    }
    return 0;
}
