#include "vantaquill/providers/ThemeSound.hpp"

#include "tests/providers/SoundServer.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

using namespace std::chrono_literals;

TEST(ThemeSound, PlaysTheThemesSoundOnTheSessionsServer) {
    ASSERT_TRUE(std::filesystem::exists("/usr/share/sounds/freedesktop/stereo/alarm-clock-elapsed.oga"))
        << "package sound-theme-freedesktop is missing";
    e2e::TemporaryHome home;
    SoundServer server(home);
    ASSERT_TRUE(server.running());
    ASSERT_TRUE(server.waitUntilReady()) << "PulseAudio did not start";
    SessionOf session({{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}});

    std::vector<std::string> log;
    ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
    sounds.play("alarm-clock-elapsed", "Focus done");
    // The stream is there for as long as the sound plays (about a second on the null sink).
    bool heard = false;
    std::string last;
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!heard && std::chrono::steady_clock::now() < deadline) {
        const auto streams = server.control({"list", "sink-inputs"}).value_or("");
        if (!streams.empty())
            last = streams;
        heard = streams.find("application.name = \"vantaquill\"") != std::string::npos &&
                streams.find("Focus done") != std::string::npos;
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_TRUE(heard) << last << server.control({"list", "clients"}).value_or("");
    EXPECT_TRUE(log.empty()) << log.front();
}

TEST(ThemeSound, WithoutASoundServerSaysSoOnce) {
    e2e::TemporaryHome home;
    SessionOf session({{"HOME", home.path().string()},
                       {"XDG_RUNTIME_DIR", home.path().string()},
                       {"PULSE_SERVER", "unix:" + (home.path() / "nobody").string()}});
    std::vector<std::string> log;
    ThemeSound sounds([&log](const std::string& line) { log.push_back(line); });
    sounds.play("alarm-clock-elapsed", "Focus done");
    sounds.play("alarm-clock-elapsed", "Break over");
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find("no sounds"), std::string::npos) << log[0];
}

} // namespace
} // namespace vq
