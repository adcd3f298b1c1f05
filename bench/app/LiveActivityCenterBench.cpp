#include "vantaquill/LiveActivityCenter.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace brind;

namespace {

constexpr int typicalQueueSize = 50;

LiveActivity sample(int index, Date now) {
    LiveActivity activity;
    activity.id = "sdk.bench.activity-" + std::to_string(index);
    activity.source = "sdk.bench";
    activity.priority = allActivityPriorities[static_cast<std::size_t>(index % 4)];
    activity.leading = ActivityGlyph::symbol("bolt.fill");
    activity.trailing = ActivityGlyph::ring(0.4);
    activity.title = "Activity number " + std::to_string(index);
    activity.progress = 0.4;
    activity.expiresAt = now + 600.0 + index;
    return activity;
}

// A producer updating one of 50 activities: queue post, ordering, the published-list comparison
// and re-arming the expiry timer, which together are the work of every progress tick.
void centerPostUpdate(benchmark::State& state) {
    vq::ManualScheduler scheduler;
    vq::LiveActivityCenter center(scheduler);
    for (int i = 0; i < typicalQueueSize; ++i)
        center.post(sample(i, scheduler.now()));
    LiveActivity update = sample(25, scheduler.now());
    int step = 0;
    for (auto _ : state) {
        update.progress = (step++ % 100) / 100.0;
        benchmark::DoNotOptimize(center.post(update));
    }
}
BENCHMARK(centerPostUpdate);

} // namespace

BENCHMARK_MAIN();
