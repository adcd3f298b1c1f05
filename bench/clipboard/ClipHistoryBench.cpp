#include "ClipBenchData.hpp"

#include "BrindKit/clipboard/ClipHistory.hpp"

#include <benchmark/benchmark.h>

namespace {

constexpr int historySize = 5000;

// A new capture into a full history: one item in, the oldest unpinned one out.
void insertIntoFullHistory(benchmark::State& state) {
    brind::ClipSettings settings;
    settings.maxItems = historySize;
    settings.maxDays = 30;
    brind::ClipHistory history(clipbench::makeItems(historySize));
    const auto fresh = clipbench::makeItems(20000, 7);
    std::size_t next = 0;
    brind::Date now{1.7e9 + historySize};
    for (auto _ : state) {
        brind::ClipItem item = fresh[next++ % fresh.size()];
        item.contentHash += std::to_string(next);
        now += 1;
        auto result = history.insert(std::move(item), settings, now);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(insertIntoFullHistory)->Unit(benchmark::kMicrosecond);

// Copying something already in the history moves it to the front.
void insertDuplicateIntoFullHistory(benchmark::State& state) {
    brind::ClipSettings settings;
    settings.maxItems = historySize;
    settings.maxDays = 0;
    const auto items = clipbench::makeItems(historySize);
    brind::ClipHistory history(items);
    std::size_t next = 0;
    for (auto _ : state) {
        brind::ClipItem again = items[(next++ * 7919) % items.size()];
        again.id = brind::UUID::random();
        auto result = history.insert(std::move(again), settings, brind::Date{2e9});
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(insertDuplicateIntoFullHistory)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
