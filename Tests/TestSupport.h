#pragma once

/// \file
/// What tests share: a directory of their own, and whole files as text.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vyn::test {

/// A directory that goes with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string path = (std::filesystem::temp_directory_path() / "vyntestXXXXXX").string();
        m_path = mkdtemp(&path[0]);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

inline void WriteText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace vyn::test
