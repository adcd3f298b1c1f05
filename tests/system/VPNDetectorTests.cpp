#include "BrindKit/system/VPNDetector.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brind {
namespace {

TEST(VPNDetector, AnyTunnelInterfaceCountsAsVPN) {
    struct Case {
        std::vector<std::string> interfaces;
        bool vpn;
    };
    const std::vector<Case> cases = {
        {{"utun3"}, true},        {{"wg0"}, true},     {{"ipsec0"}, true}, {{"ppp0"}, true},
        {{"tap1"}, true},         {{"tun0"}, true},    {{"en0"}, false},   {{"wlan0", "eth0"}, false},
        {{"en0", "utun0"}, true}, {{}, false},         {{""}, false},      {{"UTUN3"}, false},
        {{"vwg0"}, false},        {{"wlp2s0"}, false}, {{"wgx"}, true},
    };
    for (const Case& c : cases) {
        std::string label;
        for (const auto& name : c.interfaces)
            label += name + " ";
        EXPECT_EQ(VPNDetector::isVPN(c.interfaces), c.vpn) << label;
    }
}

} // namespace
} // namespace brind
