#include "vantaquill/providers/ThermalSensors.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

namespace vq {

namespace {

namespace fs = std::filesystem;

/// Hardware monitor drivers that measure the processor itself.
constexpr std::array processorMonitors = {"coretemp", "k10temp", "zenpower", "cpu_thermal", "cpu-thermal"};

std::string firstLine(const fs::path& file) {
    std::string text = brind::AtomicFile::read(file).value_or("");
    return text.substr(0, text.find('\n'));
}

/// A sensor file holds millidegrees Celsius; readings far outside what a machine survives are a
/// driver reporting "no value".
std::optional<double> celsius(const fs::path& file) {
    const std::string text = firstLine(file);
    long milli = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), milli);
    if (error != std::errc() || end == text.data() || milli <= -40'000 || milli >= 150'000)
        return std::nullopt;
    return static_cast<double>(milli) / 1000;
}

bool isProcessorZone(std::string_view type) {
    return type == "x86_pkg_temp" || type.find("cpu") != std::string_view::npos ||
           type.find("CPU") != std::string_view::npos || type.find("soc") != std::string_view::npos;
}

} // namespace

std::optional<double> ThermalSensors::processorCelsius(const fs::path& sysClass) {
    std::error_code error;
    // The processor's own driver: its first input is the package (or Tctl on AMD).
    for (const auto& monitor : fs::directory_iterator(sysClass / "hwmon", error)) {
        const std::string name = firstLine(monitor.path() / "name");
        if (std::ranges::find(processorMonitors, name) == processorMonitors.end())
            continue;
        if (const auto reading = celsius(monitor.path() / "temp1_input"))
            return reading;
    }
    std::optional<double> processorZone;
    std::optional<double> hottest;
    for (const auto& zone : fs::directory_iterator(sysClass / "thermal", error)) {
        if (!zone.path().filename().string().starts_with("thermal_zone"))
            continue;
        const auto reading = celsius(zone.path() / "temp");
        if (!reading)
            continue;
        if (isProcessorZone(firstLine(zone.path() / "type")))
            processorZone = std::max(processorZone.value_or(*reading), *reading);
        hottest = std::max(hottest.value_or(*reading), *reading);
    }
    return processorZone ? processorZone : hottest;
}

} // namespace vq
