#include "BrindKit/widgets/WidgetSideKind.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Kind = brind::WidgetSideKind;

TEST(WidgetSideKind, NamesRoundTripAndOnlySystemKindsUseStats) {
    std::vector<std::string> statsKinds;
    for (const auto kind : brind::allWidgetSideKinds) {
        EXPECT_EQ(brind::widgetSideKind(brind::rawValue(kind)), kind);
        EXPECT_FALSE(brind::title(kind).empty());
        if (brind::usesStats(kind))
            statsKinds.emplace_back(brind::rawValue(kind));
    }
    EXPECT_EQ(statsKinds, (std::vector<std::string>{"cpu", "memory", "gpu", "network", "disk", "battery"}));
    EXPECT_EQ(brind::title(Kind::nextEvent), "Next event");
    EXPECT_EQ(brind::title(Kind::stayAwake), "Stay Awake");
    EXPECT_EQ(brind::symbol(Kind::gpu), "square.stack.3d.up.fill");
    EXPECT_EQ(brind::widgetSideKind("CPU"), std::nullopt);
}
