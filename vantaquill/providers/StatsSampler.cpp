#include "vantaquill/providers/StatsSampler.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/widgets/WidgetStatsMath.hpp"
#include "vantaquill/providers/ThermalSensors.hpp"

#include <utility>

namespace vq {

namespace {

/// Interface counters are 64 bits wide on Linux and do not wrap in practice; one that went
/// backwards was reset (the interface went down and up), so its new value is what it moved.
constexpr std::uint64_t resetCounter = 0;

} // namespace

StatsSampler::StatsSampler(Scheduler& scheduler, std::filesystem::path procFolder, std::filesystem::path sysClass)
    : scheduler_(scheduler), procFolder_(std::move(procFolder)), sysClass_(std::move(sysClass)) {}

void StatsSampler::start() {
    if (isRunning())
        return;
    sample();
}

void StatsSampler::show(const void* viewer, std::function<void()> onSample) {
    viewers_[viewer] = std::move(onSample);
    start();
}

void StatsSampler::hide(const void* viewer) {
    if (viewers_.erase(viewer) > 0 && viewers_.empty())
        stop();
}

void StatsSampler::stop() {
    timer_.reset();
    for (auto* history : {&cpu_, &memory_, &received_, &sent_})
        history->removeAll();
    lastTicks_.reset();
    lastTraffic_.clear();
    lastMemory_.reset();
}

std::string StatsSampler::read(const char* name) const {
    return brind::AtomicFile::read(procFolder_ / name).value_or("");
}

void StatsSampler::sample() {
    const brind::Date now = scheduler_.now();
    const double elapsed = now - lastSampleAt_;

    if (const auto ticks = ProcStats::cpu(read("stat"))) {
        // The first reading has nothing to compare with; the graph starts at the second.
        if (lastTicks_)
            cpu_.append(brind::WidgetStatsMath::cpuUsage(*lastTicks_, *ticks));
        lastTicks_ = ticks;
    }

    lastMemory_ = ProcStats::memory(read("meminfo"));
    temperature_ = ThermalSensors::processorCelsius(sysClass_);
    if (lastMemory_ && lastMemory_->total > 0)
        memory_.append(static_cast<double>(lastMemory_->used()) / static_cast<double>(lastMemory_->total));

    auto traffic = ProcStats::network(read("net/dev"));
    double receivedRate = 0;
    double sentRate = 0;
    bool compared = false;
    // An interface that just appeared has nothing to compare with, and one that went away moved
    // nothing more; neither is counted this time.
    for (const auto& [name, counters] : traffic) {
        const auto before = lastTraffic_.find(name);
        if (before == lastTraffic_.end())
            continue;
        compared = true;
        receivedRate += brind::WidgetStatsMath::rate(before->second.received, counters.received, elapsed, resetCounter);
        sentRate += brind::WidgetStatsMath::rate(before->second.sent, counters.sent, elapsed, resetCounter);
    }
    if (compared) {
        received_.append(receivedRate);
        sent_.append(sentRate);
    }
    lastTraffic_ = std::move(traffic);
    lastSampleAt_ = now;

    timer_ = scheduler_.schedule(interval, [this] { sample(); });
    if (onSample)
        onSample();
    // A viewer told may hide itself (or another); the map is walked from a copy.
    const auto viewers = viewers_;
    for (const auto& [viewer, told] : viewers) {
        if (told && viewers_.contains(viewer))
            told();
    }
}

} // namespace vq
