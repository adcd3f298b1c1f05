#include "vantaquill/providers/DownloadsProvider.hpp"
#include "vantaquill/providers/MicCameraProvider.hpp"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <string>

namespace {

// One read of every process's open descriptors for camera holders: the work done once for each
// open or close of a camera node, never on a timer. Target: under 10 ms on a desktop of a few
// hundred processes, so that a call starting its camera is not held up.
void cameraHoldersScan(benchmark::State& state) {
    std::size_t processes = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        processes += !name.empty() && name.find_first_not_of("0123456789") == std::string::npos ? 1 : 0;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(vq::MicCameraProvider::cameraHolders("/proc", "/dev"));
    state.counters["processes"] = static_cast<double>(processes);
}
BENCHMARK(cameraHoldersScan)->Unit(benchmark::kMillisecond);

// What each burst of writes to a partial file costs past the stat: its name read and its activity
// built. Target: under 10 µs, as a fast download brings a burst every 0.25 s.
void downloadProgressActivity(benchmark::State& state) {
    std::uint64_t length = 1'000'000;
    for (auto _ : state) {
        const auto name = vq::DownloadsProvider::finalName("Quarterly report, final (2).pdf.crdownload");
        length += 65'536;
        benchmark::DoNotOptimize(vq::DownloadsProvider::progressActivity(
            1, *name, length, vq::DownloadsProvider::knownProgress(length * 4, length)));
    }
}
BENCHMARK(downloadProgressActivity);

} // namespace

BENCHMARK_MAIN();
