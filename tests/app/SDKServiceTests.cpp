#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/SDKService.hpp"

#include <gtest/gtest.h>

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
}
