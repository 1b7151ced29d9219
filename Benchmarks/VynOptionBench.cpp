// Looking values up through a stack of three option files, and saving one changed value incrementally. The
// counter "per_value" is the time of one value: it should be the same for every size.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <deque>
#include <vector>

#include "BenchData.h"
#include "VynOption.h"

namespace {

// Tables that declare the content of the benchmark files.
class Tables {
public:
    explicit Tables(int values) {
        for (int i = 0; i < values; ++i) {
            m_sections.push_back(bench::Section(i));
            m_names.push_back(bench::Name(i));
            m_options.push_back({m_names.back().c_str(), 1, "", 0, 0});
        }
        for (int i = 0; i < values; i += bench::kValuesPerSection) {
            const char* name = m_sections[static_cast<size_t>(i)].c_str();
            m_sets.push_back({name, &m_options[static_cast<size_t>(i)],
                              std::min(bench::kValuesPerSection, values - i), nullptr});
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

// All values stand in the lowest of the three files.
void BM_OptionLookupThroughThreeFiles(benchmark::State& state) {
    const int values = static_cast<int>(state.range(0));
    const Tables tables(values);
    const bench::TemporaryFile top("[Section0]\"Value0\"=\"top\"");
    const bench::TemporaryFile middle(bench::Text(bench::kValuesPerSection, "\""));
    const bench::TemporaryFile bottom(bench::Text(values, "\""));
    vyn::COptionManager manager;
    tables.Declare(manager);
    for (const bench::TemporaryFile* file : {&top, &middle, &bottom}) {
        if (!manager.Load(file->Path())) {
            state.SkipWithError("load failed");
        }
    }
    for (auto _ : state) {
        for (size_t i = 0; i < static_cast<size_t>(values); ++i) {
            benchmark::DoNotOptimize(manager.GetValue(tables.Section(i), tables.Name(i)));
        }
    }
    bench::PerValue(state);
}
BENCHMARK(BM_OptionLookupThroughThreeFiles)->Apply(bench::Sizes);

void BM_OptionSaveIncrementally(benchmark::State& state) {
    const int values = static_cast<int>(state.range(0));
    const Tables tables(values);
    const bench::TemporaryFile text(bench::Text(values, "\""));
    vyn::COptionManager manager;
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
BENCHMARK(BM_OptionSaveIncrementally)->Apply(bench::Sizes);

}  // namespace
