// The ways to print.

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "Tool.h"

namespace tool {

namespace {

// The lines of a text, each with its line feed.
std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t next = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, next - at));
        at = next;
    }
    return lines;
}

struct DiffLine {
    char sign;
    const std::string* text;
};

// What becomes of the lines, by their longest common subsequence; where that would be a table beyond reason, the old
// ones go and the new ones come.
std::vector<DiffLine> Compare(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    size_t head = 0;
    while (head < std::min(a.size(), b.size()) && a[head] == b[head]) {
        ++head;
    }
    size_t tail = 0;
    while (tail < std::min(a.size(), b.size()) - head && a[a.size() - 1 - tail] == b[b.size() - 1 - tail]) {
        ++tail;
    }
    const size_t n = a.size() - head - tail;
    const size_t m = b.size() - head - tail;
    const bool isComparable = n <= 4000 && m <= 4000;
    std::vector<std::vector<int>> common;
    if (isComparable) {
        common.assign(n + 1, std::vector<int>(m + 1));
        for (size_t i = n; i-- > 0;) {
            for (size_t j = m; j-- > 0;) {
                common[i][j] = a[head + i] == b[head + j] ? common[i + 1][j + 1] + 1
                                                          : std::max(common[i + 1][j], common[i][j + 1]);
            }
        }
    }
    std::vector<DiffLine> lines;
    for (size_t i = 0; i < head; ++i) {
        lines.push_back({' ', &a[i]});
    }
    size_t i = 0;
    size_t j = 0;
    while (i < n || j < m) {
        if (isComparable && i < n && j < m && a[head + i] == b[head + j]) {
            lines.push_back({' ', &a[head + i++]});
            ++j;
        } else if (i < n && (j == m || !isComparable || common[i + 1][j] >= common[i][j + 1])) {
            lines.push_back({'-', &a[head + i++]});
        } else {
            lines.push_back({'+', &b[head + j++]});
        }
    }
    for (size_t k = a.size() - tail; k < a.size(); ++k) {
        lines.push_back({' ', &a[k]});
    }
    return lines;
}

std::string Range(size_t first, size_t count) {
    return std::to_string(count == 0 ? first : first + 1) + (count == 1 ? "" : "," + std::to_string(count));
}

}  // namespace

std::string ErrorText(int error) {
    return std::generic_category().message(error);
}

std::string OneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else {
            line += c;
        }
    }
    return line;
}

std::string Json(const std::string& text) {
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            json += std::string("\\") + c;
        } else if (static_cast<unsigned char>(c) < ' ') {
            char code[8];
            snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
            json += code;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::string Bold(const std::string& text) {
    const bool isColoured = isatty(STDOUT_FILENO) && !getenv("NO_COLOR");
    return isColoured ? "\x1b[1m" + text + "\x1b[0m" : text;
}

void PrintFindings(const std::string& path, const std::vector<vyn::Finding>& findings, bool json,
                   std::vector<std::string>& objects) {
    for (const vyn::Finding& finding : findings) {
        const std::string line = std::to_string(finding.line);
        const std::string column = std::to_string(finding.column);
        if (json) {
            std::string object = "{\"file\": " + Json(path);
            object.append(", \"line\": ").append(line).append(", \"column\": ").append(column);
            object.append(", \"code\": ").append(Json(vyn::GetFindingName(finding.code)));
            objects.push_back(object.append(", \"text\": ").append(Json(finding.text)).append("}"));
        } else {
            printf("%s:%s:%s: %s\n", path.c_str(), line.c_str(), column.c_str(), OneLine(finding.text).c_str());
        }
    }
}

void PrintJson(const std::vector<std::string>& objects) {
    printf("[");
    for (size_t i = 0; i < objects.size(); ++i) {
        printf("%s%s", i == 0 ? "\n" : ",\n", objects[i].c_str());
    }
    printf("%s]\n", objects.empty() ? "" : "\n");
}

std::string UnifiedDiff(const std::string& path, const std::string& before, const std::string& after) {
    if (before == after) {
        return std::string();
    }
    constexpr size_t context = 3;
    const std::vector<std::string> old = Lines(before);
    const std::vector<std::string> now = Lines(after);
    const std::vector<DiffLine> lines = Compare(old, now);
    std::string diff = "--- " + path + "\n+++ " + path + "\n";
    size_t oldLine = 0;
    size_t newLine = 0;
    size_t done = 0;
    for (size_t at = 0; at < lines.size(); ++at) {
        if (lines[at].sign == ' ') {
            continue;
        }
        // A hunk runs on as long as changes are near.
        const size_t first = std::max(done, at < context ? 0 : at - context);
        size_t last = at;
        for (size_t i = at; i < lines.size() && i <= last + 2 * context; ++i) {
            last = lines[i].sign == ' ' ? last : i;
        }
        last = std::min(lines.size(), last + context + 1);
        oldLine += first - done;
        newLine += first - done;
        std::string hunk;
        size_t oldCount = 0;
        size_t newCount = 0;
        for (size_t i = first; i < last; ++i) {
            oldCount += lines[i].sign != '+' ? 1 : 0;
            newCount += lines[i].sign != '-' ? 1 : 0;
            hunk += lines[i].sign + *lines[i].text;
            if (hunk.back() != '\n') {
                hunk += "\n\\ No newline at end of file\n";
            }
        }
        diff += "@@ -" + Range(oldLine, oldCount) + " +" + Range(newLine, newCount) + " @@\n" + hunk;
        oldLine += oldCount;
        newLine += newCount;
        done = last;
        at = last - 1;
    }
    return diff;
}

}  // namespace tool
