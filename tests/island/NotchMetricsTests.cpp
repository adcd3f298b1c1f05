#include "BrindKit/island/NotchMetrics.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(NotchMetrics, MeasuresAPlausibleHousingBetweenTheFreeAreas) {
    const NotchMetrics metrics = NotchMetrics::compute(1512, 32.4, 663.6, 663.2, 24);
    EXPECT_EQ(metrics, (NotchMetrics{true, SizeF{185, 32}, 32.4}));
}

TEST(NotchMetrics, AnythingImplausibleIsNoHousing) {
    struct Case {
        double safeTop;
        std::optional<double> left;
        std::optional<double> right;
        double menuBar;
        double expectedMenuBar;
    };
    const Case cases[] = {
        {0, 700, 700, 22, 24},                                   // no inset
        {32, std::nullopt, 700, 30, 30},                         // a missing width
        {32, 700, std::nullopt, 24, 24}, {32, 730, 730, 22, 24}, // exactly 40 wide
        {32, 370, 370, 22, 24},                                  // exactly half the screen
        {32, 300, 300, 22, 24},                                  // wider than half
        {-1, 600, 600, 26, 26},
    };
    for (const auto& [safeTop, left, right, menuBar, expectedMenuBar] : cases) {
        const NotchMetrics metrics = NotchMetrics::compute(1500, safeTop, left, right, menuBar);
        EXPECT_EQ(metrics, (NotchMetrics{false, SizeF{0, 0}, expectedMenuBar}))
            << safeTop << " " << left.value_or(-1) << " " << right.value_or(-1);
    }
}
