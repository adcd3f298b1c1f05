#include "BrindKit/island/LiveActivity.hpp"

#include <benchmark/benchmark.h>

using namespace brind;

namespace {

/// What a script typically posts: a glyph on each side, a title, progress, an expiry and two buttons.
constexpr const char* typicalBody = R"({
  "id": "sdk.build-bot.ci",
  "source": "build-bot",
  "priority": "high",
  "leading": {"symbol": "hammer.fill", "tint": "#34C759"},
  "trailing": {"ring": 0.42},
  "title": "Building vantaquill",
  "subtitle": "step 3 of 7",
  "progress": 0.42,
  "expiresAt": "2025-03-01T17:30:00Z",
  "actions": [
    {"id": "cancel", "label": "Cancel", "role": "destructive", "symbol": "xmark"},
    {"id": "open", "label": "Open log", "role": "primary"}
  ],
  "alert": true,
  "tapAction": "open"
})";

const Date now{1'700'000'000};

// Decoding an already parsed body, as the bridge does after rewriting it.
void decodeTypicalActivity(benchmark::State& state) {
    const JSON body = JSON::parse(typicalBody);
    for (auto _ : state)
        benchmark::DoNotOptimize(LiveActivity::fromJSON(body, now));
}
BENCHMARK(decodeTypicalActivity);

// Parsing the text as well: the whole cost from request body to activity.
void parseAndDecodeTypicalActivity(benchmark::State& state) {
    const std::string text = typicalBody;
    for (auto _ : state) {
        auto body = JSONText::parse(text);
        benchmark::DoNotOptimize(LiveActivity::fromJSON(*body, now));
    }
}
BENCHMARK(parseAndDecodeTypicalActivity);

void encodeTypicalActivity(benchmark::State& state) {
    const LiveActivity activity = *LiveActivity::fromJSON(JSON::parse(typicalBody), now);
    for (auto _ : state)
        benchmark::DoNotOptimize(activity.toJSON());
}
BENCHMARK(encodeTypicalActivity);

} // namespace

BENCHMARK_MAIN();
