// What a process pays once: its start with the library against the same program without, and its first load of a file
// with the heap that this takes, beside GLib. The counter "heap_per_value" counts bytes.

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "BenchData.h"

namespace {

void Start(benchmark::State& state, const char* path) {
    for (auto _ : state) {
        char* arguments[] = {const_cast<char*>(path), nullptr};
        pid_t child;
        int status;
        if (posix_spawn(&child, path, nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0) {
            state.SkipWithError("start failed");
            break;
        }
    }
}

void BM_StartPlain(benchmark::State& state) {
    Start(state, StartPlain_PATH);
}
BENCHMARK(BM_StartPlain)->UseRealTime()->Unit(benchmark::kMicrosecond);

void BM_StartLinked(benchmark::State& state) {
    Start(state, StartLinked_PATH);
}
BENCHMARK(BM_StartLinked)->UseRealTime()->Unit(benchmark::kMicrosecond);

void FirstLoad(benchmark::State& state, const char* kind, const char* quote) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), quote));
    const std::string command =
        std::string(FirstLoad_PATH) + " " + kind + " " + text.Path() + " " + std::to_string(state.range(0));
    size_t heap = 0;
    for (auto _ : state) {
        FILE* output = popen(command.c_str(), "r");
        long long nanoseconds = 0;
        const int read = output ? fscanf(output, "%lld %zu", &nanoseconds, &heap) : 0;
        if (!output || pclose(output) != 0 || read != 2) {
            state.SkipWithError("load failed");
            break;
        }
        state.SetIterationTime(static_cast<double>(nanoseconds) / 1e9);
    }
    bench::PerValue(state);
    state.counters["heap_per_value"] = static_cast<double>(heap) / static_cast<double>(state.range(0));
}

// Each iteration is a process.
void FirstLoads(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgsProduct({bench::kSizes})->Iterations(10)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void BM_RgFirstLoad(benchmark::State& state) {
    FirstLoad(state, "rg", "\"");
}
BENCHMARK(BM_RgFirstLoad)->Apply(FirstLoads);

void BM_OptionFirstLoad(benchmark::State& state) {
    FirstLoad(state, "options", "\"");
}
BENCHMARK(BM_OptionFirstLoad)->Apply(FirstLoads);

#ifdef VYN_BENCH_GLIB

void BM_GKeyFileFirstLoad(benchmark::State& state) {
    FirstLoad(state, "glib", "");
}
BENCHMARK(BM_GKeyFileFirstLoad)->Apply(FirstLoads);

#endif

}  // namespace
