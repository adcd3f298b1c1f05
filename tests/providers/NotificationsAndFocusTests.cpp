#include "tests/e2e/E2EFixture.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "vantaquill/providers/MirroredNotification.hpp"
#include "vantaquill/providers/NotificationMirror.hpp"
#include "vantaquill/providers/ScreenShareWatcher.hpp"

#include <chrono>
#include <cstdlib>
#include <dbus/dbus.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::statusOf;

const std::string notificationsObject =
    "bus.get_object('org.freedesktop.Notifications', '/org/freedesktop/Notifications')";

/// The real island in a home whose session bus is private, with python3-dbusmock's notification
/// daemon serving the desktop's notifications and the real notify-send sending them.
class DesktopNotifications : public e2e::IslandTest {
  protected:
    std::vector<std::string> preferences() const override { return {"activities.notifications.mirror=true"}; }

    void SetUp() override {
        if (!SystemServiceMock::installed() || !std::filesystem::exists("/usr/bin/notify-send"))
            GTEST_SKIP() << "python3-dbusmock and libnotify-bin are needed";
        ASSERT_TRUE(desktop.running()) << "the notification daemon did not start";
        // KDE's server has the do-not-disturb switch; the template has not.
        setServer("AddProperty('org.freedesktop.Notifications', 'Inhibited', dbus.Boolean(False), "
                  "dbus_interface='org.freedesktop.DBus.Mock')");
        e2e::IslandTest::SetUp();
    }

    void setServer(const std::string& call) const {
        const auto done = desktop.script(notificationsObject + "." + call);
        ASSERT_EQ(done.exitCode, 0) << done.err;
    }

    void setInhibited(bool on) const {
        setServer(std::string("Set('org.freedesktop.Notifications', 'Inhibited', dbus.Boolean(") +
                  (on ? "True" : "False") + "), dbus_interface='org.freedesktop.DBus.Properties')");
    }

    /// Sends with notify-send until the island shows it: the island becomes the bus's monitor a
    /// moment after it starts, and what was sent before is not seen.
    std::optional<std::string> notifyUntilShown(const std::vector<std::string>& arguments,
                                                const std::string& shown) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            const auto sent =
                e2e::run("/usr/bin/notify-send", arguments,
                         {{"DBUS_SESSION_BUS_ADDRESS", desktop.address()}, {"PATH", "/usr/bin:/bin"}});
            EXPECT_EQ(sent.exitCode, 0) << sent.err;
            if (auto line = island->waitForLine(shown, 1s))
                return line;
        }
        return std::nullopt;
    }

    /// Posts through the SDK with "alert" set.
    void postAlerting(const std::string& id, const std::string& priority) const {
        const auto reply = authorized("POST", "/v1/activities",
                                      R"({"id":")" + id + R"(","title":")" + id + R"(","priority":")" +
                                          priority + R"(","alert":true})");
        ASSERT_EQ(statusOf(reply), 200) << reply;
    }

    SystemServiceMock desktop{home.path(), "org.freedesktop.Notifications", "notification_daemon"};
};

TEST_F(DesktopNotifications, AreMirroredWithTheirBodyKeptOffTheDisk) {
    const std::string body = "All 12 tests passed in 4.2 seconds";
    // The island pops open first, then lists it.
    ASSERT_TRUE(notifyUntilShown({"--app-name=Builder", "--icon=emblem-ok", "Build done", body},
                                 "alert shown id=notifications.builder"))
        << island->errors();
    const auto shown = island->waitForLine("activity shown id=notifications.builder");
    ASSERT_TRUE(shown);
    EXPECT_NE(
        shown->find("source=notifications priority=normal title=\"Build done\" subtitle=\"" + body + "\""),
        std::string::npos)
        << *shown;

    // The same application's next notification takes its place; a critical one is marked so.
    ASSERT_EQ(e2e::run("/usr/bin/notify-send",
                       {"--app-name=Builder", "--urgency=critical", "Build failed", "3 errors"},
                       {{"DBUS_SESSION_BUS_ADDRESS", desktop.address()}})
                  .exitCode,
              0);
    const auto updated = island->waitForLine("activity updated id=notifications.builder");
    ASSERT_TRUE(updated);
    EXPECT_NE(updated->find("priority=critical title=\"Build failed\" subtitle=\"3 errors\""),
              std::string::npos)
        << *updated;

    ASSERT_EQ(island->stop(), 0);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        if (!entry.is_regular_file())
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string contents((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        EXPECT_EQ(contents.find("tests passed"), std::string::npos)
            << "a body was written to " << entry.path();
    }
}

TEST_F(DesktopNotifications, FocusLetsOnlyImportantAndCriticalActivitiesPeek) {
    // The desktop's do not disturb, and the status menu's pause (the preference it writes).
    struct Way {
        std::string name;
        std::function<void(bool)> focus;
        std::string on;
        std::string off;
    };
    const Way ways[] = {
        {"dnd", [this](bool on) { setInhibited(on); }, "focus on desktopDoNotDisturb=true paused=false",
         "focus off desktopDoNotDisturb=false paused=false"},
        {"pause",
         [this](bool on) {
             writePreferences(home, std::string("activities.notifications.mirror=true\nactivities.paused=") +
                                        (on ? "true\n" : "false\n"));
         },
         "focus on desktopDoNotDisturb=false paused=true",
         "focus off desktopDoNotDisturb=false paused=false"},
    };
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        way.focus(true);
        ASSERT_TRUE(island->waitForLine(way.on, patience)) << island->errors();

        postAlerting(way.name + "-chat", "normal");
        postAlerting(way.name + "-digest", "ambient");
        ASSERT_TRUE(notifyUntilShown({"--app-name=Chat " + way.name, "Ada", "lunch?"},
                                     "activity shown id=notifications.chat-" + way.name));
        postAlerting(way.name + "-deploy", "critical");
        // The island handles posts in order, so by the critical one's alert the others have had theirs.
        ASSERT_TRUE(island->waitForLine("alert shown id=sdk.cli." + way.name + "-deploy"));
        EXPECT_TRUE(sawLine(*island, "activity shown id=sdk.cli." + way.name + "-chat"));
        for (const std::string& quiet : {"alert shown id=sdk.cli." + way.name + "-chat",
                                         "alert shown id=sdk.cli." + way.name + "-digest",
                                         "alert shown id=notifications.chat-" + way.name})
            EXPECT_FALSE(sawLine(*island, quiet)) << quiet;

        way.focus(false);
        ASSERT_TRUE(island->waitForLine(way.off, patience));
        postAlerting(way.name + "-after", "normal");
        EXPECT_TRUE(island->waitForLine("alert shown id=sdk.cli." + way.name + "-after"));
    }
}

// GNOME's switch, read and followed by the real island through the real `gsettings`, on GLib's
// keyfile backend in the test's home (the dconf service is GNOME's own daemon).
TEST(GNOMEDoNotDisturb, BannersSwitchedOffFocusTheIsland) {
    e2e::TemporaryHome home;
    auto environment = home.environment();
    environment["XDG_CURRENT_DESKTOP"] = "ubuntu:GNOME";
    environment["GSETTINGS_BACKEND"] = "keyfile";
    const auto setBanners = [&environment](bool on) {
        return e2e::run("/usr/bin/gsettings",
                        {"set", "org.gnome.desktop.notifications", "show-banners", on ? "true" : "false"},
                        environment);
    };
    const auto off = setBanners(false);
    if (off.exitCode != 0)
        GTEST_SKIP() << "gsettings with GNOME's notification schema is needed: " << off.err;

    e2e::IslandProcess island({"--headless", "--port", "0"}, environment);
    ASSERT_TRUE(island.waitForLine("focus on desktopDoNotDisturb=true paused=false", patience))
        << island.errors();

    // The monitor may still be starting when the test first switches: switch until it is heard.
    EXPECT_TRUE(eventually(
        [&] {
            EXPECT_EQ(setBanners(true).exitCode, 0);
            if (island.waitForLine("focus off desktopDoNotDisturb=false paused=false", 1s))
                return true;
            EXPECT_EQ(setBanners(false).exitCode, 0);
            return false;
        },
        0ms))
        << island.errors();
    EXPECT_EQ(island.errors().find("do not disturb is not followed"), std::string::npos) << island.errors();
}

// What notify-send writes is read in the end-to-end tests; here, what a misbehaving sender writes.
TEST(NotificationMirror, RefusesCallsItCannotRead) {
    const auto call = [](const char* member) {
        return std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>(
            dbus_message_new_method_call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                         "org.freedesktop.Notifications", member),
            &dbus_message_unref);
    };
    EXPECT_FALSE(NotificationMirror::read(call("CloseNotification").get()));
    const auto notify = call("Notify");
    const char* only = "just a summary";
    dbus_message_append_args(notify.get(), DBUS_TYPE_STRING, &only, DBUS_TYPE_INVALID);
    const auto refused = NotificationMirror::read(notify.get());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), "Notify with arguments (s), not (susssasa{sv}i)");
}

// Its id, source, priority, title, body and alert from notify-send are read in the end-to-end tests.
TEST(MirroredNotification, BecomesOneAlertingActivityPerApplication) {
    const brind::Date now{1'000'000};
    const auto noImage = [](const std::string&) -> std::optional<std::string> { return std::nullopt; };
    const auto mail = MirroredNotification{.appName = "Thunderbird Mail",
                                           .appIcon = "mail-unread",
                                           .summary = "Ada",
                                           .body = "<b>Lunch</b> &amp; tea?\n\n Yes"}
                          .activity(now, noImage);
    EXPECT_EQ(mail.id, "notifications.thunderbird-mail");
    EXPECT_EQ(mail.subtitle, "Lunch & tea? Yes");
    EXPECT_EQ(mail.leading, brind::ActivityGlyph::symbol("mail-unread"));
    EXPECT_FALSE(mail.trailing.isNone());
    EXPECT_EQ(mail.expiresAt, now + MirroredNotification::usualSeconds);

    const auto clock =
        MirroredNotification{.urgency = 0, .desktopEntry = "org.example.Clock", .expireTimeout = 2500}
            .activity(now, noImage);
    EXPECT_EQ(clock.id, "notifications.unnamed");
    EXPECT_EQ(clock.priority, brind::ActivityPriority::ambient);
    EXPECT_EQ(clock.title, "Notification");
    EXPECT_EQ(clock.subtitle, std::nullopt);
    EXPECT_EQ(clock.leading, brind::ActivityGlyph::appIcon("org.example.Clock"));
    EXPECT_TRUE(clock.trailing.isNone());
    EXPECT_EQ(clock.expiresAt, now + 2.5);

    // A critical notification stays longer than others, but never for good.
    for (const auto& [timeout, seconds] : {std::pair{600000, MirroredNotification::longestSeconds},
                                           std::pair{0, MirroredNotification::criticalSeconds}}) {
        const auto power =
            MirroredNotification{
                .appName = "Power", .summary = "Battery low", .urgency = 2, .expireTimeout = timeout}
                .activity(now, noImage);
        EXPECT_EQ(power.leading, brind::ActivityGlyph::symbol("dialog-information"));
        EXPECT_EQ(power.expiresAt, now + seconds) << timeout;
    }

    // An image path (hint, file URI or path as the icon) is read for the leading slot; one that
    // cannot be read falls back to the icon name.
    const auto image = [](const std::string& path) -> std::optional<std::string> {
        return path == "/icons/ada.png" ? std::optional<std::string>("PNG") : std::nullopt;
    };
    EXPECT_EQ((MirroredNotification{.appIcon = "file:///icons/ada.png"}.activity(now, image).leading),
              brind::ActivityGlyph::image("PNG"));
    EXPECT_EQ(
        (MirroredNotification{.appIcon = "mail", .imagePath = "/icons/ada.png"}.activity(now, image).leading),
        brind::ActivityGlyph::image("PNG"));
    EXPECT_EQ((MirroredNotification{.appIcon = "mail", .imagePath = "/icons/gone.png"}
                   .activity(now, image)
                   .leading),
              brind::ActivityGlyph::symbol("mail"));
    EXPECT_EQ(MirroredNotification::plainBody("a < b &lt;c&gt; <a href=\"x\">link</a>&unknown;"),
              "a < b <c> link &unknown;");
}

TEST(ScreenShareWatcher, CountsProgramVideoSourcesButNotCameras) {
    using Properties = std::map<std::string, std::string, std::less<>>;
    const std::pair<Properties, bool> cases[] = {
        {{{"media.class", "Video/Source"}, {"node.name", "xdpw_stream"}}, true},
        {{{"media.class", "Stream/Output/Video"}, {"node.name", "gnome-shell-screencast"}}, true},
        {{{"media.class", "Video/Source"}, {"device.id", "41"}, {"node.name", "v4l2_input.pci-0000_00_14.0"}},
         false},
        {{{"media.class", "Video/Source"}, {"media.role", "Camera"}}, false},
        {{{"media.class", "Stream/Input/Video"}, {"node.name", "obs"}}, false},
        {{{"media.class", "Audio/Source"}}, false},
        {{}, false},
    };
    for (const auto& [properties, capture] : cases)
        EXPECT_EQ(ScreenShareWatcher::isScreenCapture(properties), capture)
            << (properties.empty() ? std::string("(none)") : properties.begin()->second);
}

} // namespace
} // namespace vq
