#include "ClipBenchData.hpp"

#include "BrindKit/clipboard/ClipClassifier.hpp"

#include <benchmark/benchmark.h>

namespace {

void classifyOneMegabyteText(benchmark::State& state) {
    std::mt19937 random(3);
    brind::ClipSnapshot snapshot;
    snapshot.types = {"public.utf8-plain-text"};
    snapshot.string = clipbench::sentence(random, 1 << 20);
    for (auto _ : state) {
        auto candidate = brind::ClipClassifier::classify(snapshot, brind::ClipSettings{});
        if (!candidate || candidate->kind != brind::ClipKind::text)
            state.SkipWithError("not classified as text");
        benchmark::DoNotOptimize(candidate);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * (1 << 20));
}
BENCHMARK(classifyOneMegabyteText)->Unit(benchmark::kMillisecond);

void classifyShortLink(benchmark::State& state) {
    brind::ClipSnapshot snapshot;
    snapshot.types = {"public.utf8-plain-text"};
    snapshot.string = "  https://example.org/some/path?query=1  ";
    for (auto _ : state)
        benchmark::DoNotOptimize(brind::ClipClassifier::classify(snapshot, brind::ClipSettings{}));
}
BENCHMARK(classifyShortLink)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
