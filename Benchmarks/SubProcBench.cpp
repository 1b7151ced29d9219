// Starting a child and waiting for it, beside posix_spawn with the same two pipes: at the lowest and the
// highest descriptor limit, from a parent with little memory and from one that holds 512 MB.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "RunChild.h"
#include "SubProc.h"

namespace {

constexpr size_t ballastBytes = size_t{512} << 20;
constexpr size_t pieceBytes = 32768;  // fits the pipes, so that neither side waits for the other
constexpr size_t transferBytes = 1 << 20;

// Sets the descriptor limit, and fills memory, for one benchmark.
class CParent {
public:
    explicit CParent(benchmark::State& state) {
        getrlimit(RLIMIT_NOFILE, &m_limit);
        rlimit limit = m_limit;
        if (state.range(0) != 0) {
            limit.rlim_cur = static_cast<rlim_t>(state.range(0));
        } else {
            // Only a privileged process may go beyond its own maximum.
            std::ifstream("/proc/sys/fs/nr_open") >> limit.rlim_max;
            limit.rlim_cur = limit.rlim_max;
        }
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
            limit.rlim_cur = limit.rlim_max = m_limit.rlim_max;
            setrlimit(RLIMIT_NOFILE, &limit);
        }
        if (state.range(1) != 0) {
            m_ballast.reset(new char[ballastBytes]);
            memset(m_ballast.get(), 1, ballastBytes);
        }
        state.SetLabel(std::to_string(limit.rlim_cur) + " descriptors");
    }
    ~CParent() { setrlimit(RLIMIT_NOFILE, &m_limit); }

private:
    rlimit m_limit;
    std::unique_ptr<char[]> m_ballast;
};

// The peer: one child on two pipes by posix_spawn.
struct SSpawned {
    bool Launch(const char* program) {
        int output[2], input[2];
        if (pipe2(output, O_CLOEXEC) != 0 || pipe2(input, O_CLOEXEC) != 0) {
            return false;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], 0);
        posix_spawn_file_actions_adddup2(&actions, output[1], 1);
        posix_spawn_file_actions_adddup2(&actions, output[1], 2);
        posix_spawn_file_actions_addclosefrom_np(&actions, 3);
        char* argv[] = {const_cast<char*>(program), nullptr};
        const int result = posix_spawnp(&child, program, &actions, nullptr, argv, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(input[0]);
        close(output[1]);
        readFd = output[0];
        writeFd = input[1];
        return result == 0;
    }
    void Wait() {
        int status;
        close(writeFd);
        close(readFd);
        waitpid(child, &status, 0);
    }
    pid_t child;
    int readFd;
    int writeFd;
};

bool Launch(vyn::CSubProc& child, const char* program) {
    const char* argv[] = {program, nullptr};
    return child.launch(program, argv, nullptr, false) == 0;
}

void LaunchAndWait(benchmark::State& state) {
    const CParent parent(state);
    vyn::CSubProc child;
    for (auto _ : state) {
        if (!Launch(child, "/bin/true") || child.get_exit_status() != 0) {
            state.SkipWithError("no child");
            break;
        }
        child.reset();
    }
}

void RunChildToItsEnd(benchmark::State& state) {
    const CParent parent(state);
    vyn::SChildRequest request;
    request.program = "/bin/true";
    for (auto _ : state) {
        if (vyn::RunChild(request).end != vyn::eChildExited) {
            state.SkipWithError("no child");
            break;
        }
    }
}

void PosixSpawnAndWait(benchmark::State& state) {
    const CParent parent(state);
    SSpawned child;
    for (auto _ : state) {
        if (!child.Launch("/bin/true")) {
            state.SkipWithError("no child");
            break;
        }
        child.Wait();
    }
}

// Sends all bytes through a child that copies its input. False when one gets lost.
template <class Write, class Read>
bool Transfer(Write write, Read read) {
    static char piece[pieceBytes];
    for (size_t sent = 0; sent < transferBytes; sent += pieceBytes) {
        if (write(piece, pieceBytes) != static_cast<long>(pieceBytes)) {
            return false;
        }
        for (size_t got = 0; got < pieceBytes;) {
            const long n = read(piece, pieceBytes);
            if (n <= 0) {
                return false;
            }
            got += static_cast<size_t>(n);
        }
    }
    return true;
}

void LaunchCat(benchmark::State& state) {
    vyn::CSubProc child;
    for (auto _ : state) {
        if (!Launch(child, "/bin/cat") || !Transfer([&](const char* b, unsigned n) { return child.write(b, n); },
                                                    [&](char* b, unsigned n) { return child.read(b, n); })) {
            state.SkipWithError("lost bytes");
            break;
        }
        child.close_write();
        child.get_exit_status();
        child.reset();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(transferBytes));
}

void PosixSpawnCat(benchmark::State& state) {
    SSpawned child;
    for (auto _ : state) {
        if (!child.Launch("/bin/cat") || !Transfer([&](const char* b, size_t n) { return write(child.writeFd, b, n); },
                                                   [&](char* b, size_t n) { return read(child.readFd, b, n); })) {
            state.SkipWithError("lost bytes");
            break;
        }
        child.Wait();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(transferBytes));
}

// On a busy machine the fastest repetition says most.
double Fastest(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

// Descriptor limit, 0 for the highest allowed; whether the parent holds 512 MB.
void AllParents(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"limit", "large"})->ArgsProduct({{1024, 0}, {0, 1}});
    benchmark->UseRealTime()->Unit(benchmark::kMicrosecond)->ComputeStatistics("fastest", Fastest);
}

}  // namespace

BENCHMARK(LaunchAndWait)->Apply(AllParents);
BENCHMARK(RunChildToItsEnd)->Apply(AllParents);
BENCHMARK(PosixSpawnAndWait)->Apply(AllParents);
BENCHMARK(LaunchCat)->UseRealTime()->Unit(benchmark::kMicrosecond)->ComputeStatistics("fastest", Fastest);
BENCHMARK(PosixSpawnCat)->UseRealTime()->Unit(benchmark::kMicrosecond)->ComputeStatistics("fastest", Fastest);
