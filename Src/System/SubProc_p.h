#pragma once

/// \file
/// What the sources of the child processes share.

#include <pthread.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vyn::detail {

/// Keeps the calling thread from being cancelled for the life of the object: between the first and the last
/// step of a launch the descriptors of the whole process are changed.
class CCancelOff {
public:
    CCancelOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nState); }
    CCancelOff(const CCancelOff&) = delete;
    CCancelOff& operator=(const CCancelOff&) = delete;
    ~CCancelOff() { pthread_setcancelstate(m_nState, nullptr); }

private:
    int m_nState;
};

/// \return whether the environment asks that children get all descriptors of this process.
bool ChildKeepsDescriptors();

/// A variable and its value; without one it is unset.
using EnvironmentChange = std::pair<std::string, std::optional<std::string>>;

/// The environment of this process, changed. Refers to the texts of that environment.
class CEnvironment {
public:
    /// \param changes the last of a variable counts.
    explicit CEnvironment(const std::vector<EnvironmentChange>& changes);
    /// \return for execve; lives as long as the object.
    char* const* Get() { return m_variables.data(); }

private:
    std::vector<std::string> m_added;
    std::vector<char*> m_variables;
};

/// What to start, and what the child gets in place of what this process has.
struct SSpawn {
    const char* file;  ///< looked for in PATH when it has no "/"
    char* const* argv;
    char* const* environment;
    bool leadsGroup = false;          ///< of processes
    int streams[3] = {-1, -1, -1};    ///< for the descriptors 0 to 2; not one of these; -1 to inherit
    const char* directory = nullptr;  ///< null to inherit
    int report = -1;                  ///< gets an SSpawnFailure, or the end of the file by close-on-exec
};

/// The call that failed in a child, and its errno. The text lies in this library.
struct SSpawnFailure {
    const char* call;
    int error;
};

/// Starts a child. One that can't execute its program says so on `report`, else on standard error, and exits with 1.
/// \return its id; -1 with errno.
pid_t Spawn(const SSpawn& spawn);

}  // namespace vyn::detail
