#pragma once

#include "BrindKit/widgets/WidgetCPUTicks.hpp"
#include "BrindKit/widgets/WidgetRingBuffer.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/providers/ProcStats.hpp"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vq {

/// The system statistics the widgets draw: processor use and temperature, memory in use and network
/// traffic, read
/// from the kernel once a second while something shows them, and kept as short histories for the
/// graphs. Nothing is read while it is stopped.
class StatsSampler {
public:
    static constexpr double interval = 1;
    /// A minute of history: what a small graph can show legibly.
    static constexpr std::size_t historyLength = 60;

    /// `procFolder` and `sysClass` are where the kernel's files are ("/proc", "/sys/class"; a test
    /// may give folders of its own).
    explicit StatsSampler(Scheduler& scheduler, std::filesystem::path procFolder = "/proc",
                          std::filesystem::path sysClass = "/sys/class");
    StatsSampler(const StatsSampler&) = delete;
    StatsSampler& operator=(const StatsSampler&) = delete;

    /// Someone shows the statistics (the panel's card, a wing) and is told after each reading:
    /// sampling runs while at least one viewer is shown, and stops when the last one hides.
    void show(const void* viewer, std::function<void()> onSample);
    void hide(const void* viewer);
    std::size_t viewerCount() const { return viewers_.size(); }

    /// Takes a first reading now and one every `interval` after; a second start does nothing.
    void start();
    /// Stops reading and forgets the histories, which would show a gap as a straight line.
    void stop();
    bool isRunning() const { return timer_ != nullptr; }

    /// Processor use, 0...1, one value per interval.
    const brind::WidgetRingBuffer& cpu() const { return cpu_; }
    /// Memory in use as a share of all memory, 0...1.
    const brind::WidgetRingBuffer& memory() const { return memory_; }
    /// Bytes per second over every interface but the loopback.
    const brind::WidgetRingBuffer& received() const { return received_; }
    const brind::WidgetRingBuffer& sent() const { return sent_; }
    /// The last memory reading.
    const std::optional<ProcStats::Memory>& lastMemory() const { return lastMemory_; }
    /// The processor's temperature at the last reading, in degrees Celsius, where the machine
    /// reports one.
    const std::optional<double>& temperature() const { return temperature_; }

    /// Told after each reading.
    std::function<void()> onSample;

private:
    void sample();
    std::string read(const char* name) const;

    Scheduler& scheduler_;
    std::filesystem::path procFolder_;
    std::filesystem::path sysClass_;
    brind::WidgetRingBuffer cpu_{historyLength};
    brind::WidgetRingBuffer memory_{historyLength};
    brind::WidgetRingBuffer received_{historyLength};
    brind::WidgetRingBuffer sent_{historyLength};
    std::optional<ProcStats::Memory> lastMemory_;
    std::optional<double> temperature_;
    /// The previous reading, which rates and shares are measured against.
    std::optional<brind::WidgetCPUTicks> lastTicks_;
    std::map<std::string, ProcStats::Traffic> lastTraffic_;
    brind::Date lastSampleAt_{};
    std::unique_ptr<Scheduler::Timer> timer_;
    std::map<const void*, std::function<void()>> viewers_;
};

} // namespace vq
