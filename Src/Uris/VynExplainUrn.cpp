#include "VynExplainUrn.h"

#include <sys/stat.h>
#include <unistd.h>
#include <climits>

#include <cerrno>
#include <string>

#include "Paths/SPathName_p.h"
#include "Uris/VynUri_p.h"
#include "filename_expand.h"

namespace vyn {

namespace {

constexpr int maxLinks = 40;  // as the kernel's own limit

// Takes the first element, which may be empty, off `rest`.
std::string TakeElement(std::string& rest) {
    const size_t slash = rest.find('/');
    std::string element = rest.substr(0, slash);
    rest.erase(0, slash == std::string::npos ? slash : slash + 1);
    return element;
}

// Follows the steps and links of an absolute path as the kernel would; what isn't there is taken as it stands, so that
// a link that leads nowhere counts too. `path` then has neither a step nor a final "/": the root is empty. 0 or an
// error number.
int FollowAll(std::string& path) {
    std::string rest = path;
    path.clear();
    for (int links = 0; !rest.empty();) {
        const std::string element = TakeElement(rest);
        if (element.empty() || element == ".") {
            continue;
        }
        if (element == "..") {
            path.erase(path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
            continue;
        }
        const std::string next = std::string(path).append("/").append(element);
        char target[PATH_MAX];
        const ssize_t length = readlink(next.c_str(), target, sizeof target);
        if (length < 0) {
            if (errno != EINVAL && errno != ENOENT) {
                return errno;
            }
            path = next;
            continue;
        }
        if (++links > maxLinks) {
            return ELOOP;
        }
        rest.insert(0, std::string(target, static_cast<size_t>(length)) + "/");
        if (target[0] == '/') {
            path.clear();
        }
    }
    return 0;
}

// 0 when `path` lies in `directory` or below it, else an error number.
int CheckBeneath(const SString& directory, const SString& path) {
    if (directory.empty()) {
        return EINVAL;
    }
    std::string base = detail::MallocText(full_path_name(directory.c_str())).get();
    std::string location = detail::MallocText(full_path_name(path.c_str())).get();
    if (const int error = FollowAll(base)) {
        return error;
    }
    if (const int error = FollowAll(location)) {
        return error;
    }
    return (location + "/").compare(0, base.size() + 1, base + "/") == 0 ? 0 : EXDEV;
}

int ResolveBeneath(const SString& urn, SString& path) {
    SUrnResolver::SURNStatus status;
    errno = 0;
    if (!SUrnResolver::ResolveUrn(urn, path, status)) {
        return status == SUrnResolver::eUrnUnknownName ? ENOENT : errno == ENAMETOOLONG ? errno : EINVAL;
    }
    if (status != SUrnResolver::eUrnOk) {
        return EINVAL;
    }
    SString name;
    SString rest;
    SUrnResolver::DecodeURN(urn, name, rest, status);
    return CheckBeneath(VynGetUrnUriMap()->at(name), path);
}

}  // namespace

SUrnExplanation ExplainUrn(const SString& urn) {
    SUrnExplanation explanation;
    SString rest;
    SUrnResolver::DecodeURN(urn, explanation.name, rest, explanation.status);
    explanation.path = urn;
    if (explanation.status != SUrnResolver::eUrnOk) {
        return explanation;
    }
    const auto entries = detail::UrnEntries().find(explanation.name);
    if (entries != detail::UrnEntries().end()) {
        explanation.entries = entries->second;
    }
    if (SUrnResolver::IsUrnRegistered(explanation.name)) {
        SUrnResolver::ResolveUrn(urn, explanation.path, explanation.status);
    } else {
        explanation.status = SUrnResolver::eUrnUnknownName;
    }
    return explanation;
}

bool ResolveUrnBeneath(const SString& urn, SString& path) {
    const SString text(urn);  // NOLINT(performance-unnecessary-copy-initialization): it may be `path`
    errno = ResolveBeneath(text, path);
    if (errno == 0) {
        return true;
    }
    const int error = errno;
    path = text;
    errno = error;
    return false;
}

}  // namespace vyn
