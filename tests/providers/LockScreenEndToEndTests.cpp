#include "tests/e2e/E2EProcess.hpp"
#include "tests/package/PrivateSessionBus.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/support/SystemServiceMock.hpp"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

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
        const auto added =
            logind.script("manager = bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1')\n"
                          "manager.AddSession('c7', 'seat0', dbus.UInt32(1000), 'tester', True, "
                          "dbus_interface='org.freedesktop.DBus.Mock')");
        ASSERT_EQ(added.exitCode, 0) << added.err;
    }

    std::unique_ptr<IslandProcess> startIsland() const {
        return islandWith(home, {{"DBUS_SYSTEM_BUS_ADDRESS", logind.address()},
                                 {"DBUS_SESSION_BUS_ADDRESS", sessionBus.address()},
                                 {"XDG_SESSION_ID", "c7"}});
    }

    /// Sets the session's LockedHint as a locker does through logind, once per value, in one go.
    void lockedHint(std::initializer_list<bool> values) const {
        std::string script =
            "session = bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1/session/c7')\n";
        for (const bool value : values)
            script += std::string("session.SetLockedHint(") + (value ? "True" : "False") +
                      ", dbus_interface='org.freedesktop.login1.Session')\n";
        const auto set = logind.script(script);
        ASSERT_EQ(set.exitCode, 0) << set.err;
    }

    /// Says on the session bus that the screen saver is active or not, as GNOME Shell's screen
    /// shield does, from whatever name it owns.
    void screenSaverActive(bool active) const {
        const auto sent =
            e2e::run(SystemServiceMock::python,
                     {"-c", "import dbus, dbus.lowlevel\n"
                            "bus = dbus.bus.BusConnection('" +
                                sessionBus.address() +
                                "')\n"
                                "signal = dbus.lowlevel.SignalMessage('/org/gnome/ScreenSaver', "
                                "'org.gnome.ScreenSaver', 'ActiveChanged')\n"
                                "signal.append(" +
                                std::string(active ? "True" : "False") +
                                ", signature='b')\n"
                                "bus.send_message(signal)\nbus.flush()\n"},
                     {{"PATH", "/usr/bin:/bin"}});
        ASSERT_EQ(sent.exitCode, 0) << sent.err;
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
    lockedHint({true});
    EXPECT_EQ(island->waitForLine("lock phase=", 2s), std::nullopt);
    writePreferences(home, "activities.lockScreen=true\n");
    EXPECT_EQ(waitForLockLines(*island, 2), lockedLines) << island->errors();
    EXPECT_TRUE(
        island->waitForLine("id=lock.screen source=lock priority=critical title=\"Locked\"", patience));

    // Unlocked and locked again at once: well within the time the opened lock is held.
    lockedHint({false, true});
    const auto relocked = joined({lockedLines,
                                  {"lock phase=unlocking", "activity updated id=lock.screen source=lock",
                                   "lock phase=locked", "activity updated id=lock.screen source=lock"}});
    EXPECT_EQ(waitForLockLines(*island, relocked.size()), relocked) << island->errors();
    // The collapse armed by the first unlock finds a newer generation: the island stays locked.
    std::this_thread::sleep_for(2s);
    EXPECT_EQ(lockLines(*island), relocked);

    lockedHint({false});
    auto expected = joined({relocked, unlockLines});
    EXPECT_EQ(waitForLockLines(*island, expected.size()), expected);
    EXPECT_TRUE(
        island->waitForLine("id=lock.screen source=lock priority=critical title=\"Unlocked\"", patience));

    ASSERT_NO_FATAL_FAILURE(screenSaverActive(true));
    ASSERT_NO_FATAL_FAILURE(screenSaverActive(false));
    expected = joined({expected, lockedLines, unlockLines});
    EXPECT_EQ(waitForLockLines(*island, expected.size()), expected);
}

} // namespace
} // namespace vq
