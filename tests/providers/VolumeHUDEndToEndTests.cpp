#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/BackgroundProgram.hpp"
#include "tests/providers/SoundServer.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

constexpr auto patience = 20s;

class VolumeHUD : public ::testing::Test {
protected:
    /// The island reads the level it finds on connecting as its starting point and flashes nothing
    /// for it; until it has, a change may be taken for that starting point, so each try sets a new
    /// level. The first flash, or nothing.
    std::optional<std::string> changeUntilFlashed(const SoundServer& server, IslandProcess& island) const {
        for (const char* level : {"50%", "45%", "40%", "35%", "30%", "25%", "20%"}) {
            if (!server.control({"set-sink-volume", "speakers", level}))
                return std::nullopt;
            if (auto flashed = island.waitForLine("hud shown kind=volume", 3s))
                return flashed;
        }
        return std::nullopt;
    }

    void SetUp() override {
        ASSERT_TRUE(std::filesystem::exists("/usr/bin/pulseaudio")) << "package pulseaudio is missing";
        ASSERT_TRUE(std::filesystem::exists("/usr/bin/pactl")) << "package pulseaudio-utils is missing";
        ASSERT_TRUE(sound.running());
        ASSERT_TRUE(sound.waitUntilReady()) << "PulseAudio did not start";
    }

    TemporaryHome home;
    SoundServer sound{home};
};

TEST_F(VolumeHUD, ChangesMadeElsewhereFlashTheDefaultOutputOnly) {
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0);

    const auto flashed = changeUntilFlashed(sound, island);
    ASSERT_TRUE(flashed.has_value()) << island.errors();
    EXPECT_NE(flashed->find("muted=false"), std::string::npos) << *flashed;
    EXPECT_NE(flashed->find("label=\"Speakers\""), std::string::npos) << *flashed;

    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "75%"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.75 muted=false symbol=speaker.wave.3.fill "
                                   "label=\"Speakers\"",
                                   patience));
    ASSERT_TRUE(sound.control({"set-sink-mute", "speakers", "1"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.75 muted=true symbol=speaker.slash.fill "
                                   "label=\"Speakers\"",
                                   patience));

    // A new default output is followed without a flash of its own; the old one is no longer heard.
    ASSERT_TRUE(sound.control({"set-default-sink", "headphones"}));
    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "20%"}));
    ASSERT_TRUE(sound.control({"set-sink-volume", "headphones", "30%"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.30 muted=false symbol=speaker.wave.1.fill "
                                   "label=\"Headphones\"",
                                   patience));
    int volumeFlashes = 0;
    for (const auto& line : island.lines()) {
        if (line.find("hud shown kind=volume") == std::string::npos)
            continue;
        ++volumeFlashes;
        EXPECT_EQ(line.find("value=0.20"), std::string::npos) << "the old default output flashed: " << line;
        EXPECT_EQ(line.find("value=1.00"), std::string::npos) << "the new default output's level flashed: " << line;
    }
    EXPECT_EQ(volumeFlashes, 4);
}

TEST_F(VolumeHUD, ASoundServerThatComesBackIsFollowedAgain) {
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0);
    ASSERT_TRUE(changeUntilFlashed(sound, island).has_value()) << island.errors();

    sound.quit();
    SoundServer again(home);
    ASSERT_TRUE(again.waitUntilReady()) << "PulseAudio did not start again";
    // The island asks again after two seconds, then four, ...; the tries cover the first few.
    std::optional<std::string> flashed;
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!flashed && std::chrono::steady_clock::now() < deadline) {
        ASSERT_TRUE(again.control({"set-sink-volume", "speakers", "60%"}));
        ASSERT_TRUE(again.control({"set-sink-volume", "speakers", "65%"}));
        flashed = island.waitForLine("hud shown kind=volume value=0.65", 1s);
    }
    ASSERT_TRUE(flashed.has_value());
    island.stop();
    EXPECT_NE(island.errors().find("the sound server answers"), std::string::npos) << island.errors();
}

} // namespace
} // namespace vq
