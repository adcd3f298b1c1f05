#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"
#include "vantaquill/providers/ServiceSockets.hpp"
#include "vantaquill/providers/VolumeWatcher.hpp"

#include <QCoreApplication>
#include <QMetaObject>
#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::TemporaryHome;

// Where the sound servers' client libraries would connect, for the settings a session may have.
TEST(ServiceSockets, FindTheSocketWhereTheClientLibrariesLookAndNothingForAServerElsewhere) {
    TemporaryHome home;
    const auto config = home.path() / "client.conf";
    std::ofstream(config) << "; default-server = unix:/commented/out\n"
                             "default-server = unix:/srv/sound/native\n";
    const auto listed = home.path() / "listed.conf";
    std::ofstream(listed) << "default-server = {machine}unix:/run/user/7/pulse/native tcp:localhost\n";
    using Paths = std::pair<std::optional<std::string>, std::optional<std::string>>;
    const struct {
        std::map<std::string, std::string> variables;
        Paths expected; // PulseAudio's, PipeWire's
    } rows[] = {
        {{{"XDG_RUNTIME_DIR", "/run/user/7"}}, {"/run/user/7/pulse/native", "/run/user/7/pipewire-0"}},
        {{}, {std::nullopt, std::nullopt}},
        {{{"XDG_RUNTIME_DIR", "/run/user/7"},
          {"PULSE_SERVER", "unix:/tmp/pulse.sock"},
          {"PIPEWIRE_REMOTE", "/tmp/pw"}},
         {"/tmp/pulse.sock", "/tmp/pw"}},
        {{{"XDG_RUNTIME_DIR", "/run/user/7"}, {"PULSE_SERVER", "tcp:mixer.local:4713"}},
         {std::nullopt, "/run/user/7/pipewire-0"}},
        {{{"XDG_RUNTIME_DIR", "/run/user/7"},
          {"PULSE_RUNTIME_PATH", "/tmp/pa"},
          {"PIPEWIRE_RUNTIME_DIR", "/tmp/pwr"},
          {"PIPEWIRE_REMOTE", "pipewire-1"}},
         {"/tmp/pa/native", "/tmp/pwr/pipewire-1"}},
        {{{"XDG_RUNTIME_DIR", "/run/user/7"}, {"PULSE_CLIENTCONFIG", config.string()}},
         {"/srv/sound/native", "/run/user/7/pipewire-0"}},
        {{{"XDG_RUNTIME_DIR", "/run/user/7"}, {"PULSE_CLIENTCONFIG", listed.string()}},
         {std::nullopt, "/run/user/7/pipewire-0"}},
    };
    for (const auto& row : rows) {
        auto variables = row.variables;
        variables.try_emplace("PULSE_CLIENTCONFIG", (home.path() / "none.conf").string());
        const ServiceSockets sockets([&](const char* name) -> std::optional<std::string> {
            const auto found = variables.find(name);
            return found == variables.end() ? std::nullopt : std::optional(found->second);
        });
        const auto text = [](const std::optional<std::filesystem::path>& path) {
            return path ? std::optional(path->string()) : std::nullopt;
        };
        EXPECT_EQ(Paths(text(sockets.pulse()), text(sockets.pipewire())), row.expected)
            << testing::PrintToString(row.variables);
    }
}

// A session without a sound server: the volume watcher waits for the server's socket to appear, in
// a runtime folder that has not even its "pulse" folder yet, with no timer set meanwhile, so the
// island wakes for nothing until a server starts, and follows it as soon as one does.
TEST(Reconnection, AMissingSoundServerIsWaitedForWithoutATimerAndFollowedOnceItStarts) {
    int argc = 0;
    QCoreApplication application(argc, nullptr);
    TemporaryHome home;
    SessionOf session(home.environment());
    ManualScheduler scheduler;
    LiveActivityCenter center(scheduler);
    std::vector<std::string> said;
    VolumeWatcher watcher(
        scheduler,
        [](std::function<void()> function) {
            QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function),
                                      Qt::QueuedConnection);
        },
        [&](const std::string& line) { said.push_back(line); }, [] { return false; });
    const auto saidThat = [&](const std::string& text) {
        return eventually(
            [&] {
                QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
                // A server met between making its socket and listening on it is asked again by the timer.
                if (scheduler.pendingCount() > 0)
                    scheduler.advance(Reconnection::longestDelay);
                return std::any_of(said.begin(), said.end(), [&](const std::string& line) {
                    return line.find(text) != std::string::npos;
                });
            },
            20ms);
    };

    watcher.start(center);
    ASSERT_TRUE(saidThat("no sound server"));
    for (int round = 0; round < 5; ++round)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_EQ(scheduler.pendingCount(), 0u) << "the missing sound server is polled for";

    SoundServer sound(home);
    ASSERT_TRUE(sound.waitUntilReady()) << "PulseAudio did not start";
    EXPECT_TRUE(saidThat("the sound server answers"));
    watcher.stop();
}

} // namespace
} // namespace vq
