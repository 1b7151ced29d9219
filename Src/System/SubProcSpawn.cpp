#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "SubProc.h"
#include "System/SubProc_p.h"
#include "Text/Environment_p.h"

namespace vyn {

using detail::SSpawn;

namespace {

constexpr char libraryPath[] = "LD_LIBRARY_PATH";
constexpr char savedLibraryPath[] = "M7_SAVED_LD_LIBRARY_PATH";
constexpr int firstPrivateFd = STDERR_FILENO + 1;
constexpr int exitNotExecuted = 1;

bool IsVariable(const char* entry, const std::string& name) {
    return strncmp(entry, name.c_str(), name.length()) == 0 && entry[name.length()] == '=';
}

void SetHandledSignalsToDefault() {
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action;
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN) {
            action.sa_handler = SIG_DFL;
            action.sa_flags = 0;
            sigaction(number, &action, nullptr);
        }
    }
}

// Closes all from the first private one on but one. The end counts where the system can't close a range.
void CloseDescriptors(int end, int spared) {
    const unsigned first = firstPrivateFd, last = ~0U;
    const unsigned gap = spared == -1 ? last : static_cast<unsigned>(spared);
    const bool closed =
        (gap == first || close_range(first, gap - 1, 0) == 0) && (gap == last || close_range(gap + 1, last, 0) == 0);
    for (int fd = closed ? end : firstPrivateFd; fd < end; ++fd) {
        if (fd != spared) {
            close(fd);
        }
    }
}

// What perror prints, by calls that are safe in the child.
void PrintError(const char* call, int error) {
    const char* reason = strerrordesc_np(error);
    const char* const parts[] = {call, ": ", reason ? reason : "Unknown error", "\n"};
    iovec text[4];
    for (size_t i = 0; i < 4; ++i) {
        text[i] = {const_cast<char*>(parts[i]), strlen(parts[i])};
    }
    if (writev(STDERR_FILENO, text, 4) < 0) {
        return;  // nobody is left to tell
    }
}

// The name of the call that failed, null when there is none.
const char* SetUp(const SSpawn& spawn) {
    if (spawn.leadsGroup && setpgid(0, 0) != 0) {
        return "setpgid";
    }
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (spawn.streams[fd] != -1 && dup2(spawn.streams[fd], fd) == -1) {
            return "dup2";
        }
    }
    return spawn.directory && chdir(spawn.directory) != 0 ? "chdir" : nullptr;
}

[[noreturn]] void Fail(const SSpawn& spawn, const detail::SSpawnFailure& failure) {
    if (spawn.report == -1) {
        PrintError(failure.call, failure.error);
    } else if (write(spawn.report, &failure, sizeof failure) < 0) {
        _exit(exitNotExecuted);  // nobody is left to tell
    }
    _exit(exitNotExecuted);
}

// Runs in the memory, and on the stack, of a parent that waits: only async-signal-safe calls, no allocation,
// no return.
[[noreturn]] void Execute(const SSpawn& spawn, int descriptorEnd, const sigset_t& mask) {
    SetHandledSignalsToDefault();
    if (const char* call = SetUp(spawn)) {
        Fail(spawn, {call, errno});
    }
    if (descriptorEnd > firstPrivateFd) {
        CloseDescriptors(descriptorEnd, spawn.report);
    }
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    execvpe(spawn.file, spawn.argv, spawn.environment);
    Fail(spawn, {"execvp", errno});
}

}  // namespace

// vfork copies no page tables, so that a large tool starts a child as fast as a small one. The child shares
// the memory until it executes the program: signals are blocked until it has no handler of the parent left,
// and the thread isn't cancelled meanwhile, since the child would run into that too.
pid_t detail::Spawn(const SSpawn& spawn) {
    const CCancelOff cancelOff;
    const int descriptorEnd = ChildKeepsDescriptors() ? 0 : getdtablesize();
    sigset_t all, mask;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &mask);
    const pid_t child = vfork();
    if (child == 0) {
        // NOLINTNEXTLINE(clang-analyzer-unix.Vfork): all that it calls is safe there
        Execute(spawn, descriptorEnd, mask);
    }
    const int error = errno;
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    errno = error;
    return child;
}

detail::CEnvironment::CEnvironment(const std::vector<EnvironmentChange>& changes) {
    for (char** entry = environ; entry && *entry; ++entry) {
        const auto changed = [&](const EnvironmentChange& change) { return IsVariable(*entry, change.first); };
        if (std::none_of(changes.begin(), changes.end(), changed)) {
            m_variables.push_back(*entry);
        }
    }
    m_added.reserve(changes.size());  // their places are referred to
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        const auto& [name, value] = *change;
        const auto isSame = [&name = name](const EnvironmentChange& later) { return later.first == name; };
        if (value && std::none_of(change + 1, changes.end(), isSame)) {
            m_variables.push_back(m_added.emplace_back(name + "=" + *value).data());
        }
    }
    m_variables.push_back(nullptr);
}

bool detail::ChildKeepsDescriptors() {
    return detail::Environment("KOPRAN_NO_CLOSE") != nullptr;
}

void CSubProc::do_restore_ld_library_path() {
    if (const char* saved = getenv(savedLibraryPath)) {
        const std::string entry = std::string(libraryPath) + "=" + saved;
        putenv(strdup(entry.c_str()));  // belongs to the environment from now on
    }
}  // NOLINT(clang-analyzer-unix.Malloc)

int local_spawn(const char* file, const char* const* argv, bool restore) {
    const char* const saved = restore ? getenv(savedLibraryPath) : nullptr;
    std::optional<detail::CEnvironment> changed;
    if (saved) {
        changed.emplace(std::vector<detail::EnvironmentChange>{{libraryPath, saved}});
    }
    const int child = detail::Spawn({file, const_cast<char* const*>(argv), changed ? changed->Get() : environ});
    if (child == -1) {
        perror("fork");
    }
    return child;
}

int local_spawnw(const char* file, char* const* argv, bool restore) {
    return local_spawn(file, argv, restore);
}

}  // namespace vyn
