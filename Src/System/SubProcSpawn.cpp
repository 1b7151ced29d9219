#include <pthread.h>
#include <sys/uio.h>
#include <unistd.h>

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

namespace {

constexpr char libraryPathIs[] = "LD_LIBRARY_PATH=";
constexpr int firstPrivateFd = STDERR_FILENO + 1;

// "LD_LIBRARY_PATH=" and the saved value, empty when none is saved.
std::string SavedLibraryPath() {
    const char* saved = detail::Environment("M7_SAVED_LD_LIBRARY_PATH");
    return saved ? std::string(libraryPathIs) + saved : std::string();
}

// The environment of this process with entry in place of the variable of its name.
std::vector<char*> EnvironmentWith(std::string& entry) {
    std::vector<char*> result;
    bool replaced = false;
    for (char** variable = environ; variable && *variable; ++variable) {
        const bool same = !replaced && strncmp(*variable, libraryPathIs, strlen(libraryPathIs)) == 0;
        result.push_back(same ? entry.data() : *variable);
        replaced = replaced || same;
    }
    if (!replaced) {
        result.push_back(entry.data());
    }
    result.push_back(nullptr);
    return result;
}

// All that the child needs, made before it exists.
struct SChildPlan {
    const char* file;
    char* const* argv;
    char* const* environment;
    int descriptorEnd;  // descriptors from 3 to this one, exclusive, are closed
    sigset_t mask;
};

void SetHandledSignalsToDefault() {
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action;
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
            action.sa_handler != SIG_IGN) {
            action.sa_handler = SIG_DFL;
            action.sa_flags = 0;
            sigaction(number, &action, nullptr);
        }
    }
}

void CloseDescriptors(int end) {
    if (end <= firstPrivateFd || close_range(firstPrivateFd, ~0U, 0) == 0) {
        return;
    }
    for (int fd = firstPrivateFd; fd < end; ++fd) {
        close(fd);
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

// Runs in the memory, and on the stack, of a parent that waits: only async-signal-safe calls, no allocation,
// no return.
[[noreturn]] void RunChild(const SChildPlan& plan) {
    SetHandledSignalsToDefault();
    CloseDescriptors(plan.descriptorEnd);
    sigprocmask(SIG_SETMASK, &plan.mask, nullptr);
    execvpe(plan.file, plan.argv, plan.environment);
    PrintError("execvp", errno);
    _exit(1);
}

// vfork copies no page tables, so that a large tool starts a child as fast as a small one. The child shares
// the memory until it executes the program: signals are blocked until it has no handler of the parent left,
// and the thread isn't cancelled meanwhile, since the child would run into that too.
int Start(SChildPlan& plan) {
    const detail::CCancelOff cancelOff;
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &plan.mask);
    const pid_t child = vfork();
    if (child == 0) {
        RunChild(plan);  // NOLINT(clang-analyzer-unix.Vfork): all that it calls is safe there
    }
    const int error = errno;
    pthread_sigmask(SIG_SETMASK, &plan.mask, nullptr);
    errno = error;
    return child;
}

}  // namespace

bool detail::ChildKeepsDescriptors() {
    return detail::Environment("KOPRAN_NO_CLOSE") != nullptr;
}

void CSubProc::do_restore_ld_library_path() {
    const std::string entry = SavedLibraryPath();
    if (!entry.empty()) {
        putenv(strdup(entry.c_str()));  // belongs to the environment from now on
    }
}  // NOLINT(clang-analyzer-unix.Malloc)

int local_spawn(const char* file, const char* const* argv, bool restore) {
    std::string libraryPath = restore ? SavedLibraryPath() : std::string();
    std::vector<char*> changedEnvironment;
    if (!libraryPath.empty()) {
        changedEnvironment = EnvironmentWith(libraryPath);
    }
    SChildPlan plan;
    plan.file = file;
    plan.argv = const_cast<char* const*>(argv);
    plan.environment = changedEnvironment.empty() ? environ : changedEnvironment.data();
    plan.descriptorEnd = detail::ChildKeepsDescriptors() ? 0 : getdtablesize();
    const int child = Start(plan);
    if (child == -1) {
        perror("fork");
    }
    return child;
}

int local_spawnw(const char* file, char* const* argv, bool restore) {
    return local_spawn(file, argv, restore);
}

}  // namespace vyn
