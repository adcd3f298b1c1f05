#include "BrindKit/system/NetworkPeekDelivery.hpp"

#include <gtest/gtest.h>
#include <string>
#include <tuple>
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

TEST(NetworkPeekDelivery, AShortDropLeavesNoTraceAndOnlyTheLatestCheckCounts) {
    NetworkPeekDelivery delivery(start);
    const Plan first = delivery.receive({P::noInternet()}, later);
    ASSERT_TRUE(first.check.has_value());
    EXPECT_EQ(delivery.receive({P::backOnline()}, later + 1), Plan{});
    EXPECT_FALSE(delivery.hasPendingCheck());
    // The cancelled timer still fires; it must not show anything.
    EXPECT_EQ(delivery.confirm(first.check->generation, false), std::nullopt);

    const Plan second = delivery.receive({P::noInternet()}, later + 2);
    ASSERT_TRUE(second.check.has_value());
    // A timer left from the first drop must not confirm, nor cancel, the second.
    EXPECT_EQ(delivery.confirm(first.check->generation, false), std::nullopt);
    EXPECT_TRUE(delivery.hasPendingCheck());
    // Back online by another road (a new Wi-Fi rather than "Back online"): the check finds it online.
    EXPECT_EQ(delivery.confirm(second.check->generation, true), std::nullopt);
    EXPECT_FALSE(delivery.hasPendingCheck());
}

TEST(NetworkPeekDelivery, PostedPeeksBecomeShortLivedActivities) {
    // One activity per kind, so a newer peek of a kind replaces the older one.
    const std::vector<std::tuple<NetworkPeek, double, std::string>> cases = {
        {P::noInternet(), 6, "network.internet"},
        {P::backOnline(), 3.5, "network.internet"},
        {P::wifiJoined("Home"), 3.5, "network.wifi"},
        {P::hotspotJoined("Phone"), 3.5, "network.hotspot"},
        {P::vpnDown(), 3.5, "network.vpn"}};
    for (const auto& [peek, lifetime, id] : cases) {
        const LiveActivity activity = NetworkPeekDelivery::activity(peek, later);
        EXPECT_EQ(activity.id, id);
        EXPECT_EQ(activity.source, "network");
        EXPECT_EQ(activity.title, peek.title());
        EXPECT_EQ(activity.leading, ActivityGlyph::symbol(std::string(peek.symbol())));
        EXPECT_EQ(activity.postedAt, later);
        EXPECT_EQ(activity.expiresAt, later + lifetime) << id;
    }
}

} // namespace
} // namespace brind
