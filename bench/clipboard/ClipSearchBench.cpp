#include "ClipBenchData.hpp"

#include "BrindKit/clipboard/ClipHistory.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>

namespace {

constexpr int historySize = 5000;

const std::vector<std::string>& queries() {
    static const std::vector<std::string> list{
        "report", "dep", "https", "invoice 2024", "café", "xyzzy", "pdf", "meeting notes", "#ff", "straße",
        "image",  "q",   "rel",   "colour",       "srv",  "budget review draft", "term", "merge branch",
    };
    return list;
}

double threadCPUMicros() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double percentile(std::vector<double> values, double fraction) {
    std::ranges::sort(values);
    return values[static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1))];
}

// Time per query over a warm history, reported as percentiles across many queries: wall time,
// and this thread's CPU time, which a busy machine does not inflate.
void searchFiveThousandClips(benchmark::State& state) {
    const brind::ClipHistory history(clipbench::makeItems(historySize));
    for (const std::string& query : queries())
        benchmark::DoNotOptimize(history.search(query));
    std::vector<double> wall;
    std::vector<double> cpu;
    std::size_t next = 0;
    for (auto _ : state) {
        const std::string& query = queries()[next++ % queries().size()];
        const double cpuStart = threadCPUMicros();
        const auto start = std::chrono::steady_clock::now();
        auto results = history.search(query);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        cpu.push_back(threadCPUMicros() - cpuStart);
        benchmark::DoNotOptimize(results);
        wall.push_back(std::chrono::duration<double, std::micro>(elapsed).count());
        state.SetIterationTime(std::chrono::duration<double>(elapsed).count());
    }
    state.counters["wall_p50_us"] = percentile(wall, 0.5);
    state.counters["cpu_p50_us"] = percentile(cpu, 0.5);
    state.counters["cpu_p90_us"] = percentile(cpu, 0.9);
    state.counters["cpu_max_us"] = percentile(cpu, 1.0);
}
BENCHMARK(searchFiveThousandClips)->UseManualTime()->Unit(benchmark::kMicrosecond)->Iterations(500);

// The first query after loading prepares every item once.
void firstSearchAfterLoad(benchmark::State& state) {
    const auto items = clipbench::makeItems(historySize);
    for (auto _ : state) {
        state.PauseTiming();
        brind::ClipHistory history(items);
        state.ResumeTiming();
        benchmark::DoNotOptimize(history.search("report"));
    }
}
BENCHMARK(firstSearchAfterLoad)->Unit(benchmark::kMillisecond)->Iterations(10);

void emptyQueryListsEverything(benchmark::State& state) {
    const brind::ClipHistory history(clipbench::makeItems(historySize));
    for (auto _ : state)
        benchmark::DoNotOptimize(history.search(""));
}
BENCHMARK(emptyQueryListsEverything)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
