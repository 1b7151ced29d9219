// Parsing, dumping and reading Rg files, beside GLib's GKeyFile on the same content. The counter "per_value"
// is the time of one value: it should be the same for every size.

#include <benchmark/benchmark.h>

#include <vector>

#include "BenchData.h"
#include "RgFile.h"

#ifdef VYN_BENCH_GLIB
#include <glib.h>
#endif

namespace {

const bool warmHeap = bench::KeepHeapWarm();

// Section and name of every value, so that their making isn't measured.
struct Addresses {
    explicit Addresses(int values) {
        for (int i = 0; i < values; ++i) {
            sections.push_back(bench::Section(i));
            names.push_back(bench::Name(i));
        }
    }
    std::vector<std::string> sections;
    std::vector<std::string> names;
};

void BM_RgParse(benchmark::State& state) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), "\""));
    for (auto _ : state) {
        vyn::CRgFile file;
        if (file.Load(text.Path()) != 0) {
            state.SkipWithError("load failed");
            break;
        }
    }
    bench::PerValue(state);
}
BENCHMARK(BM_RgParse)->Apply(bench::Sizes);

void BM_RgParseAndDump(benchmark::State& state) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), "\""));
    const bench::TemporaryFile copy("");
    for (auto _ : state) {
        vyn::CRgFile file;
        if (file.Load(text.Path()) != 0 || file.Save(copy.Path()) != 0) {
            state.SkipWithError("load or save failed");
            break;
        }
    }
    bench::PerValue(state);
}
BENCHMARK(BM_RgParseAndDump)->Apply(bench::Sizes);

void BM_RgLookup(benchmark::State& state) {
    const int values = static_cast<int>(state.range(0));
    const bench::TemporaryFile text(bench::Text(values, "\""));
    const Addresses addresses(values);
    vyn::CRgFile file;
    file.Load(text.Path());
    for (auto _ : state) {
        for (size_t i = 0; i < addresses.names.size(); ++i) {
            benchmark::DoNotOptimize(file.GetValue(addresses.sections[i].c_str(), addresses.names[i].c_str()));
        }
    }
    bench::PerValue(state);
}
BENCHMARK(BM_RgLookup)->Apply(bench::Sizes);

#ifdef VYN_BENCH_GLIB

void BM_GKeyFileParse(benchmark::State& state) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), ""));
    for (auto _ : state) {
        GKeyFile* file = g_key_file_new();
        if (!g_key_file_load_from_file(file, text.Path(), G_KEY_FILE_NONE, nullptr)) {
            state.SkipWithError("load failed");
        }
        g_key_file_free(file);
    }
    bench::PerValue(state);
}
BENCHMARK(BM_GKeyFileParse)->Apply(bench::Sizes);

void BM_GKeyFileParseAndDump(benchmark::State& state) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), ""));
    const bench::TemporaryFile copy("");
    for (auto _ : state) {
        GKeyFile* file = g_key_file_new();
        if (!g_key_file_load_from_file(file, text.Path(), G_KEY_FILE_NONE, nullptr)) {
            state.SkipWithError("load failed");
        }
        gsize length = 0;
        gchar* data = g_key_file_to_data(file, &length, nullptr);
        FILE* out = fopen(copy.Path(), "w");
        fwrite(data, 1, length, out);
        fclose(out);
        g_free(data);
        g_key_file_free(file);
    }
    bench::PerValue(state);
}
BENCHMARK(BM_GKeyFileParseAndDump)->Apply(bench::Sizes);

void BM_GKeyFileLookup(benchmark::State& state) {
    const int values = static_cast<int>(state.range(0));
    const bench::TemporaryFile text(bench::Text(values, ""));
    const Addresses addresses(values);
    GKeyFile* file = g_key_file_new();
    g_key_file_load_from_file(file, text.Path(), G_KEY_FILE_NONE, nullptr);
    for (auto _ : state) {
        for (size_t i = 0; i < addresses.names.size(); ++i) {
            gchar* value =
                g_key_file_get_value(file, addresses.sections[i].c_str(), addresses.names[i].c_str(), nullptr);
            benchmark::DoNotOptimize(value);
            g_free(value);
        }
    }
    g_key_file_free(file);
    bench::PerValue(state);
}
BENCHMARK(BM_GKeyFileLookup)->Apply(bench::Sizes);

#endif

}  // namespace
