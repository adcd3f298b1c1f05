// The shelf's hot paths and the budgets they must stay inside on a laptop:
//   - ShelfShakeDetector::feed runs for every pointer event of a drag (up to 1 kHz): < 1 µs.
//   - inserting a dropped item checks it against every entry: < 1 ms with 1,000 entries.
//   - reading and writing a 1,000-entry library at start and after each change: < 50 ms.
#include "BrindKit/shelf/ShelfLibrary.hpp"
#include "BrindKit/shelf/ShelfNaming.hpp"
#include "BrindKit/shelf/ShelfShakeDetector.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace brind;

namespace {

constexpr int largeShelf = 1000;

ShelfEntry fileEntry(int index, std::string_view folder = "/home/ana/Downloads/project/exports/") {
    ShelfEntry entry;
    entry.id = UUID::random();
    entry.kind = ShelfEntry::Kind::file;
    entry.path = std::string(folder) + "file-" + std::to_string(index) + ".png";
    entry.title = "file-" + std::to_string(index) + ".png";
    entry.addedAt = Date{1'700'000'000.0 + index};
    return entry;
}

ShelfLibrary filledLibrary(int count) {
    ShelfLibrary library;
    for (int index = 0; index < count; ++index)
        library.entries.push_back(fileEntry(index));
    return library;
}

void shakeFeed(benchmark::State& state) {
    ShelfShakeDetector detector;
    const double pattern[] = {0, 50, 100, 50};
    double t = 0;
    int step = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(detector.feed(pattern[step % 4], t));
        t += 0.004;
        ++step;
    }
}
BENCHMARK(shakeFeed);

void insertIntoLargeShelf(benchmark::State& state) {
    const ShelfLibrary library = filledLibrary(largeShelf);
    // Dropped through a path spelled with "." and "..", the slow case for the comparison.
    const ShelfEntry dropped = fileEntry(largeShelf + 1, "/home/ana/Downloads/./project/assets/../exports/");
    for (auto _ : state) {
        state.PauseTiming();
        ShelfLibrary copy = library;
        state.ResumeTiming();
        benchmark::DoNotOptimize(copy.insert({dropped}));
    }
}
BENCHMARK(insertIntoLargeShelf)->Unit(benchmark::kMicrosecond);

void encodeLargeShelf(benchmark::State& state) {
    const ShelfLibrary library = filledLibrary(largeShelf);
    for (auto _ : state)
        benchmark::DoNotOptimize(library.encoded());
}
BENCHMARK(encodeLargeShelf)->Unit(benchmark::kMillisecond);

void decodeLargeShelf(benchmark::State& state) {
    const std::string bytes = filledLibrary(largeShelf).encoded();
    for (auto _ : state)
        benchmark::DoNotOptimize(ShelfLibrary::decode(bytes));
}
BENCHMARK(decodeLargeShelf)->Unit(benchmark::kMillisecond);

void uniqueNameAfterManyCopies(benchmark::State& state) {
    // 100 copies of the same file already in the folder.
    const auto exists = [](std::string_view name) {
        return name == "photo.jpg" || (name.starts_with("photo (") && name.size() <= 15 && name != "photo (101).jpg");
    };
    for (auto _ : state)
        benchmark::DoNotOptimize(ShelfNaming::unique("photo.jpg", exists));
}
BENCHMARK(uniqueNameAfterManyCopies)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
