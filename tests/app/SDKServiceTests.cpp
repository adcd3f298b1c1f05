#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/SDKService.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <string>

using namespace vq;

namespace {

brind::LiveActivity activity(std::string id, std::string title) {
    return {.id = std::move(id), .source = "sdk.test", .title = std::move(title)};
}

} // namespace

// Activity requests that arrive while the main thread is busy wake it once, keep their order, and
// reach the display as one change.
TEST(SDKService, HandsABurstOfActivityChangesToTheMainThreadAtOnceAndInOrder) {
    brindtest::TemporaryFolder folder;
    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    ShelfStore shelf(folder.path());
    std::vector<std::string> lines;
    HeadlessDisplay display([&](const std::string& line) { lines.push_back(line); },
                            [](const std::string&) {});
    center.onChange = [&](LiveActivityCenter::Change change) {
        if (change == LiveActivityCenter::Change::activities)
            display.activitiesChanged(center.activities());
    };
    std::vector<std::function<void()>> mainThread;
    SDKService service([&](std::function<void()> work) { mainThread.push_back(std::move(work)); }, center,
                       shelf, scheduler, display, [](const brind::AgentHookEvent&) {});

    service.showActivity(activity("sdk.a.up", "Uploading"));
    service.showActivity(activity("sdk.a.up", "Uploaded"));
    service.showActivity(activity("sdk.b.tea", "Tea"));
    service.showActivity(activity("sdk.a.gone", "Gone soon"));
    service.endActivity("sdk.a.gone");
    service.showActivity(activity("sdk.a.late", "Late"));
    service.endActivities("sdk.b.");
    ASSERT_EQ(mainThread.size(), 1u);
    mainThread.front()();

    std::vector<std::string> ids;
    for (const auto& shown : center.activities())
        ids.push_back(shown.id + " " + shown.title);
    std::ranges::sort(ids);
    EXPECT_EQ(ids, (std::vector<std::string>{"sdk.a.late Late", "sdk.a.up Uploaded"}));
    EXPECT_EQ(lines.size(), 2u); // one display pass: each activity shown once, in its last state

    // Once the queue is empty the next request wakes the main thread again; with a deferral, only
    // once the SDK thread gets to it (after its reply).
    std::vector<std::function<void()>> sdkThread;
    service.setWakeLater([&](std::function<void()> work) { sdkThread.push_back(std::move(work)); });
    service.endActivity("sdk.a.late");
    EXPECT_EQ(mainThread.size(), 1u);
    ASSERT_EQ(sdkThread.size(), 1u);
    sdkThread.front()();
    ASSERT_EQ(mainThread.size(), 2u);
    mainThread.back()();
    ASSERT_EQ(center.activities().size(), 1u);
    EXPECT_EQ(lines.back(), "activity ended id=sdk.a.late");

    // With a timer, a change right after a wake waits for the end of the spacing instead of waking the
    // main thread again; a HUD flash that comes meanwhile brings the waiting change with it, first.
    std::vector<std::chrono::steady_clock::duration> delays;
    std::vector<std::function<void()>> timed;
    service.setWakeTimer([&](std::chrono::steady_clock::duration delay, std::function<void()> work) {
        delays.push_back(delay);
        timed.push_back(std::move(work));
    });
    // Each round wakes at once and then queues within the spacing, unless the machine stalled this
    // thread past it in between; a few rounds make that stall irrelevant.
    for (int round = 0; round < 5 && delays.empty(); ++round) {
        service.showActivity(activity("sdk.c.first", "First"));
        sdkThread.back()();
        mainThread.back()();
        service.showActivity(activity("sdk.c.second", "Second " + std::to_string(round)));
    }
    ASSERT_EQ(delays.size(), 1u);
    EXPECT_GT(delays.front(), std::chrono::steady_clock::duration::zero());
    EXPECT_LE(delays.front(), SDKService::wakeSpacing);
    const auto wakes = mainThread.size();
    service.showHUD(brind::HUDEvent{});
    ASSERT_EQ(mainThread.size(), wakes + 1);
    mainThread.back()();
    EXPECT_NE(center.queue().activity("sdk.c.second"), nullptr);
    EXPECT_TRUE(center.hud().has_value());
    timed.front()();
    ASSERT_EQ(mainThread.size(), wakes + 2);
    mainThread.back()(); // the spaced wake finds the change applied already
    EXPECT_EQ(center.activities().size(), 3u);
}
