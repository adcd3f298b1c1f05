// Time from a clipboard change, read into a snapshot, to the item in the history: the privacy
// verdict, classification and hashing, and for images the side file written to disk.

#include "vantaquill/clipboard/ClipboardStore.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

void captureBenchmark(benchmark::State& state, bool image) {
    const brindtest::TemporaryFolder folder{"vantaquill-clipboard-bench"};
    vq::ManualScheduler scheduler;
    brind::ClipSettings settings;
    settings.maxItems = 50;
    vq::ClipboardStore store({folder.path() / "Clipboard"}, scheduler, settings);
    brind::ClipSnapshot snapshot;
    snapshot.types = snapshot.allTypes = {image ? "public.png" : "public.utf8-plain-text"};
    std::string payload(image ? 4'000'000 : 200, 'x');
    std::uint64_t counter = 0;
    for (auto _ : state) {
        // A new payload each time, so every copy is a new item rather than a refreshed one.
        std::memcpy(payload.data(), &++counter, sizeof counter);
        if (image) {
            snapshot.image = payload;
            snapshot.imageType = "public.png";
        } else {
            snapshot.string = payload;
        }
        benchmark::DoNotOptimize(store.capture(snapshot));
    }
}

void BM_CaptureText(benchmark::State& state) {
    captureBenchmark(state, false);
}
BENCHMARK(BM_CaptureText)->Unit(benchmark::kMicrosecond);

void BM_CaptureFourMegabyteImage(benchmark::State& state) {
    captureBenchmark(state, true);
}
BENCHMARK(BM_CaptureFourMegabyteImage)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
