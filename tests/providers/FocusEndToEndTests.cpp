#include "tests/e2e/E2EFixture.hpp"
#include "tests/support/PipeWireSession.hpp"
#include "tests/support/SystemServiceMock.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::statusOf;

constexpr auto patience = 20s;
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
    std::optional<std::string> notifyUntilShown(const std::vector<std::string>& arguments, const std::string& shown) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            const auto sent = e2e::run("/usr/bin/notify-send", arguments,
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
                                      R"({"id":")" + id + R"(","title":")" + id + R"(","priority":")" + priority +
                                          R"(","alert":true})");
        ASSERT_EQ(statusOf(reply), 200) << reply;
    }

    bool sawLineWith(const std::string& text) const {
        for (const auto& line : island->lines())
            if (line.find(text) != std::string::npos)
                return true;
        return false;
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
    EXPECT_NE(shown->find("source=notifications priority=normal title=\"Build done\" subtitle=\"" + body + "\""),
              std::string::npos)
        << *shown;

    // The same application's next notification takes its place; a critical one is marked so.
    ASSERT_EQ(e2e::run("/usr/bin/notify-send", {"--app-name=Builder", "--urgency=critical", "Build failed", "3 errors"},
                       {{"DBUS_SESSION_BUS_ADDRESS", desktop.address()}})
                  .exitCode,
              0);
    const auto updated = island->waitForLine("activity updated id=notifications.builder");
    ASSERT_TRUE(updated);
    EXPECT_NE(updated->find("priority=critical title=\"Build failed\" subtitle=\"3 errors\""), std::string::npos)
        << *updated;

    ASSERT_EQ(island->stop(), 0);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        if (!entry.is_regular_file())
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string contents((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        EXPECT_EQ(contents.find("tests passed"), std::string::npos) << "a body was written to " << entry.path();
    }
}

TEST_F(DesktopNotifications, FocusLetsOnlyImportantAndCriticalActivitiesPeek) {
    // The desktop's do not disturb, and the status menu's pause (the preference it writes).
    const std::filesystem::path preferencesFile = home.path() / ".config/vantaquill/vantaquill.conf";
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
         [&](bool on) {
             std::ofstream(preferencesFile) << "[General]\nactivities.notifications.mirror=true\nactivities.paused="
                                            << (on ? "true" : "false") << "\n";
         },
         "focus on desktopDoNotDisturb=false paused=true", "focus off desktopDoNotDisturb=false paused=false"},
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
        EXPECT_TRUE(sawLineWith("activity shown id=sdk.cli." + way.name + "-chat"));
        for (const std::string& quiet : {"alert shown id=sdk.cli." + way.name + "-chat",
                                        "alert shown id=sdk.cli." + way.name + "-digest",
                                        "alert shown id=notifications.chat-" + way.name})
            EXPECT_FALSE(sawLineWith(quiet)) << quiet;

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
                        {"set", "org.gnome.desktop.notifications", "show-banners", on ? "true" : "false"}, environment);
    };
    const auto off = setBanners(false);
    if (off.exitCode != 0)
        GTEST_SKIP() << "gsettings with GNOME's notification schema is needed: " << off.err;

    e2e::IslandProcess island({"--headless", "--port", "0"}, environment);
    ASSERT_NE(island.port(), 0);
    ASSERT_TRUE(island.waitForLine("focus on desktopDoNotDisturb=true paused=false", patience)) << island.errors();

    // The monitor may still be starting when the test first switches: switch until it is heard.
    std::optional<std::string> heard;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!heard && std::chrono::steady_clock::now() < deadline) {
        ASSERT_EQ(setBanners(true).exitCode, 0);
        heard = island.waitForLine("focus off desktopDoNotDisturb=false paused=false", 1s);
        if (!heard) {
            ASSERT_EQ(setBanners(false).exitCode, 0);
        }
    }
    EXPECT_TRUE(heard) << island.errors();
    EXPECT_EQ(island.errors().find("do not disturb is not followed"), std::string::npos) << island.errors();
}

/// The real island, and a real PipeWire in its home.
class ScreenSharing : public e2e::IslandTest {
protected:
    void SetUp() override {
        if (!PipeWireDaemon::installed())
            GTEST_SKIP() << "pipewire is needed";
        e2e::IslandTest::SetUp();
    }

    std::unique_ptr<PipeWireDaemon> pipewire;
};

TEST_F(ScreenSharing, HidesTheIslandWhileAScreenCastStreamRuns) {
    ASSERT_EQ(command({"notify", "--id", "build", "--title", "Building"}).exitCode, 0);
    ASSERT_TRUE(island->waitForLine("island state=compact"));
    // PipeWire starting after the island (a session whose sound server comes up later) is found again.
    pipewire = std::make_unique<PipeWireDaemon>(home.path());
    ASSERT_TRUE(pipewire->running()) << "PipeWire did not start";

    CaptureStream capture(home.path());
    ASSERT_TRUE(capture.connected);
    ASSERT_TRUE(island->waitForLine("screen shared=true", patience)) << island->errors();
    EXPECT_TRUE(island->waitForLine("island state=closed"));

    capture.end();
    ASSERT_TRUE(island->waitForLine("screen shared=false", patience));
    EXPECT_TRUE(island->waitForLine("island state=compact"));
    island->stop();
    const std::string errors = island->errors();
    const std::string missing = "does not hide while the screen is shared: PipeWire, which carries every screen "
                                "capture on Wayland, does not answer";
    EXPECT_NE(errors.find(missing), std::string::npos) << errors;
    EXPECT_EQ(errors.find(missing), errors.rfind(missing)) << "said once: " << errors;
}

} // namespace
} // namespace vq
