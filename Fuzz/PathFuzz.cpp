// Takes two texts, separated by the first line feed, as paths, and the second as the base of the first.

#include <cstring>
#include <memory>

#include "Fuzz.h"
#include "SPathName.h"
#include "VynUri.h"
#include "filename_expand.h"

using vyn::SPathName;
using vyn::SString;
using vyn::fuzz::Require;

namespace {

void Free(char* text) {
    free(text);
}

void Look(const SPathName& path) {
    path.IsAbsolutePath();
    Require(!path.GetSuffix() || strlen(path.GetSuffix()) <= strlen(path.GetTail()), "the suffix isn't in the tail");
    Require(path.GetDirectory().size() <= path.size(), "the directory is longer than the path");
    for (char* text : {path.GetBaseName(), path.GetUnixPath(), path.GetWinPath()}) {
        free(text);
    }
    vyn::GetExtentionFromPath(path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto [first, second] = vyn::fuzz::TwoTexts(data, size);
    const SPathName path(first.c_str()), base(second.c_str());
    Require(path.size() < 1024, "a path of 1024 bytes or more");
    Look(path);

    SPathName changed(path);
    changed.AddPathElement(second.c_str());
    changed.AddSuffix(".x");
    changed.SubSuffix();
    changed.MakeExpandPath();
    Look(changed);
    changed = path;
    changed.MakeAbsolutePath(base);
    changed.MakeRelativePath(base);
    changed.MakeAbsolutePath();

    Require(strlen(filename_expand(first.c_str())) < 1024, "an expansion of 1024 bytes or more");
    const std::unique_ptr<char, void (*)(char*)> full(full_path_name(first.c_str()), Free);
    const std::unique_ptr<char, void (*)(char*)> relative(get_rel_path(first.c_str(), second.c_str()), Free);
    std::unique_ptr<char[]> exact(new char[first.size() + 1]);
    vyn::WexPathCanonicalize(exact.get(), first.c_str());
    strcpy(exact.get(), first.c_str());
    name_base(exact.get());

    SString result;
    vyn::SUrnResolver::SURNStatus status;
    vyn::SUrnResolver::ResolveUrn(first, result, status);
    vyn::SUrnResolver::CreateUrn(first, result);
    vyn::SUrnResolver::CreateRelativePath(second, first, result);
    vyn::SUrnResolver::CreateAbsolutePath(second, first, result);
    vyn::SUri.IsEqual(first, second);
    return 0;
}
