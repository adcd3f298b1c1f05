#include "BrindKit/system/NetworkPeekDelivery.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace brind {
namespace {

using P = NetworkPeek;
using Plan = NetworkPeekDelivery::Plan;

const Date start{1'700'000'000};
const Date later = start + 60;

TEST(NetworkPeekDelivery, NothingIsShownDuringTheQuietTimeAfterStart) {
    NetworkPeekDelivery delivery(start);
    EXPECT_EQ(delivery.receive({P::wifiJoined("Home"), P::noInternet()}, start + 1), Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    const Plan plan = delivery.receive({P::wifiJoined("Home")}, start + NetworkPeekDelivery::quietTime);
    EXPECT_EQ(plan.post, std::vector<NetworkPeek>{P::wifiJoined("Home")});
}

TEST(NetworkPeekDelivery, NoInternetWaitsForConfirmation) {
    NetworkPeekDelivery delivery(start);
    const Plan plan = delivery.receive({P::vpnDown(), P::noInternet()}, later);
    EXPECT_EQ(plan.post, std::vector<NetworkPeek>{P::vpnDown()});
    ASSERT_TRUE(plan.check.has_value());
    EXPECT_EQ(plan.check->after, 4);
    EXPECT_TRUE(delivery.hasPendingCheck());

    // Still offline four seconds later: now it is shown, once.
    EXPECT_EQ(delivery.confirm(plan.check->generation, false), P::noInternet());
    EXPECT_FALSE(delivery.hasPendingCheck());
    EXPECT_EQ(delivery.confirm(plan.check->generation, false), std::nullopt);

    // Once shown, the return is worth a peek of its own.
    EXPECT_EQ(delivery.receive({P::backOnline()}, later + 10).post,
              std::vector<NetworkPeek>{P::backOnline()});
}

TEST(NetworkPeekDelivery, AShortDropLeavesNoTrace) {
    NetworkPeekDelivery delivery(start);
    const Plan drop = delivery.receive({P::noInternet()}, later);
    ASSERT_TRUE(drop.check.has_value());
    const Plan back = delivery.receive({P::backOnline()}, later + 2);
    EXPECT_EQ(back, Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    // The cancelled timer still fires; it must not show anything.
    EXPECT_EQ(delivery.confirm(drop.check->generation, false), std::nullopt);
}

TEST(NetworkPeekDelivery, OnlyTheLatestCheckCounts) {
    NetworkPeekDelivery delivery(start);
    const Plan first = delivery.receive({P::noInternet()}, later);
    delivery.receive({P::backOnline()}, later + 1);
    const Plan second = delivery.receive({P::noInternet()}, later + 2);
    ASSERT_TRUE(first.check && second.check);
    EXPECT_NE(first.check->generation, second.check->generation);
    EXPECT_EQ(delivery.confirm(first.check->generation, false), std::nullopt);
    EXPECT_TRUE(delivery.hasPendingCheck());
    // Back online by another road (a new Wi-Fi rather than "Back online"): the check finds it online.
    EXPECT_EQ(delivery.confirm(second.check->generation, true), std::nullopt);
    EXPECT_FALSE(delivery.hasPendingCheck());
}

TEST(NetworkPeekDelivery, PostedPeeksBecomeShortLivedActivities) {
    struct Case {
        NetworkPeek peek;
        double lifetime;
        std::string id;
    };
    const std::vector<Case> cases = {
        {P::noInternet(), 6, "network.internet"},     {P::backOnline(), 3.5, "network.internet"},
        {P::wifiJoined("Home"), 3.5, "network.wifi"}, {P::hotspotJoined("Phone"), 3.5, "network.hotspot"},
        {P::vpnDown(), 3.5, "network.vpn"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(NetworkPeekDelivery::lifetime(c.peek), c.lifetime) << c.peek.title();
        const LiveActivity activity = NetworkPeekDelivery::activity(c.peek, later);
        EXPECT_EQ(activity.id, c.id);
        EXPECT_EQ(activity.source, "network");
        EXPECT_EQ(activity.title, c.peek.title());
        EXPECT_EQ(activity.leading, ActivityGlyph::symbol(std::string(c.peek.symbol())));
        EXPECT_EQ(activity.expiresAt, later + c.lifetime);
        EXPECT_FALSE(activity.isExpired(later + c.lifetime - 0.01));
        EXPECT_TRUE(activity.isExpired(later + c.lifetime));
    }
}

} // namespace
} // namespace brind
