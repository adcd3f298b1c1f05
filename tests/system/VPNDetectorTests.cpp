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
    // A name only counts when it begins with a tunnel prefix: "vwg0" merely contains one.
    const std::vector<Case> cases = {
        {{"utun3"}, true},        {{"wg0"}, true},  {{"ipsec0"}, true}, {{"ppp0"}, true},
        {{"tap1"}, true},         {{"tun0"}, true}, {{"en0"}, false},   {{"wlan0", "eth0"}, false},
        {{"en0", "utun0"}, true}, {{}, false},      {{""}, false},      {{"vwg0"}, false}};
    for (const Case& c : cases)
        EXPECT_EQ(VPNDetector::isVPN(c.interfaces), c.vpn) << testing::PrintToString(c.interfaces);
}

} // namespace
} // namespace brind
