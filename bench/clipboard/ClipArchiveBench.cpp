#include "ClipBenchData.hpp"

#include "BrindKit/clipboard/ClipArchive.hpp"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

namespace {

constexpr int historySize = 5000;

std::filesystem::path temporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "clip-archive-bench-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        std::abort();
    return pattern;
}

// Image items need their side files to load; write small stand-ins.
brind::ClipHistory historyWithSideFiles(const brind::ClipArchive& archive) {
    auto items = clipbench::makeItems(historySize);
    for (brind::ClipItem& item : items) {
        if (item.imageFile)
            item.imageFile = archive.writeSideFile("png", item.id, "png").value();
    }
    return brind::ClipHistory(std::move(items));
}

void saveFiveThousandItems(benchmark::State& state) {
    const auto folder = temporaryFolder();
    const brind::ClipArchive archive{folder};
    const auto history = historyWithSideFiles(archive);
    for (auto _ : state) {
        if (!archive.save(history))
            state.SkipWithError("save failed");
    }
    state.counters["index_KB"] = static_cast<double>(std::filesystem::file_size(folder / "index.json")) / 1024;
    std::filesystem::remove_all(folder);
}
BENCHMARK(saveFiveThousandItems)->Unit(benchmark::kMillisecond);

void loadFiveThousandItems(benchmark::State& state) {
    const auto folder = temporaryFolder();
    const brind::ClipArchive archive{folder};
    if (!archive.save(historyWithSideFiles(archive)))
        state.SkipWithError("save failed");
    for (auto _ : state) {
        auto loaded = archive.load();
        if (loaded.items().size() != historySize)
            state.SkipWithError("load lost items");
        benchmark::DoNotOptimize(loaded);
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(loadFiveThousandItems)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
