#pragma once

#include "BrindKit/widgets/WidgetCPUTicks.hpp"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// Readers of the kernel's statistics files under /proc.
struct ProcStats {
    /// From /proc/meminfo, in bytes.
    struct Memory {
        std::uint64_t total = 0;
        /// What the kernel could hand out without swapping (free memory plus reclaimable caches).
        std::uint64_t available = 0;

        std::uint64_t used() const { return total > available ? total - available : 0; }
        friend bool operator==(const Memory&, const Memory&) = default;
    };

    /// Bytes one network interface has received and sent since it came up.
    struct Traffic {
        std::uint64_t received = 0;
        std::uint64_t sent = 0;
        friend bool operator==(const Traffic&, const Traffic&) = default;
    };

    /// The whole machine's line ("cpu ...") of /proc/stat. The kernel counts more kinds of time
    /// than the four we keep: waiting for the disk counts as idle, interrupts and time stolen by a
    /// hypervisor as system time.
    static std::optional<brind::WidgetCPUTicks> cpu(std::string_view stat);

    /// "MemTotal" and "MemAvailable" of /proc/meminfo; nothing when either is missing.
    static std::optional<Memory> memory(std::string_view meminfo);

    /// Every interface of /proc/net/dev but the loopback, whose traffic never leaves the machine.
    static std::map<std::string, Traffic> network(std::string_view netDev);
};

} // namespace vq
