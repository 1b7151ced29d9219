#pragma once

/// \file
/// Content that the benchmarks share: N values named Value0 to Value19 in sections named Section0 and so on.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <string>
#include <vector>

#include "VynOption.h"

namespace bench {

constexpr int kValuesPerSection = 20;

inline std::string Section(int i) {
    return "Section" + std::to_string(i / kValuesPerSection);
}

inline std::string Name(int i) {
    return "Value" + std::to_string(i % kValuesPerSection);
}

inline std::string Value(int i) {
    return "text of the value number " + std::to_string(i);
}

/// Counts the time of one of the values of an iteration, which should be the same for every size.
inline void PerValue(benchmark::State& state, size_t values) {
    state.counters["per_value"] = benchmark::Counter(
        static_cast<double>(values), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// The same where an iteration serves them all.
inline void PerValue(benchmark::State& state) {
    PerValue(state, static_cast<size_t>(state.range(0)));
}

const std::vector<int64_t> kSizes = {100, 2000, 50000, 1000000};

inline void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgsProduct({kSizes})->MinTime(0.3)->Unit(benchmark::kMicrosecond);
}

/// Keeps freed memory in the process, so that an iteration doesn't measure page faults of the one before;
/// StartBench measures those of a first load.
inline bool KeepHeapWarm() {
    return mallopt(M_TRIM_THRESHOLD, 1 << 30) && mallopt(M_MMAP_THRESHOLD, 32 << 20);
}

/// The content in one of two formats: quoted as Rg text, bare as a GLib key file.
inline std::string Text(int values, const char* quote) {
    std::string text;
    for (int i = 0; i < values; ++i) {
        if (i % kValuesPerSection == 0) {
            text += "\n[" + Section(i) + "]\n\n";
        }
        text += quote + Name(i) + quote + "=" + quote + Value(i) + quote + (*quote ? " \n" : "\n");
    }
    return text;
}

/// \return a directory in memory where the system has such a place, so that the disk isn't measured.
inline const char* MemoryDirectory() {
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

/// \return the directory on the disk that is to be measured: VYN_BENCH_DIR, else that of temporary files.
inline std::string DiskDirectory() {
    const char* directory = getenv("VYN_BENCH_DIR");
    return directory ? directory : std::filesystem::temp_directory_path().string();
}

/// A file that goes with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text, const std::string& directory = MemoryDirectory())
        : m_path(directory + "/vynbenchXXXXXX") {
        const int fd = mkstemp(&m_path[0]);
        FILE* file = fdopen(fd, "w");
        fwrite(text.data(), 1, text.size(), file);
        fclose(file);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { unlink(m_path.c_str()); }

    const char* Path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

/// Tables that declare the content of the benchmark files.
class Tables {
public:
    explicit Tables(int values) {
        for (int i = 0; i < values; ++i) {
            m_sections.push_back(bench::Section(i));
            m_names.push_back(bench::Name(i));
            m_options.push_back({m_names.back().c_str(), 1, "", 0, 0});
        }
        for (int i = 0; i < values; i += kValuesPerSection) {
            const char* name = m_sections[static_cast<size_t>(i)].c_str();
            m_sets.push_back(
                {name, &m_options[static_cast<size_t>(i)], std::min(kValuesPerSection, values - i), nullptr});
            m_categories.push_back({name, nullptr, 0, &m_sets.back()});
        }
    }
    void Declare(vyn::COptionManager& manager) const {
        for (const vyn::CCategory& category : m_categories) {
            manager.AddCategory(&category);
        }
    }
    const char* Section(size_t i) const { return m_sections[i].c_str(); }
    const char* Name(size_t i) const { return m_names[i].c_str(); }

private:
    std::deque<std::string> m_sections;
    std::deque<std::string> m_names;
    std::vector<vyn::COption> m_options;
    std::deque<vyn::COptionSet> m_sets;
    std::deque<vyn::CCategory> m_categories;
};

}  // namespace bench
