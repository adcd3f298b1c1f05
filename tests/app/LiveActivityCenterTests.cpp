#include "vantaquill/LiveActivityCenter.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace brind;
using vq::LiveActivityCenter;
using vq::ManualScheduler;
using Result = ActivityQueue::PostResult;
using Change = LiveActivityCenter::Change;

namespace {

LiveActivity activity(std::string id, ActivityPriority priority = ActivityPriority::normal,
                      bool alert = false, std::optional<Date> expiresAt = std::nullopt) {
    LiveActivity made{
        .id = std::move(id), .source = "test", .priority = priority, .title = "Title", .alert = alert};
    made.expiresAt = expiresAt;
    return made;
}

// Posts an alerting activity of its own at start; as the desktop's providers do, it may end it
// through the center as it stops.
struct FakeProvider final : LiveActivityCenter::Provider {
    FakeProvider(std::string name, std::vector<std::string>& log,
                 std::optional<Date> endsOwnAt = std::nullopt)
        : name(std::move(name)), log(log), endsOwnAt(endsOwnAt) {}
    std::string id() const override { return name; }
    void start(LiveActivityCenter& started) override {
        center = &started;
        log.push_back("start " + name);
        LiveActivity posted = activity(name + ".1", ActivityPriority::important, true, endsOwnAt);
        posted.source = name;
        started.post(posted);
    }
    void stop() override {
        log.push_back("stop " + name);
        if (endsOwnAt)
            center->end(name + ".1");
    }
    std::string name;
    std::vector<std::string>& log;
    std::optional<Date> endsOwnAt;
    LiveActivityCenter* center = nullptr;
};

struct CenterTest : ::testing::Test {
    CenterTest() {
        center.onChange = [this](Change change) { changes.push_back(change); };
    }
    int count(Change change) const { return static_cast<int>(std::ranges::count(changes, change)); }
    /// The id of the activity popped open as an alert, or "".
    std::string alertingID() const { return center.alerting() ? center.alerting()->id : ""; }

    ManualScheduler scheduler;
    LiveActivityCenter center{scheduler};
    std::vector<Change> changes;
};

} // namespace

TEST_F(CenterTest, PublishesTheOrderedListOnlyWhenItChanges) {
    EXPECT_EQ(center.post(activity("a")), Result::inserted);
    EXPECT_EQ(center.post(activity("b", ActivityPriority::important)), Result::inserted);
    ASSERT_EQ(center.activities().size(), 2u);
    EXPECT_EQ(center.activities()[0].id, "b");
    EXPECT_EQ(center.activities()[1].postedAt, scheduler.now());
    EXPECT_EQ(count(Change::activities), 2);

    EXPECT_EQ(center.post(activity("a")), Result::unchanged);
    EXPECT_FALSE(center.end("missing"));
    EXPECT_FALSE(center.dismiss("missing"));
    EXPECT_EQ(count(Change::activities), 2);

    EXPECT_TRUE(center.dismiss("a"));
    // Suppressed by the dismissal: nothing stored, nothing to republish.
    EXPECT_EQ(center.post(activity("a")), Result::suppressed);
    EXPECT_EQ(count(Change::activities), 3);
    EXPECT_EQ(center.activities().size(), 1u);
}

TEST_F(CenterTest, AlertsClearAfterTheirTimeUnlessCritical) {
    center.post(activity("tea", ActivityPriority::important, true));
    EXPECT_EQ(alertingID(), "tea");
    scheduler.advance(3.9);
    EXPECT_TRUE(center.alerting());
    scheduler.advance(0.1);
    EXPECT_FALSE(center.alerting());
    EXPECT_EQ(center.activities().size(), 1u);

    center.post(activity("fire", ActivityPriority::critical, true));
    scheduler.advance(60);
    EXPECT_EQ(alertingID(), "fire");
    center.end("fire");
    EXPECT_FALSE(center.alerting());

    center.post(activity("quiet"));
    EXPECT_FALSE(center.alerting());
}

TEST_F(CenterTest, FocusQueuesQuietActivitiesWithoutPoppingTheIslandOpen) {
    center.post(activity("chat", ActivityPriority::normal, true));
    ASSERT_TRUE(center.alerting());
    center.setFocus({.paused = true});
    EXPECT_FALSE(center.alerting()) << "turning focus on closes an alert that could not break through";

    center.post(activity("news", ActivityPriority::ambient, true));
    LiveActivity again = activity("chat", ActivityPriority::normal, true);
    again.title = "again";
    center.post(again);
    EXPECT_FALSE(center.alerting());
    EXPECT_EQ(center.activities().size(), 2u) << "focused activities still join the queue";
    EXPECT_FALSE(center.mayInterrupt(ActivityPriority::normal));

    center.post(activity("deploy", ActivityPriority::important, true));
    EXPECT_EQ(alertingID(), "deploy");
    center.setFocus({.desktopDoNotDisturb = true});
    EXPECT_TRUE(center.alerting()) << "an important alert stays through a change of focus";

    center.setFocus({});
    center.post(activity("later", ActivityPriority::normal, true));
    EXPECT_EQ(alertingID(), "later");
}

TEST_F(CenterTest, UpdatesReAlertOnlyAtRaisedImportance) {
    center.post(activity("n", ActivityPriority::normal, true));
    scheduler.advance(5);
    ASSERT_FALSE(center.alerting());

    LiveActivity update = activity("n", ActivityPriority::normal, true);
    update.title = "changed";
    center.post(update);
    EXPECT_FALSE(center.alerting()) << "a normal update does not alert again";

    update.title = "changed again";
    update.priority = ActivityPriority::important;
    center.post(update);
    ASSERT_TRUE(center.alerting());
    EXPECT_EQ(center.alerting()->title, "changed again");

    // An update of the activity being shown replaces it without restarting its time.
    scheduler.advance(3);
    update.title = "third";
    update.alert = false;
    center.post(update);
    EXPECT_EQ(center.alerting()->title, "third");
    scheduler.advance(1);
    EXPECT_FALSE(center.alerting());
}

TEST_F(CenterTest, FlashReplacesTheHUDAndRestartsItsTime) {
    HUDEvent volume;
    volume.kind = HUDEvent::Kind::volume;
    volume.value = 0.5;
    center.flash(volume);
    EXPECT_EQ(center.hud(), volume);
    EXPECT_EQ(center.hudSerial(), 1u);
    scheduler.advance(1.0);
    center.flash(volume);
    EXPECT_EQ(center.hudSerial(), 2u);
    scheduler.advance(1.0);
    EXPECT_TRUE(center.hud()) << "the second flash restarted the 1.6 s";
    scheduler.advance(0.6);
    EXPECT_FALSE(center.hud());
    EXPECT_EQ(count(Change::hud), 3);
    EXPECT_EQ(scheduler.pendingCount(), 0u);
}

TEST_F(CenterTest, KeepsExactlyOneExpiryTimerThatNeverFiresCloserThanTheFloor) {
    center.post(activity("later", ActivityPriority::normal, false, scheduler.now() + 20));
    center.post(activity("soon", ActivityPriority::normal, false, scheduler.now() + 10));
    center.post(activity("forever"));
    EXPECT_EQ(scheduler.pendingCount(), 1u);
    EXPECT_EQ(scheduler.nextDue(), scheduler.now() + 10);

    scheduler.advance(10);
    EXPECT_EQ(center.activities().size(), 2u);
    EXPECT_EQ(scheduler.nextDue(), scheduler.now() + 10);
    scheduler.advance(10);
    ASSERT_EQ(center.activities().size(), 1u);
    EXPECT_EQ(center.activities()[0].id, "forever");
    EXPECT_EQ(scheduler.pendingCount(), 0u);

    center.post(activity("overdue", ActivityPriority::normal, false, scheduler.now() + 0.01));
    EXPECT_EQ(scheduler.nextDue(), scheduler.now() + LiveActivityCenter::expiryFloor);
    scheduler.advance(0.04);
    EXPECT_EQ(center.activities().size(), 2u);
    scheduler.advance(0.01);
    EXPECT_EQ(center.activities().size(), 1u);

    // A change at the very moment an expiry falls due re-arms the timer with the expiry in the
    // past: it must wait for the floor instead of firing at once.
    const Date start = scheduler.now();
    auto poke = scheduler.schedule(1, [this] { center.post(activity("b")); });
    center.post(activity("due", ActivityPriority::normal, false, start + 1));
    scheduler.advance(1);
    EXPECT_EQ(scheduler.nextDue(), start + 1 + LiveActivityCenter::expiryFloor);
    EXPECT_NE(center.queue().activity("due"), nullptr);
    scheduler.advance(LiveActivityCenter::expiryFloor);
    EXPECT_EQ(center.queue().activity("due"), nullptr);
}

// However an alerting activity goes (it expires, arrives already expired, or its source ends all of
// its activities), its alert goes with it.
TEST_F(CenterTest, AnActivityThatGoesTakesItsAlertWithIt) {
    center.post(activity("c", ActivityPriority::critical, true, scheduler.now() + 30));
    ASSERT_TRUE(center.alerting());
    scheduler.advance(30);
    EXPECT_FALSE(center.alerting());
    EXPECT_TRUE(center.activities().empty());

    center.post(activity("x", ActivityPriority::critical, true));
    EXPECT_EQ(center.post(activity("x", ActivityPriority::normal, false, scheduler.now())),
              Result::suppressed);
    EXPECT_FALSE(center.alerting());
    EXPECT_TRUE(center.activities().empty());

    LiveActivity mine = activity("sdk.app.1", ActivityPriority::critical, true);
    mine.source = "app";
    center.post(mine);
    center.post(activity("other"));
    EXPECT_EQ(center.endAll("app"), std::vector<std::string>{"sdk.app.1"});
    EXPECT_FALSE(center.alerting());
    EXPECT_EQ(center.activities().size(), 1u);
    EXPECT_TRUE(center.endAll("app").empty());
}

TEST_F(CenterTest, RoutesPressesByPrefixInRegistrationOrderThenToTheCatchAll) {
    std::vector<std::string> calls;
    center.handleActions("sdk.", [&](const std::string& id, const std::string& action) {
        calls.push_back("sdk " + id + " " + action);
    });
    center.handleActions(
        "sdk.lumetta.", [&](const std::string& id, const std::string&) { calls.push_back("lumetta " + id); });
    center.handleActions("agent.", [&](const std::string&, const std::string&) { calls.push_back("agent"); });
    center.onAction = [&](const std::string& id, const std::string& action) {
        calls.push_back("any " + id + " " + action);
    };

    center.perform("sdk.lumetta.build", "cancel");
    EXPECT_EQ(calls, (std::vector<std::string>{"sdk sdk.lumetta.build cancel", "lumetta sdk.lumetta.build",
                                               "any sdk.lumetta.build cancel"}));

    // Re-registering a prefix replaces its handler and moves it to the end.
    calls.clear();
    center.handleActions("sdk.",
                         [&](const std::string&, const std::string&) { calls.push_back("sdk again"); });
    center.perform("sdk.lumetta.x", "ok");
    EXPECT_EQ(calls,
              (std::vector<std::string>{"lumetta sdk.lumetta.x", "sdk again", "any sdk.lumetta.x ok"}));

    calls.clear();
    center.perform("timer", "stop");
    EXPECT_EQ(calls, (std::vector<std::string>{"any timer stop"}));
}

TEST_F(CenterTest, StartsAndStopsProvidersOnceAndEndsTheirActivities) {
    std::vector<std::string> log;
    center.registerProvider(std::make_unique<FakeProvider>("media", log));
    center.registerProvider(std::make_unique<FakeProvider>("battery", log));
    ASSERT_NE(center.provider("media"), nullptr);
    EXPECT_EQ(center.provider("wifi"), nullptr);

    center.start("media");
    center.start("media");
    center.start("wifi");
    center.stop("battery");
    EXPECT_EQ(log, (std::vector<std::string>{"start media"}));
    EXPECT_TRUE(center.isStarted("media"));
    EXPECT_EQ(center.activities().size(), 1u);

    center.start("battery");
    center.post(activity("unrelated"));
    center.stop("media");
    EXPECT_FALSE(center.isStarted("media"));
    EXPECT_EQ(center.queue().activity("media.1"), nullptr);
    EXPECT_EQ(center.activities().size(), 2u);

    center.stopAll();
    EXPECT_EQ(log, (std::vector<std::string>{"start media", "start battery", "stop media", "stop battery"}));
    ASSERT_EQ(center.activities().size(), 1u);
    EXPECT_EQ(center.activities()[0].id, "unrelated");
}

TEST(LiveActivityCenter, DroppingTheCenterStopsItsProvidersThenCancelsItsTimers) {
    ManualScheduler scheduler;
    std::vector<std::string> log;
    int changesAfterDrop = 0;
    {
        LiveActivityCenter center(scheduler);
        center.registerProvider(std::make_unique<FakeProvider>("media", log, scheduler.now() + 5));
        center.start("media");
        center.flash(HUDEvent{});
        EXPECT_EQ(scheduler.pendingCount(), 3u);
        center.onChange = [&](LiveActivityCenter::Change) { ++changesAfterDrop; };
    }
    EXPECT_EQ(log, (std::vector<std::string>{"start media", "stop media"}));
    EXPECT_EQ(changesAfterDrop, 0);
    EXPECT_EQ(scheduler.pendingCount(), 0u);
    scheduler.advance(10);
}
