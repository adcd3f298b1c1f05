#include "BrindKit/system/LRCLyrics.hpp"
#include "BrindKit/system/LyricWing.hpp"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <string>

namespace {

// A long live recording: metadata, then `count` timed lines, every tenth with three stamps (a
// chorus written once), a few note-only gaps, and a mix of point and comma decimals.
std::string longLRC(int count) {
    std::string lrc =
        "[ti:Live at the Harbour]\n[ar:The Quiet Tides]\n[al:Tour Tapes]\n[length:95:00]\n[offset:120]\n";
    char tag[64];
    for (int i = 0; i < count; ++i) {
        const double seconds = i * 2.85;
        const int minutes = static_cast<int>(seconds / 60);
        std::snprintf(tag, sizeof tag, "[%02d:%05.2f]", minutes, seconds - minutes * 60);
        std::string line = tag;
        if (i % 3 == 1)
            std::replace(line.begin(), line.end(), '.', ',');
        if (i % 10 == 0) {
            std::snprintf(tag, sizeof tag, "[%02d:%05.2f][%02d:%05.2f]", minutes + 30, 1.5, minutes + 60,
                          2.25);
            line += tag;
        }
        if (i % 25 == 0)
            line += "\u266A";
        else
            line += "  and the ferry lights go out across the water, line " + std::to_string(i) + "  ";
        lrc += line + "\n";
    }
    return lrc;
}

void parseLongFile(benchmark::State& state) {
    const std::string lrc = longLRC(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        auto lyrics = brind::LRCLyrics::parse(lrc);
        benchmark::DoNotOptimize(lyrics);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(lrc.size()));
}
BENCHMARK(parseLongFile)->Arg(100)->Arg(2000)->Unit(benchmark::kMicrosecond);

void indexAt(benchmark::State& state) {
    const auto lyrics = brind::LRCLyrics::parse(longLRC(static_cast<int>(state.range(0)))).value();
    const double end = lyrics.lines.back().time + 10;
    double position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(lyrics.index(position));
        position += 0.37;
        if (position > end)
            position = 0;
    }
}
BENCHMARK(indexAt)->Arg(100)->Arg(2000);

// What the wing pays on every position update.
void wingCurrent(benchmark::State& state) {
    const auto lyrics = brind::LRCLyrics::parse(longLRC(2000)).value();
    const double end = lyrics.lines.back().time + 10;
    double position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(brind::LyricWing::current(lyrics, position));
        position += 0.37;
        if (position > end)
            position = 0;
    }
}
BENCHMARK(wingCurrent);

} // namespace

BENCHMARK_MAIN();
