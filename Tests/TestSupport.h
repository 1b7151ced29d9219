#pragma once

/// \file
/// What tests share: tables, a directory of their own, whole files as text, texts to free, what arrives on vynerr, a
/// full system, signals that interrupt.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "VynErrOut.h"
#include "ZemAPICommon.h"

namespace vyn::test {

/// The rows of a table.
template <class... Fields>
using Rows = std::vector<std::tuple<Fields...>>;

/// A directory that goes with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string path = (std::filesystem::temp_directory_path() / "vyntestXXXXXX").string();
        m_path = mkdtemp(&path[0]);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
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

/// \return the number of open descriptors, always one too many.
inline long OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// \return the number that the next descriptor gets.
inline int LowestFreeDescriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

/// Frees the text. \return a copy of it.
inline std::string TakeOver(char* text) {
    const std::string copy(text);
    free(text);
    return copy;
}

/// Gathers what arrives on vynerr.
struct Reports : k4::IMessageOutputHandler {
    Reports() { vynerr.PushOutput(this); }
    ~Reports() override { vynerr.PopOutput(); }
    bool OnMessage(const std::string& message) override {
        text += message;
        return true;
    }
    void OnFlush() override {}
    std::string Take() { return std::exchange(text, ""); }
    std::string text;
};

/// Runs a shell command, whatever signals come. \return what it wrote to its standard output.
inline std::string RunCommand(const std::string& command, int& status) {
    const TemporaryDirectory directory;
    status = system(("(" + command + ") >" + directory / "out").c_str());
    return ReadText(directory / "out");
}

/// Calls \p f. \return what it wrote to the error output.
template <class F>
std::string ErrorOutputOf(F f) {
    testing::internal::CaptureStderr();
    f();
    return testing::internal::GetCapturedStderr();
}

/// Lets no file grow beyond a number of bytes, as on a full disk, while the object lives.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : m_handler(signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_saved);
        const rlimit full = {bytes, m_saved.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        signal(SIGXFSZ, m_handler);
    }

private:
    void (*const m_handler)(int);
    rlimit m_saved;
};

/// Makes the system refuse a further process or thread, and ends this one with 0 when \p check holds.
inline void WithoutProcesses(bool (*check)()) {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_NPROC, &none);
    // The limit isn't one to root.
    const bool limited = geteuid() != 0 || setresuid(65534, 65534, 65534) == 0;
    _exit(limited && check() ? 0 : 1);
}

/// Interrupts what waits in the system each few milliseconds, for as long as the object lives. The fifth signal
/// makes come true what is waited for.
class Interruptions {
public:
    explicit Interruptions(std::function<void()> fulfil) {
        m_fulfil = std::move(fulfil);
        m_count = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) {
            if (++m_count == 5) {
                m_fulfil();
            }
        };
        sigaction(SIGALRM, &action, nullptr);
        SetTimer(3000);
    }
    ~Interruptions() { SetTimer(0); }

private:
    static void SetTimer(long microseconds) {
        const itimerval often = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    static inline std::function<void()> m_fulfil;
    static inline volatile sig_atomic_t m_count;
};

}  // namespace vyn::test
