#pragma once

/// \file
/// What the fuzz targets share: the input as text, whole files, and a condition that ends the run.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace vyn::fuzz {

inline void Require(bool condition, const char* what) {
    if (!condition) {
        fprintf(stderr, "%s\n", what);
        abort();
    }
}

inline std::string Text(const uint8_t* data, size_t size) {
    return std::string(data, data + size);
}

/// Splits the input at its first line feed.
inline std::pair<std::string, std::string> TwoTexts(const uint8_t* data, size_t size) {
    const std::string text = Text(data, size);
    const size_t end = text.find('\n');
    return {text.substr(0, end), end == std::string::npos ? std::string() : text.substr(end + 1)};
}

inline void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// A directory that goes with the process, when that ends well.
class Directory {
public:
    Directory() {
        std::string path = (std::filesystem::temp_directory_path() / "vynfuzzXXXXXX").string();
        m_path = mkdtemp(&path[0]);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace vyn::fuzz
