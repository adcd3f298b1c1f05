#pragma once

#include <filesystem>
#include <optional>

namespace vq {

/// The processor's temperature as the kernel reports it under its device classes: a hardware
/// monitor driver of the processor (coretemp, k10temp, zenpower, the CPU's own thermal driver on ARM
/// boards) first, else a thermal zone of the processor or package, else the hottest zone there is.
/// Nothing on machines that report none (most virtual machines).
struct ThermalSensors {
    /// Degrees Celsius; `sysClass` is where the device classes are ("/sys/class").
    static std::optional<double> processorCelsius(const std::filesystem::path& sysClass);
};

} // namespace vq
