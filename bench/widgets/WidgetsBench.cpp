// The widgets' hot paths and their budgets:
//   - decoding a five-day forecast answer after each fetch: < 1 ms.
//   - the weekday name of each forecast day (ICU formatters built per call): < 200 µs.
//   - the pomodoro's activity, rebuilt every second while it runs: < 20 µs.
//   - appending a sample to a graph and reading it back normalised, every second per graph: < 5 µs.
#include "BrindKit/widgets/WidgetOpenMeteo.hpp"
#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"
#include "BrindKit/widgets/WidgetRingBuffer.hpp"

#include <benchmark/benchmark.h>

#include <string>

using namespace brind;

namespace {

const std::string forecastAnswer =
    R"({"latitude":46.95,"longitude":7.45,"generationtime_ms":0.05,"utc_offset_seconds":3600,)"
    R"("timezone":"Europe/Zurich","current_units":{"time":"iso8601","temperature_2m":"°C"},)"
    R"("current":{"time":"2026-01-14T09:15","interval":900,"temperature_2m":-2.5,"apparent_temperature":-6.1,)"
    R"("weather_code":71,"is_day":1,"wind_speed_10m":11.0},)"
    R"("daily_units":{"time":"iso8601","temperature_2m_max":"°C"},)"
    R"("daily":{"time":["2026-01-14","2026-01-15","2026-01-16","2026-01-17","2026-01-18"],)"
    R"("weather_code":[71,73,3,0,null],"temperature_2m_max":[0.4,-1.2,2.0,3.5,1.1],)"
    R"("temperature_2m_min":[-4.0,-6.5,-3.3,-2.0,-1.8],"precipitation_probability_max":[70,95,10,0,5]}})";

void decodeForecast(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(WidgetOpenMeteo::decodeForecast(forecastAnswer, Date{0}));
}
BENCHMARK(decodeForecast)->Unit(benchmark::kMicrosecond);

void weekdayName(benchmark::State& state) {
    const std::optional<std::string> locale = "de_DE";
    for (auto _ : state)
        benchmark::DoNotOptimize(WidgetOpenMeteo::weekday("2026-01-14", locale));
}
BENCHMARK(weekdayName)->Unit(benchmark::kMicrosecond);

void pomodoroActivity(benchmark::State& state) {
    auto pomodoro = WidgetPomodoro::make({});
    pomodoro.start(Date{0});
    double now = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(WidgetPomodoroActivity::activity(pomodoro, Date{now}));
        now += 1;
    }
}
BENCHMARK(pomodoroActivity)->Unit(benchmark::kMicrosecond);

void graphSample(benchmark::State& state) {
    WidgetRingBuffer buffer(120);
    double value = 0;
    for (auto _ : state) {
        buffer.append(value);
        benchmark::DoNotOptimize(buffer.normalised());
        value += 0.5;
    }
}
BENCHMARK(graphSample)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
