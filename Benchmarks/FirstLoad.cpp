// The first load of a process: FirstLoad rg|options|glib FILE VALUES prints nanoseconds, and the bytes of heap that the
// loaded file takes.

#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "BenchData.h"
#include "RgFile.h"
#include "VynOption.h"

#ifdef VYN_BENCH_GLIB
#include <glib.h>
#endif

namespace {

size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// \return 0, or 1 when the load failed. What was loaded stays: its release isn't measured.
template <class Load>
int Measure(Load load) {
    const size_t heap = HeapInUse();
    const auto start = std::chrono::steady_clock::now();
    const bool loaded = load();
    const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - start;
    printf("%lld %zu\n", static_cast<long long>(time.count()), HeapInUse() - heap);
    fflush(stdout);
    return loaded ? 0 : 1;
}

int Run(const char* kind, const char* path, int values) {
    if (strcmp(kind, "rg") == 0) {
        return Measure([=] { return (new vyn::CRgFile)->Load(path) == 0; });
    }
    if (strcmp(kind, "options") == 0) {
        const auto* tables = new bench::Tables(values);
        auto* manager = new vyn::COptionManager;
        tables->Declare(*manager);
        return Measure([=] { return manager->Load(path) != nullptr; });
    }
#ifdef VYN_BENCH_GLIB
    if (strcmp(kind, "glib") == 0) {
        return Measure(
            [=] { return g_key_file_load_from_file(g_key_file_new(), path, G_KEY_FILE_NONE, nullptr) != 0; });
    }
#endif
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    const int result = argc == 4 ? Run(argv[1], argv[2], atoi(argv[3])) : 2;
    _exit(result);
}
