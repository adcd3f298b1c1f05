#include "BrindKit/system/VPNDetector.hpp"

#include <algorithm>

namespace brind {

bool VPNDetector::isVPN(std::span<const std::string> scopedInterfaces) {
    return std::ranges::any_of(scopedInterfaces, [](const std::string& interface) {
        return std::ranges::any_of(prefixes,
                                   [&](std::string_view prefix) { return interface.starts_with(prefix); });
    });
}

} // namespace brind
