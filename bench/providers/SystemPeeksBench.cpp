// What the network and battery providers do at each change the system announces, without their
// services: the kernel's links and routes read over rtnetlink, the power-supply class read from its
// files, and one battery reading judged. Targets: each read well under a millisecond (a change is
// followed within the 0.3 s settle time at no noticeable cost), a reading judged in a microsecond.

#include "vantaquill/providers/BatteryPeeks.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"
#include "vantaquill/providers/NetlinkNetwork.hpp"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

void readKernelRoutes(benchmark::State& state) {
    auto network = vq::NetlinkNetwork::open([] {});
    if (!network) {
        state.SkipWithError(network.error().c_str());
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize((*network)->read());
}
BENCHMARK(readKernelRoutes)->Unit(benchmark::kMicrosecond);

/// A laptop's power-supply class: a charger, two batteries and a mouse's battery, removed at exit.
class PowerSupplyFolder {
  public:
    PowerSupplyFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vantaquill-bench-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        write("AC/type", "Mains");
        write("AC/online", "0");
        for (const std::string battery : {"BAT0", "BAT1"}) {
            write(battery + "/type", "Battery");
            write(battery + "/status", "Discharging");
            write(battery + "/energy_now", "30000000");
            write(battery + "/energy_full", "40000000");
            write(battery + "/power_now", "9500000");
            write(battery + "/capacity", "75");
        }
        write("hidpp_battery_0/type", "Battery");
        write("hidpp_battery_0/scope", "Device");
        write("hidpp_battery_0/capacity", "40");
    }
    ~PowerSupplyFolder() { std::filesystem::remove_all(folder); }
    PowerSupplyFolder(const PowerSupplyFolder&) = delete;
    PowerSupplyFolder& operator=(const PowerSupplyFolder&) = delete;

    std::filesystem::path folder;

  private:
    void write(const std::string& file, const std::string& text) const {
        std::filesystem::create_directories((folder / file).parent_path());
        std::ofstream(folder / file) << text << "\n";
    }
};

void readPowerSupplyClass(benchmark::State& state) {
    static const PowerSupplyFolder supplies;
    for (auto _ : state) {
        const auto reading = vq::BatteryProvider::readPowerSupply(supplies.folder);
        if (!reading.present) {
            state.SkipWithError("the batteries were not read");
            return;
        }
        benchmark::DoNotOptimize(reading);
    }
}
BENCHMARK(readPowerSupplyClass)->Unit(benchmark::kMicrosecond);

void judgeBatteryReading(benchmark::State& state) {
    vq::BatteryPeeks peeks;
    brind::Date now{1'700'000'000};
    double percent = 100;
    for (auto _ : state) {
        // A slow drain, one percent a minute, with a full window of samples behind it.
        now = now + 60;
        percent = percent <= 1 ? 100 : percent - 1;
        benchmark::DoNotOptimize(peeks.observe(
            {.present = true, .percent = percent, .power = vq::BatteryPeeks::Power::battery, .secondsToEmpty = {},
             .secondsToFull = {}, .watts = {}},
            now));
    }
}
BENCHMARK(judgeBatteryReading);

} // namespace

// The rtnetlink socket's notifier needs Qt's application object.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
