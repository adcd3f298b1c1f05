#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/ThermalSensors.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace vq {
namespace {

/// Writes the three kernel files the sampler reads, in the kernel's own layout.
void writeProc(const std::filesystem::path& folder, const std::string& cpu, std::uint64_t availableKiB,
               std::uint64_t ethReceived, std::uint64_t ethSent) {
    std::filesystem::create_directories(folder / "net");
    ASSERT_TRUE(brind::AtomicFile::write(folder / "stat", "cpu  " + cpu + "\ncpu0 1 2 3 4 5 6 7 8 0 0\nintr 12345\n"));
    ASSERT_TRUE(brind::AtomicFile::write(folder / "meminfo", "MemTotal:        8000000 kB\nMemFree:  100 kB\n"
                                                             "MemAvailable:    " +
                                                                 std::to_string(availableKiB) + " kB\n"));
    ASSERT_TRUE(brind::AtomicFile::write(
        folder / "net/dev",
        "Inter-|   Receive                                                |  Transmit\n"
        " face |bytes    packets errs drop fifo frame compressed multicast"
        "|bytes    packets errs drop fifo colls carrier compressed\n"
        "    lo: 999999 10 0 0 0 0 0 0 999999 10 0 0 0 0 0 0\n"
        "  eth0: " + std::to_string(ethReceived) + " 20 0 0 0 0 0 0 " + std::to_string(ethSent) + " 30 0 0 0 0 0 0\n"));
}

TEST(ProcStats, ReadsTheKernelsOwnFiles) {
    // The machine's own files: whatever it runs, they must parse.
    const auto cpu = ProcStats::cpu(brind::AtomicFile::read("/proc/stat").value_or(""));
    ASSERT_TRUE(cpu.has_value());
    EXPECT_GT(cpu->total(), 0u);
    const auto memory = ProcStats::memory(brind::AtomicFile::read("/proc/meminfo").value_or(""));
    ASSERT_TRUE(memory.has_value());
    EXPECT_GT(memory->total, memory->available);
    EXPECT_FALSE(ProcStats::network(brind::AtomicFile::read("/proc/net/dev").value_or("")).contains("lo"));

    // user nice system idle iowait irq softirq steal: waiting for the disk is idle, interrupts and
    // stolen time are system time.
    EXPECT_EQ(ProcStats::cpu("cpu  10 2 30 400 5 6 7 8 0 0\n"), (brind::WidgetCPUTicks{10, 51, 405, 2}));
    EXPECT_EQ(ProcStats::cpu("cpu0 1 2 3 4\n"), std::nullopt) << "a single core is not the machine";
    EXPECT_EQ(ProcStats::cpu("cpu  1 x 3 4\n"), std::nullopt);
    EXPECT_EQ(ProcStats::memory("MemTotal: 10 kB\n"), std::nullopt);
}

TEST(ThermalSensors, PrefersTheProcessorsOwnSensorThenItsZoneThenTheHottestZone) {
    struct Sensor {
        std::string file;
        std::string text;
    };
    struct Case {
        const char* name;
        std::vector<Sensor> sensors;
        std::optional<double> expected;
    };
    const std::vector<Case> cases = {
        {"processor monitor over every zone",
         {{"hwmon/hwmon0/name", "acpitz"}, {"hwmon/hwmon0/temp1_input", "70000"},
          {"hwmon/hwmon1/name", "coretemp"}, {"hwmon/hwmon1/temp1_input", "54000"},
          {"thermal/thermal_zone0/type", "x86_pkg_temp"}, {"thermal/thermal_zone0/temp", "61000"}},
         54.0},
        {"processor zone over a hotter one",
         {{"thermal/thermal_zone0/type", "acpitz"}, {"thermal/thermal_zone0/temp", "80000"},
          {"thermal/thermal_zone1/type", "cpu-thermal"}, {"thermal/thermal_zone1/temp", "47500"}},
         47.5},
        {"the hottest zone when none is the processor's",
         {{"thermal/thermal_zone0/type", "acpitz"}, {"thermal/thermal_zone0/temp", "41000"},
          {"thermal/thermal_zone1/type", "pch_skylake"}, {"thermal/thermal_zone1/temp", "44000"}},
         44.0},
        {"a driver's no-value and an unreadable reading are passed over",
         {{"hwmon/hwmon0/name", "k10temp"}, {"hwmon/hwmon0/temp1_input", "-273000"},
          {"thermal/thermal_zone0/type", "acpitz"}, {"thermal/thermal_zone0/temp", "n/a"}},
         std::nullopt},
        {"a machine that reports nothing", {}, std::nullopt},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        brindtest::TemporaryFolder sys{"vq-sys"};
        for (const auto& sensor : each.sensors) {
            std::filesystem::create_directories((sys.path() / sensor.file).parent_path());
            ASSERT_TRUE(brind::AtomicFile::write(sys.path() / sensor.file, sensor.text + "\n"));
        }
        EXPECT_EQ(ThermalSensors::processorCelsius(sys.path()), each.expected);
    }
}

TEST(StatsSampler, SamplesOnlyWhileStartedAndMeasuresAgainstThePreviousReading) {
    brindtest::TemporaryFolder proc{"vq-proc"};
    ManualScheduler scheduler;
    StatsSampler sampler(scheduler, proc.path());
    int samples = 0;
    sampler.onSample = [&samples] { ++samples; };
    writeProc(proc.path(), "100 0 100 800 0 0 0 0", 6'000'000, 1000, 500);

    scheduler.advance(5);
    EXPECT_EQ(samples, 0) << "nothing is read before it starts";
    sampler.start();
    EXPECT_EQ(samples, 1);
    EXPECT_EQ(sampler.cpu().count(), 0u) << "a first reading has nothing to compare with";
    EXPECT_DOUBLE_EQ(sampler.memory().last().value_or(-1), 0.25);

    // 300 of 1000 ticks busy; 2000 bytes in and 1000 out over one second.
    writeProc(proc.path(), "250 0 250 1500 0 0 0 0", 2'000'000, 3000, 1500);
    scheduler.advance(StatsSampler::interval);
    EXPECT_EQ(samples, 2);
    EXPECT_DOUBLE_EQ(sampler.cpu().last().value_or(-1), 0.3);
    EXPECT_DOUBLE_EQ(sampler.memory().last().value_or(-1), 0.75);
    EXPECT_DOUBLE_EQ(sampler.received().last().value_or(-1), 2000);
    EXPECT_DOUBLE_EQ(sampler.sent().last().value_or(-1), 1000);

    // An interface that came back up counts from zero, never as a wrap of its counter.
    writeProc(proc.path(), "250 0 250 1500 0 0 0 0", 2'000'000, 400, 100);
    scheduler.advance(StatsSampler::interval);
    EXPECT_DOUBLE_EQ(sampler.received().last().value_or(-1), 400);

    sampler.stop();
    EXPECT_FALSE(sampler.isRunning());
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    EXPECT_EQ(sampler.cpu().count(), 0u);
    scheduler.advance(60);
    EXPECT_EQ(samples, 3);
}

} // namespace
} // namespace vq
