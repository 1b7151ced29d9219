#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "Paths/SPathName_p.h"
#include "SPathName.h"
#include "Uris/VynUri_p.h"
#include "Vyn.h"

namespace vyn {

namespace {

const char* const predefinedNames[] = {"k4",           "k4user",          "k4useraddins",
                                       "k4teamaddins", "k4companyaddins", "k4zemprojects"};

// True for what is never made relative nor into a URN.
bool IsFixedLocation(const SString& path) {
    return VynIsAUrn(path.c_str()) || VynIsAReqixUri(path.c_str()) || VynIsAQLUri(path.c_str());
}

SPathName RelativeTo(const SString& base, const SString& path) {
    SPathName relative(path);
    relative.MakeRelativePath(SPathName(base));
    return relative;
}

// True when a result of RelativeTo doesn't lead out of the base's directory.
bool LiesBelow(const SPathName& relative) {
    return !relative.IsAbsolutePath() && relative.compare(0, 2, "..") != 0;
}

}  // namespace

bool SUrnResolver::ResolveUrn(const SString& urn, SString& path) {
    SURNStatus status;
    return ResolveUrn(urn, path, status);
}

bool SUrnResolver::ResolveUrn(const SString& urn, SString& path, SURNStatus& status) {
    path = urn;
    SString name;
    SString rest;
    DecodeURN(path, name, rest, status);
    if (status != eUrnOk) {
        return status == eUrnNotAUrn;
    }
    const auto& map = *VynGetUrnUriMap();
    const auto entry = map.find(name);
    if (entry == map.end()) {
        detail::ReportOwnString(detail::eStrUrnUnknown, {name});
        status = eUrnUnknownName;
        return false;
    }
    if (!detail::FitsPath(rest.c_str())) {
        status = eUrnMalformed;
        return false;
    }
    // Two normal forms, not one of the whole: a ".." at the start of the second one stays.
    path = SPathName(entry->second) + SPathName(rest);
    return true;
}

void SUrnResolver::DecodeURN(const SString& urn, SString& name, SString& path, SURNStatus& status) {
    SString rest(urn);
    name.clear();
    path.clear();
    if (!VynIsAUrn(rest.c_str())) {
        status = eUrnNotAUrn;
        return;
    }
    rest.erase(0, strlen("urn:"));
    const size_t colon = rest.find(':');
    if (colon == SString::npos) {
        status = eUrnMalformed;
        return;
    }
    name = rest.substr(0, colon);
    name.MakeLower();
    path = rest.substr(colon + 1);
    status = eUrnOk;
}

void SUrnResolver::CreateUrn(const SString& path, SString& urn) {
    urn = path;
    // A text that is too long has an empty normal form, which would stand for the current directory.
    const SPathName file(urn);
    if (file.empty() || IsFixedLocation(urn)) {
        return;
    }
    for (const auto& [name, target] : *VynGetUrnUriMap()) {
        if (!IsAbsolutePathLocal(target.c_str())) {
            continue;
        }
        const SPathName relative = RelativeTo(target, file);
        if (LiesBelow(relative)) {
            urn = "urn:" + name + ":" + relative;
            return;
        }
    }
}

bool SUrnResolver::IsUrnRegistered(const SString& name) {
    return VynGetUrnUriMap()->count(name) != 0;
}

bool SUrnResolver::RegisterUrn(const SString& name, const SString& target) {
    if (name.find(':') != SString::npos) {
        errno = EINVAL;
        return false;
    }
    auto& map = *VynGetUrnUriMap();
    const auto entry = map.find(name);
    if (entry != map.end()) {
        detail::EnterUrn(eUrnRegistered, SString(), name, target, map);
        detail::ReportOwnString(detail::eStrUrnAlreadyDefined, {name, entry->second});
        return false;
    }
    if (!VynIsAUri(target.c_str()) && DoesUrnTargetExist(name, target, true) && !SPathName(target).IsAbsolutePath()) {
        detail::ReportOwnString(detail::eStrUrnTargetNotAbsolute, {name, target});
    }
    return detail::EnterUrn(eUrnRegistered, SString(), name, target, map) == eUrnDecides;
}

bool SUrnResolver::DoesUrnTargetExist(const SString& name, const SString& target, bool report) {
    SString directory(target);
    // The roots "/" and "c:/" keep their "/".
    if (directory.size() > 3 && directory.back() == '/') {
        directory.pop_back();
    }
    struct stat info;
    if (stat(directory.c_str(), &info) == 0) {
        return S_ISDIR(info.st_mode);
    }
    if (report) {
        detail::ReportOwnString(detail::eStrUrnTargetNotFound, {name, target, vyn_strerror(errno)});
    }
    return false;
}

bool SUrnResolver::DoesUrnMappedExist(const SString& mapping, bool report) {
    SString name;
    SString target;
    DecodeUrnMapped(mapping, name, target);
    return DoesUrnTargetExist(name, target, report);
}

bool SUrnResolver::CanUrnBeOverridden(const SString& mapping) {
    SString name;
    SString target;
    DecodeUrnMapped(mapping, name, target);
    for (const char* predefined : predefinedNames) {
        if (name.CompareNoCase(predefined) == 0) {
            return false;
        }
    }
    return true;
}

void SUrnResolver::EncodeUrnMap(SString& text) {
    text.clear();
    for (const auto& [name, target] : *VynGetUrnUriMap()) {
        if (!text.empty()) {
            text += ';';
        }
        text += name + ":" + target;
    }
}

void SUrnResolver::CreateRelativePath(const SString& base, const SString& path, SString& result) {
    if (!detail::FitsPath(path.c_str()) || !detail::FitsPath(base.c_str())) {
        result = path;
        return;
    }
    if (!IsFixedLocation(path)) {
        const SPathName relative = RelativeTo(base, path);
        if (LiesBelow(relative) && !relative.empty()) {
            result = relative;
            return;
        }
    }
    SString stored;
    CreateUrn(path, stored);
    if (!IsFixedLocation(stored) && SPathName(base).IsAbsolutePath()) {
        errno = 0;
        const SPathName climbing = RelativeTo(base, path);
        if (errno == 0) {
            stored = climbing;  // whole: nothing had to be left out of it
        }
    }
    result = stored;
}

void SUrnResolver::CreateAbsolutePath(const SString& base, const SString& path, SString& result) {
    if (VynIsAUrn(path.c_str()) || !detail::FitsPath(path.c_str()) || !detail::FitsPath(base.c_str())) {
        result = path;
        return;
    }
    SPathName document(base);
    if (!document.IsAbsolutePath()) {
        document.MakeAbsolutePath();
    }
    SPathName absolute(path);
    absolute.MakeAbsolutePath(document);
    result = absolute;
}

}  // namespace vyn
