#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/SDKService.hpp"
#include "vantaquill/ShelfStore.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

brind::LiveActivity alertFrom(std::string id) {
    brind::LiveActivity activity;
    activity.id = std::move(id);
    activity.source = "sdk.app";
    activity.title = "Deploy?";
    activity.alert = true;
    return activity;
}

TEST(PauseNotifications, AppsActivitiesAreQueuedButDoNotPopTheIslandOpenWhilePaused) {
    brindtest::TemporaryFolder folder{"vantaquill-pause"};
    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    ShelfStore shelf(folder.path());
    HeadlessDisplay display([](const std::string&) {}, [](const std::string&) {});
    SDKService service([](std::function<void()> work) { work(); }, center, shelf, scheduler, display,
                       [](const brind::AgentHookEvent&) {});

    service.setQuiet(true);
    service.showActivity(alertFrom("sdk.app.one"));
    ASSERT_EQ(center.activities().size(), 1u);
    EXPECT_FALSE(center.alerting()) << "popped open while notifications are paused";

    service.setQuiet(false);
    service.showActivity(alertFrom("sdk.app.two"));
    ASSERT_TRUE(center.alerting());
    EXPECT_EQ(center.alerting()->id, "sdk.app.two");
}

} // namespace
} // namespace vq
