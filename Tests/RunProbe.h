#pragma once

/// \file
/// Starts a probe program with an environment of its own and gathers what it wrote.

#include "TestSupport.h"

namespace vyn::test {

/// \return \p text with each "@" replaced by the path of the directory.
inline std::string At(const TemporaryDirectory& directory, const std::string& text) {
    std::string result;
    for (char c : text) {
        result += c == '@' ? directory.Path() : std::string(1, c);
    }
    return result;
}

struct ProbeResult {
    int status;  // as of the shell, which reports a signal too
    std::string out, err;
};

/// Runs a shell command of a probe in `directory`, with nothing in its environment but `environment`, words
/// of the form NAME=value. "@" stands for the directory in both.
inline ProbeResult RunProbe(const TemporaryDirectory& directory, const std::string& environment,
                            const std::string& command) {
    const std::string line = "cd @ && env -i " + environment + " " VYN_PROBE_DIR "/" + command + " >@/out 2>@/err";
    const int status = system(At(directory, line).c_str());
    return {status, ReadText(directory / "out"), ReadText(directory / "err")};
}

}  // namespace vyn::test
