#include "BrindKit/widgets/WidgetSideKind.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace brind;

TEST(WidgetSideKind, NamesRoundTripAndOnlySystemKindsUseStats) {
    std::vector<std::string> statsKinds;
    for (const auto kind : allWidgetSideKinds) {
        EXPECT_EQ(widgetSideKindNamed(name(kind)), kind);
        if (usesStats(kind))
            statsKinds.emplace_back(name(kind));
    }
    EXPECT_EQ(statsKinds, (std::vector<std::string>{"cpu", "memory", "gpu", "network", "disk", "battery"}));
    EXPECT_EQ(widgetSideKindNamed("CPU"), std::nullopt);
}
