#include "VynHttp.h"

#include <algorithm>
#include <cstring>
#include <iostream>

#include "Text/CharClass_p.h"

namespace vyn {

namespace {

// The searches of requests and URLs end at a zero byte.
size_t FindBeforeNul(const std::string& text, char c) {
    const char* found = strchr(text.c_str(), c);
    return found ? static_cast<size_t>(found - text.c_str()) : std::string::npos;
}

void DropLineEndByte(std::string& text) {
    if (!text.empty() && (text.back() == '\r' || text.back() == '\n')) {
        text.pop_back();
    }
}

// Drops a version as "HTTP/1.1" with the blank before it. A text that is nothing else stays.
void DropVersion(std::string& request) {
    constexpr size_t kVersion = 8;
    if (request.length() > kVersion && request.compare(request.length() - kVersion, 7, "HTTP/1.") == 0) {
        request.resize(request.length() - kVersion - 1);
    }
}

void AddParameter(const std::string& piece, std::map<std::string, std::string>& params) {
    const size_t equals = FindBeforeNul(piece, '=');
    std::string value = equals == std::string::npos ? piece : piece.substr(equals + 1);
    // Not left to the decoder, which would take a "+" behind a "%" for a digit.
    std::replace(value.begin(), value.end(), '+', ' ');
    UTF8String decoded;
    DecodeAgentURL(value, decoded);
    params.emplace(piece.substr(0, equals), decoded);
}

}  // namespace

std::string TruncAtNewLine(const std::string& text) {
    const size_t end = text.find_first_of("\r\n");
    return end == 0 ? text : text.substr(0, end);
}

bool RemoveProtocolFromUrl(const std::string& url, std::string& protocol, std::string& rest) {
    const size_t colon = FindBeforeNul(url, ':');
    if (colon == std::string::npos || url.compare(colon + 1, 2, "//") != 0) {
        rest = url;
        return false;
    }
    protocol = url.substr(0, colon);
    rest = url.substr(colon + 3);
    return true;
}

void SplitGetReq(std::string request, std::string& path, std::map<std::string, std::string>& params) {
    DropLineEndByte(request);
    DropLineEndByte(request);
    DropVersion(request);
    const size_t question = FindBeforeNul(request, '?');
    path = request.substr(0, question);
    if (question == std::string::npos) {
        return;
    }
    request += '&';
    const char* piece = request.c_str() + question + 1;
    while (const char* end = strchr(piece, '&')) {
        AddParameter(std::string(piece, end), params);
        piece = end + 1;
    }
}

void SplitUrl(const std::string& url, std::string& protocol, std::string& host, std::string& path) {
    RemoveProtocolFromUrl(url, protocol, host);
    if (protocol == "http") {
        const size_t slash = FindBeforeNul(host, '/');
        path = slash == std::string::npos ? "/" : host.substr(slash);
        host = host.substr(0, slash);
    } else if (protocol == "file") {
        path = host;
        std::replace(path.begin(), path.end(), '\\', '/');
        host.clear();
    } else {
        std::cerr << "unknown protocol in SplitUrl: '" << protocol << "'\n";
    }
}

std::string ReplaceInStr(const std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) {
        std::string result = to;
        for (const char c : text) {
            result += c;
            result += to;
        }
        return result;
    }
    std::string result;
    size_t start = 0;  // where a match may begin
    for (size_t i = 0; i < text.length(); ++i) {
        result += text[i];
        if (text[i] != from.back() || result.length() < start + from.length()) {
            continue;
        }
        const size_t pos = result.length() - from.length();
        if (result.compare(pos, from.length(), from) != 0) {
            continue;
        }
        result.replace(pos, from.length(), to);
        if (result.length() + 1 < from.length()) {
            return result.append(text, i + 1);
        }
        start = result.length() + 1 - from.length();
    }
    return result;
}

void ToUpper(std::string& text) {
    detail::ToUpper(text);
}

void ToLower(std::string& text) {
    detail::ToLower(text);
}

}  // namespace vyn
