// Loading an option file, looking values up through a stack of three, and saving one changed value incrementally: with
// the default, which waits for the disk, without the wait, in memory, and the same by GLib. The saves to the disk go to
// the directory VYN_BENCH_DIR. The counter "per_value" is the time of one value: it should be the same for every size.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "BenchData.h"
#include "VynOption.h"

#ifdef VYN_BENCH_GLIB
#include <glib.h>
#endif

namespace {

const bool warmHeap = bench::KeepHeapWarm();

// The tables are declared once: a tool does so at its start.
void BM_OptionLoad(benchmark::State& state) {
    const int values = static_cast<int>(state.range(0));
    const bench::Tables tables(values);
    const bench::TemporaryFile text(bench::Text(values, "\""));
    vyn::COptionManager manager;
    tables.Declare(manager);
    for (auto _ : state) {
        vyn::COptionFile* file = manager.Load(text.Path());
        if (!file) {
            state.SkipWithError("load failed");
            break;
        }
        manager.RemoveFile(file);
        delete file;
    }
    bench::PerValue(state);
}
BENCHMARK(BM_OptionLoad)->Apply(bench::Sizes);

// Where a value stands in a stack of three files. Each kind has a quarter of the values.
enum Kind { eTop, eBottom, eDefault, eFixed };
const char* const kindNames[] = {"top of three", "bottom of three", "default", "overruled by a fixed value"};

// The text of one of the files, the top one first: quoted as Rg text, bare as a GLib key file.
std::string Layer(int values, int layer, const char* quote) {
    std::string text;
    for (int i = 0; i < values; ++i) {
        const int kind = i % 4;
        if (i % bench::kValuesPerSection == 0) {
            text += "\n[" + bench::Section(i) + "]\n\n";
        }
        if (kind == eDefault || (kind == eBottom && layer != 2)) {
            continue;
        }
        text += quote + bench::Name(i) + quote + "=" + quote + bench::Value(i) + quote;
        text += *quote && kind == eFixed && layer == 2 ? " (\"fixed\"=\"true\" )\n" : "\n";
    }
    return text;
}

// Three files, and the values of one kind in a random order.
struct Stack {
    Stack(const benchmark::State& state, const char* quote)
        : values(static_cast<int>(state.range(0))),
          tables(values),
          files{bench::TemporaryFile(Layer(values, 0, quote)), bench::TemporaryFile(Layer(values, 1, quote)),
                bench::TemporaryFile(Layer(values, 2, quote))} {
        for (int i = static_cast<int>(state.range(1)); i < values; i += 4) {
            asked.push_back(static_cast<size_t>(i));
        }
        std::shuffle(asked.begin(), asked.end(), std::mt19937(1));
    }

    // Measures `find` with section and name of each value, which has been asked for once before.
    template <class Find>
    void Run(benchmark::State& state, Find find) const {
        const auto findAll = [&] {
            for (const size_t i : asked) {
                find(tables.Section(i), tables.Name(i));
            }
        };
        findAll();
        for (auto _ : state) {
            findAll();
        }
        bench::PerValue(state, asked.size());
        state.SetLabel(kindNames[state.range(1)]);
    }

    int values;
    bench::Tables tables;
    bench::TemporaryFile files[3];
    std::vector<size_t> asked;
};

void BM_OptionLookup(benchmark::State& state) {
    const Stack stack(state, "\"");
    vyn::COptionManager manager;
    stack.tables.Declare(manager);
    for (const bench::TemporaryFile& file : stack.files) {
        if (!manager.Load(file.Path())) {
            state.SkipWithError("load failed");
        }
    }
    stack.Run(state, [&](const char* section, const char* name) {
        benchmark::DoNotOptimize(manager.GetValue(section, name));
    });
}
BENCHMARK(BM_OptionLookup)->ArgsProduct({bench::kSizes, {eTop, eBottom, eDefault, eFixed}});

#ifdef VYN_BENCH_GLIB

// GLib has neither layers nor fixed values: the stack is a loop.
void BM_GKeyFileLookupInStack(benchmark::State& state) {
    const Stack stack(state, "");
    GKeyFile* files[3];
    for (int i = 0; i < 3; ++i) {
        files[i] = g_key_file_new();
        g_key_file_load_from_file(files[i], stack.files[i].Path(), G_KEY_FILE_NONE, nullptr);
    }
    stack.Run(state, [&](const char* section, const char* name) {
        gchar* value = nullptr;
        for (int i = 0; i < 3 && !value; ++i) {
            value = g_key_file_get_value(files[i], section, name, nullptr);
        }
        benchmark::DoNotOptimize(value);
        g_free(value);
    });
    for (GKeyFile* file : files) {
        g_key_file_free(file);
    }
}
BENCHMARK(BM_GKeyFileLookupInStack)->ArgsProduct({bench::kSizes, {eTop, eBottom, eDefault}});

#endif

void Save(benchmark::State& state, const std::string& directory, int synced) {
    const int values = static_cast<int>(state.range(0));
    const bench::Tables tables(values);
    const bench::TemporaryFile text(bench::Text(values, "\""), directory);
    vyn::COptionManager manager;
    manager.SetSyncedSaves(synced);
    tables.Declare(manager);
    vyn::COptionFile* file = manager.Load(text.Path());
    int change = 0;
    for (auto _ : state) {
        manager.SetIntValue(tables.Section(0), tables.Name(0), ++change);
        if (file->Save(nullptr) != 0) {
            state.SkipWithError("save failed");
            break;
        }
    }
    bench::PerValue(state);
}

void BM_OptionSaveIncrementally(benchmark::State& state) {
    Save(state, bench::DiskDirectory(), 1);
}
BENCHMARK(BM_OptionSaveIncrementally)->Apply(bench::Sizes)->UseRealTime();

void BM_OptionSaveUnsynced(benchmark::State& state) {
    Save(state, bench::DiskDirectory(), 0);
}
BENCHMARK(BM_OptionSaveUnsynced)->Apply(bench::Sizes)->UseRealTime();

void BM_OptionSaveInMemory(benchmark::State& state) {
    Save(state, bench::MemoryDirectory(), 0);
}
BENCHMARK(BM_OptionSaveInMemory)->Apply(bench::Sizes);

#ifdef VYN_BENCH_GLIB

// Writes beside the file and renames too, and waits for the disk.
void GKeyFileSave(benchmark::State& state, const std::string& directory) {
    const bench::TemporaryFile text(bench::Text(static_cast<int>(state.range(0)), ""), directory);
    GKeyFile* file = g_key_file_new();
    g_key_file_load_from_file(file, text.Path(), G_KEY_FILE_NONE, nullptr);
    int change = 0;
    for (auto _ : state) {
        g_key_file_set_integer(file, bench::Section(0).c_str(), bench::Name(0).c_str(), ++change);
        if (!g_key_file_save_to_file(file, text.Path(), nullptr)) {
            state.SkipWithError("save failed");
            break;
        }
    }
    g_key_file_free(file);
    bench::PerValue(state);
}

void BM_GKeyFileSave(benchmark::State& state) {
    GKeyFileSave(state, bench::DiskDirectory());
}
BENCHMARK(BM_GKeyFileSave)->Apply(bench::Sizes)->UseRealTime();

void BM_GKeyFileSaveInMemory(benchmark::State& state) {
    GKeyFileSave(state, bench::MemoryDirectory());
}
BENCHMARK(BM_GKeyFileSaveInMemory)->Apply(bench::Sizes);

#endif

}  // namespace
