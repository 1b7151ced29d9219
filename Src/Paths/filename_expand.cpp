#include "filename_expand.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "Paths/SPathName_p.h"
#include "SString.h"
#include "Text/Environment_p.h"
#include "VynUri.h"

namespace {

const size_t sizeExpanded = vyn::detail::sizePath;
const size_t sizeName = 256;         // of the name of a variable or user, with its NUL
const size_t lengthRelative = 1024;  // of the result of get_rel_path, without its NUL

// Appends `piece` when the result keeps to `limit` bytes; else leaves it out and sets ERANGE.
void AppendWithin(size_t limit, std::string& text, const std::string& piece) {
    if (text.size() + piece.size() > limit) {
        errno = ERANGE;
        return;
    }
    text += piece;
}

// Null when there is no such variable; a name that is too long names none.
const char* FindVariable(const std::string& name) {
    return name.size() < sizeName ? vyn::detail::Environment(name.c_str()) : nullptr;
}

std::string ExpandVariables(const char* text) {
    const size_t limit = sizeExpanded - 1;
    std::string expanded;
    const char* p = text;
    while (*p && expanded.size() < limit) {
        if (*p != '$') {
            expanded += *p++;
        } else if (p[1] != '(') {
            // The next character is no start of a reference, even if it is a "$" too.
            const size_t length = p[1] ? 2 : 1;
            expanded.append(p, length);
            p += length;
        } else {
            p += 2;
            const std::string name(p, strcspn(p, ")"));
            p += name.size() + (p[name.size()] ? 1 : 0);
            if (const char* value = FindVariable(name)) {
                AppendWithin(limit, expanded, value);
            } else {
                expanded += "$(";
                AppendWithin(limit, expanded, name);
                expanded += ')';
            }
        }
    }
    expanded.resize(std::min(expanded.size(), limit));
    return expanded;
}

// Null when there is no such user. An empty name means the effective user.
const char* FindHome(const std::string& name) {
    if (name.size() >= sizeName) {
        return nullptr;
    }
    const passwd* user = name.empty() ? getpwuid(geteuid()) : getpwnam(name.c_str());
    return user ? user->pw_dir : nullptr;
}

void ExpandHome(std::string& path) {
    if (path[0] != '~') {
        return;
    }
    const size_t end = std::min(path.find('/'), path.size());
    const char* home = FindHome(path.substr(1, end - 1));
    if (!home) {
        return;
    }
    const std::string expanded = home + path.substr(end);
    if (expanded.size() >= sizeExpanded) {
        errno = ERANGE;
        return;
    }
    path = expanded;
}

// The length of the part of a server path that names the server, the "/" behind it included.
size_t ServerLength(const std::string& path) {
    const size_t slash = path.find('/', 2);
    return slash == std::string::npos ? path.size() : slash + 1;
}

// True when there is no way from the directory `base` to `path` but from the root.
bool HaveNothingInCommon(const std::string& path, const std::string& base) {
    if (path.compare(0, 2, "//") == 0) {
        return base.compare(0, ServerLength(base), path, 0, ServerLength(path)) != 0;
    }
    return path[0] != base[0];
}

// `base` ends in "/".
std::string RelativeTo(const std::string& base, const std::string& path) {
    std::string relative;
    if (HaveNothingInCommon(path, base)) {
        AppendWithin(lengthRelative, relative, path);
        return relative;
    }
    size_t common = 0;
    while (common < path.size() && common < base.size() && path[common] == base[common]) {
        ++common;
    }
    while (common > 0 && path[common - 1] != '/') {
        --common;
    }
    for (auto up = std::count(base.begin() + static_cast<std::ptrdiff_t>(common), base.end(), '/'); up > 0; --up) {
        AppendWithin(lengthRelative, relative, "../");
    }
    AppendWithin(lengthRelative, relative, path.substr(common));
    return relative;
}

}  // namespace

char* filename_expand(const char* text) {
    static char newPath[sizeExpanded];
    if (vyn::VynIsAUri(text)) {
        vyn::SString resolved;
        if (vyn::SUrnResolver::ResolveUrn(vyn::SString(text), resolved)) {
            if (resolved.size() < sizeExpanded) {
                strcpy(newPath, resolved.c_str());
            } else {
                errno = ERANGE;
            }
            return newPath;
        }
    }
    std::string path = ExpandVariables(text);
    ExpandHome(path);
    strcpy(newPath, path.c_str());
    return newPath;
}

char* full_path_name(const char* text) {
    if (text[0] == '/') {
        return strdup(text);
    }
    vyn::SString directory;
    if (!vyn::VynGetCurrentDirectory(directory)) {
        perror("getcwd");
        directory = ".";
    }
    return strdup((directory + "/" + text).c_str());
}

char* get_rel_path(const char* path, const char* base) {
    if (!path || !base) {
        return nullptr;
    }
    if (vyn::VynIsAUri(path)) {
        return strdup(path);
    }
    std::string directory(base);
    std::replace(directory.begin(), directory.end(), '\\', '/');
    const size_t slash = directory.rfind('/');
    if (slash == std::string::npos) {
        return strdup(path);
    }
    directory.resize(slash + 1);
    std::string target(path);
    std::replace(target.begin(), target.end(), '\\', '/');
    return strdup(RelativeTo(directory, target).c_str());
}

char* name_unsuffix(char* text) {
    if (char* suffix = name_suffix(text)) {
        *suffix = '\0';
    }
    return text;
}

char* name_suffix(char* text) {
    char* dot = strrchr(text, '.');
    return dot && !strchr(dot, '/') ? dot : nullptr;
}

char* name_base(char* text) {
    char* slash = strrchr(name_unsuffix(text), '/');
    return slash ? slash + 1 : text;
}
