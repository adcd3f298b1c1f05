#include "tests/e2e/E2EFixture.hpp"
#include "tests/package/PrivateSessionBus.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "tests/support/BackgroundProgram.hpp"
#include "tests/support/SystemServiceMock.hpp"
#include "vantaquill/providers/MicCameraProvider.hpp"
#include "vantaquill/providers/MirroredNotification.hpp"
#include "vantaquill/providers/NotificationMirror.hpp"
#include "vantaquill/providers/ScreenShareWatcher.hpp"

#include <QCoreApplication>
#include <QMetaObject>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <dbus/dbus.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// What the desktop's session tells the island: notifications and do not disturb, the lock screen, and
// who uses the microphone, the camera or the screen.
namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::statusOf;
using e2e::TemporaryHome;

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
        ASSERT_EQ(notifications("org.freedesktop.DBus.Mock.AddProperty", "variant:boolean:false"), 0);
        e2e::IslandTest::SetUp();
    }

    /// Calls `method` on the notification daemon with the Inhibited property and `value`.
    int notifications(const std::string& method, const std::string& value) const {
        return dbusSend(desktop.address(),
                        {"--print-reply", "--dest=org.freedesktop.Notifications",
                         "/org/freedesktop/Notifications", method, "string:org.freedesktop.Notifications",
                         "string:Inhibited", value})
            .exitCode;
    }

    int notify(const std::vector<std::string>& arguments) const {
        const auto sent =
            e2e::run("/usr/bin/notify-send", arguments,
                     {{"DBUS_SESSION_BUS_ADDRESS", desktop.address()}, {"PATH", "/usr/bin:/bin"}});
        EXPECT_EQ(sent.exitCode, 0) << sent.err;
        return sent.exitCode;
    }

    /// Sends with notify-send until the island shows it: the island becomes the bus's monitor a
    /// moment after it starts, and what was sent before is not seen.
    std::optional<std::string> notifyUntilShown(const std::vector<std::string>& arguments,
                                                const std::string& shown) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (std::chrono::steady_clock::now() < deadline) {
            notify(arguments);
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
    ASSERT_EQ(notify({"--app-name=Builder", "--urgency=critical", "Build failed", "3 errors"}), 0);
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
        {"dnd",
         [this](bool on) {
             EXPECT_EQ(notifications("org.freedesktop.DBus.Properties.Set",
                                     on ? "variant:boolean:true" : "variant:boolean:false"),
                       0);
         },
         "focus on desktopDoNotDisturb=true paused=false",
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
    TemporaryHome home;
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

    IslandProcess island({"--headless", "--port", "0"}, environment);
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

/// The lines the lock drew, in order: its phases and its activity.
std::vector<std::string> lockLines(const IslandProcess& island) {
    std::vector<std::string> seen;
    for (const auto& line : island.lines()) {
        if (line.starts_with("lock phase=") || line.find("id=lock.screen") != std::string::npos)
            seen.push_back(line.substr(0, line.find(" priority=")));
    }
    return seen;
}

/// Waits until the lock has drawn `count` lines; all of them, however many there are then.
std::vector<std::string> waitForLockLines(const IslandProcess& island, std::size_t count) {
    eventually([&] { return lockLines(island).size() >= count; }, 50ms);
    return lockLines(island);
}

const std::vector<std::string> lockedLines{"lock phase=locked", "activity shown id=lock.screen source=lock"};
/// Unlocked: the lock opens, is held open, collapses and goes.
const std::vector<std::string> unlockLines{
    "lock phase=unlocking", "activity updated id=lock.screen source=lock", "lock phase=collapsing",
    "lock phase=hidden", "activity ended id=lock.screen"};

std::vector<std::string> joined(std::initializer_list<std::vector<std::string>> parts) {
    std::vector<std::string> all;
    for (const auto& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class LockScreen : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!SystemServiceMock::installed())
            GTEST_SKIP() << "python3-dbusmock is missing; scripts/setup installs it";
        ASSERT_TRUE(logind.running()) << "the logind mock did not start";
        // The island's session, named as the login manager names it in the environment.
        ASSERT_EQ(dbusSend(logind.address(),
                           {"--print-reply", "--dest=org.freedesktop.login1", "/org/freedesktop/login1",
                            "org.freedesktop.DBus.Mock.AddSession", "string:c7", "string:seat0",
                            "uint32:1000", "string:tester", "boolean:true"})
                      .exitCode,
                  0);
    }

    std::unique_ptr<IslandProcess> startIsland() const {
        return islandWith(home, {{"DBUS_SYSTEM_BUS_ADDRESS", logind.address()},
                                 {"DBUS_SESSION_BUS_ADDRESS", sessionBus.address()},
                                 {"XDG_SESSION_ID", "c7"}});
    }

    /// Sets the session's LockedHint as a locker does through logind.
    bool lockedHint(bool locked) const {
        return 0 == dbusSend(logind.address(), {"--print-reply", "--dest=org.freedesktop.login1",
                                                "/org/freedesktop/login1/session/c7",
                                                "org.freedesktop.login1.Session.SetLockedHint",
                                                locked ? "boolean:true" : "boolean:false"})
                        .exitCode;
    }

    /// Says on the session bus that the screen saver is active or not, as GNOME Shell's screen
    /// shield does, from whatever name it owns.
    bool screenSaverActive(bool active) const {
        return 0 == dbusSend(sessionBus.address(), {"--type=signal", "/org/gnome/ScreenSaver",
                                                    "org.gnome.ScreenSaver.ActiveChanged",
                                                    active ? "boolean:true" : "boolean:false"})
                        .exitCode;
    }

    TemporaryHome home;
    SystemServiceMock logind{home.path() / "system", "org.freedesktop.login1", "logind"};
    /// The session bus where a desktop's screen saver speaks, found through XDG_RUNTIME_DIR too.
    packagetest::PrivateSessionBus sessionBus{home.path()};
};

// Switched off, a lock shows nothing; switched on, the lock logind holds is shown. Unlocked and
// locked again during the animation, the island stays locked; then a screen saver locks it too.
TEST_F(LockScreen, LogindAndTheScreenSaverLockAndLockingAgainDuringTheAnimationKeepsItLocked) {
    writePreferences(home, "activities.lockScreen=false\n");
    const auto island = startIsland();
    ASSERT_NE(island->port(), 0) << island->errors();
    ASSERT_TRUE(lockedHint(true));
    EXPECT_EQ(island->waitForLine("lock phase=", 2s), std::nullopt);
    writePreferences(home, "activities.lockScreen=true\n");
    EXPECT_EQ(waitForLockLines(*island, 2), lockedLines) << island->errors();
    EXPECT_TRUE(
        island->waitForLine("id=lock.screen source=lock priority=critical title=\"Locked\"", patience));

    // Unlocked and locked again at once: well within the time the opened lock is held.
    ASSERT_TRUE(lockedHint(false) && lockedHint(true));
    const auto relocked = joined({lockedLines,
                                  {"lock phase=unlocking", "activity updated id=lock.screen source=lock",
                                   "lock phase=locked", "activity updated id=lock.screen source=lock"}});
    EXPECT_EQ(waitForLockLines(*island, relocked.size()), relocked) << island->errors();
    // The collapse armed by the first unlock finds a newer generation: the island stays locked.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(lockLines(*island), relocked);

    ASSERT_TRUE(lockedHint(false));
    auto expected = joined({relocked, unlockLines});
    EXPECT_EQ(waitForLockLines(*island, expected.size()), expected);
    EXPECT_TRUE(
        island->waitForLine("id=lock.screen source=lock priority=critical title=\"Unlocked\"", patience));

    ASSERT_TRUE(screenSaverActive(true) && screenSaverActive(false));
    expected = joined({expected, lockedLines, unlockLines});
    EXPECT_EQ(waitForLockLines(*island, expected.size()), expected);
}

// A folder standing in for /dev with a camera node in it, which a real process opens and closes: the
// kernel reports both through inotify and names the holder in /proc.
TEST(MicCamera, TheCameraActivityNamesWhoHoldsTheNodeUntilItIsClosed) {
    int argc = 0;
    QCoreApplication application(argc, nullptr);
    TemporaryHome home;
    for (const char* name : {"video0", "video12"})
        EXPECT_TRUE(MicCameraProvider::isCameraNode(name)) << name;
    for (const char* name : {"video", "videodev", "video0-meta", "vhci", "media0"})
        EXPECT_FALSE(MicCameraProvider::isCameraNode(name)) << name;
    const auto devices = home.path() / "dev";
    std::filesystem::create_directories(devices);
    std::ofstream(devices / "video0") << "frame";
    std::ofstream(devices / "videodev") << "not a camera";

    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    const auto onMainThread = [](std::function<void()> function) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
    };
    center.registerProvider(std::make_unique<MicCameraProvider>(
        scheduler, onMainThread, [](const std::string&) {}, devices));
    center.start(MicCameraProvider::providerID);
    // Events are read as the event loop runs; the holders a settling moment later.
    const auto cameraUsers = [&](bool wanted) -> std::optional<std::string> {
        const brind::LiveActivity* shown = nullptr;
        if (!pumpUntil([&] {
                scheduler.advance(MicCameraProvider::settleDelay);
                shown = center.queue().activity(std::string(MicCameraProvider::cameraID));
                return (shown != nullptr) == wanted;
            }))
            return std::nullopt;
        return shown ? shown->subtitle.value_or("") : "";
    };
    ASSERT_EQ(cameraUsers(false), "");

    {
        // One program that opens the node itself, so the name the provider reads at the open is the
        // name it keeps (a shell that opens it and then execs another program would change names).
        BackgroundProgram holder(
            "/usr/bin/python3",
            {"-c", "import time\nf = open('" + (devices / "video0").string() + "')\ntime.sleep(60)"},
            {"PATH=/usr/bin:/bin"});
        ASSERT_EQ(cameraUsers(true), "python3");
        const auto* shown = center.queue().activity(std::string(MicCameraProvider::cameraID));
        EXPECT_EQ(shown->priority, brind::ActivityPriority::ambient);
        EXPECT_EQ(shown->title, "Camera in use");
        EXPECT_FALSE(shown->dismissible);
        EXPECT_EQ(MicCameraProvider::cameraHolders("/proc", devices), std::vector<std::string>{"python3"});
    }
    EXPECT_EQ(cameraUsers(false), "");
    EXPECT_TRUE(MicCameraProvider::cameraHolders("/proc", devices).empty());
}

// A recording from an input names its program; a recording of an output's monitor (a visualiser, a
// screen recorder) is not the microphone.
TEST(MicCamera, RecordingFromAnInputShowsTheMicrophoneNamingTheRecorder) {
    ASSERT_TRUE(std::filesystem::exists("/usr/bin/parecord")) << "package pulseaudio-utils is missing";
    TemporaryHome home;
    SoundServer sound(home);
    ASSERT_TRUE(sound.waitUntilReady()) << "PulseAudio did not start";
    ASSERT_TRUE(sound.control({"load-module", "module-null-source", "source_name=desk-mic"}));
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0) << island.errors();

    std::vector<std::string> environment{"HOME=" + home.path().string(),
                                         "XDG_RUNTIME_DIR=" + home.path().string(), "PATH=/usr/bin:/bin"};
    const auto recorder = [&](const std::string& name, const std::string& device) {
        return std::make_unique<BackgroundProgram>(
            "/usr/bin/parecord",
            std::vector<std::string>{"--client-name=" + name, "--device=" + device,
                                     (home.path() / (name + ".wav")).string()},
            environment);
    };
    const auto recordings = [&] {
        const auto listed = sound.control({"list", "short", "source-outputs"});
        return listed ? static_cast<int>(std::count(listed->begin(), listed->end(), '\n')) : -1;
    };
    const auto waitForRecordings = [&](int count) {
        return eventually([&] { return recordings() == count; });
    };

    const auto visualiser = recorder("visualiser", "speakers.monitor");
    ASSERT_TRUE(waitForRecordings(1));
    auto dictation = recorder("dictation", "desk-mic");
    ASSERT_TRUE(waitForRecordings(2));
    ASSERT_TRUE(island.waitForLine("activity shown id=micCamera.microphone source=micCamera priority=ambient "
                                   "title=\"Microphone in use\" subtitle=\"dictation\"",
                                   patience))
        << island.errors();

    dictation.reset();
    ASSERT_TRUE(island.waitForLine("activity ended id=micCamera.microphone", patience));
    EXPECT_FALSE(sawLine(island, "visualiser"));
}

} // namespace
} // namespace vq
