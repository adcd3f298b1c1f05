#include "BrindKit/island/ActivityQueue.hpp"

#include <benchmark/benchmark.h>
#include <string>

using namespace brind;

namespace {

constexpr int typicalQueueSize = 50;
const Date start{1'700'000'000};

LiveActivity sample(int index) {
    LiveActivity activity;
    activity.id = "sdk.bench.activity-" + std::to_string(index);
    activity.source = index % 3 == 0 ? "media" : "sdk.bench";
    activity.priority = allActivityPriorities[static_cast<std::size_t>(index % 4)];
    activity.leading = ActivityGlyph::symbol("bolt.fill", RGBA{1, 0.8, 0, 1});
    activity.trailing = ActivityGlyph::ring(0.4);
    activity.title = "Activity number " + std::to_string(index);
    activity.subtitle = "a subtitle that takes some room";
    activity.progress = 0.4;
    activity.expiresAt = start + 60.0 + index;
    activity.actions = {{"open", "Open", ActivityAction::Role::primary, std::nullopt},
                        {"stop", "Stop", ActivityAction::Role::cancel, "xmark"}};
    return activity;
}

ActivityQueue filledQueue(int count) {
    ActivityQueue queue;
    for (int i = 0; i < count; ++i)
        queue.post(sample(i), start + (i % 7));
    return queue;
}

void orderedFifty(benchmark::State& state) {
    const ActivityQueue queue = filledQueue(typicalQueueSize);
    for (auto _ : state)
        benchmark::DoNotOptimize(queue.ordered());
}
BENCHMARK(orderedFifty);

// Inserting into a queue that already holds 49 others.
void postInsert(benchmark::State& state) {
    const ActivityQueue base = filledQueue(typicalQueueSize - 1);
    const LiveActivity newcomer = sample(typicalQueueSize);
    for (auto _ : state) {
        state.PauseTiming();
        ActivityQueue queue = base;
        LiveActivity copy = newcomer;
        state.ResumeTiming();
        benchmark::DoNotOptimize(queue.post(std::move(copy), start + 10));
    }
}
BENCHMARK(postInsert);

// A changed progress for one of 50: the common update from a running producer.
void postUpdate(benchmark::State& state) {
    ActivityQueue queue = filledQueue(typicalQueueSize);
    LiveActivity update = sample(25);
    int step = 0;
    for (auto _ : state) {
        update.progress = (step++ % 100) / 100.0;
        benchmark::DoNotOptimize(queue.post(update, start + 10));
    }
}
BENCHMARK(postUpdate);

// A repeated post that changes nothing.
void postUnchanged(benchmark::State& state) {
    ActivityQueue queue = filledQueue(typicalQueueSize);
    const LiveActivity same = *queue.activity(sample(25).id);
    for (auto _ : state)
        benchmark::DoNotOptimize(queue.post(same, start + 10));
}
BENCHMARK(postUnchanged);

} // namespace

BENCHMARK_MAIN();
