#pragma once

#include <cstdint>

namespace brind {

/// Cumulative processor time counters, in ticks, of one core or of the whole machine.
struct WidgetCPUTicks {
    std::uint64_t user = 0;
    std::uint64_t system = 0;
    std::uint64_t idle = 0;
    std::uint64_t nice = 0;

    std::uint64_t busy() const { return user + system + nice; }
    std::uint64_t total() const { return busy() + idle; }

    friend bool operator==(const WidgetCPUTicks&, const WidgetCPUTicks&) = default;
};

} // namespace brind
