#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using e2e::IslandProcess;
using e2e::TemporaryHome;

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

    /// Runs `vantaquill hud …` against `island`.
    e2e::CommandResult hud(const IslandProcess& island, std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"--port", std::to_string(island.port()), "hud"});
        return e2e::run(e2e::builtProgram("vantaquill"), arguments, home.environment());
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
        EXPECT_EQ(line.find("value=1.00"), std::string::npos)
            << "the new default output's level flashed: " << line;
    }
    EXPECT_EQ(volumeFlashes, 4);

    // A sound server that comes back is followed again: the island asks after two seconds, then four,
    // ...; the tries cover the first few.
    sound.quit();
    SoundServer again(home);
    ASSERT_TRUE(again.waitUntilReady()) << "PulseAudio did not start again";
    EXPECT_TRUE(eventually(
        [&] {
            return again.control({"set-sink-volume", "speakers", "60%"}) &&
                   again.control({"set-sink-volume", "speakers", "65%"}) &&
                   island.waitForLine("hud shown kind=volume value=0.65", 1s);
        },
        0ms));
    island.stop();
    EXPECT_TRUE(saidOnce(island.errors(), "the sound server answers; the volume HUD follows it again"));
}

TEST_F(VolumeHUD, TheHUDCommandStepsTheOutputAndFlashesItOnce) {
    IslandProcess island(home);
    ASSERT_NE(island.port(), 0);
    ASSERT_TRUE(changeUntilFlashed(sound, island).has_value()) << island.errors();
    // From a level none of the tries above left behind, so that 50 % is a change the island sees.
    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "10%"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.10", patience));
    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "50%"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.50", patience));
    const auto countFlashes = [&island](const std::string& text) {
        return std::ranges::count_if(island.lines(), [&](const std::string& line) {
            return line.find("hud shown kind=volume " + text) != std::string::npos;
        });
    };

    // One coarse step is 1/16: from 50 % to 56.25 %, which PulseAudio holds as 36864 of 65536.
    const auto up = hud(island, {"volume", "up"});
    EXPECT_EQ(up.exitCode, 0) << up.err;
    EXPECT_EQ(up.out, "volume 56%\n");
    const auto level = sound.control({"get-sink-volume", "speakers"});
    ASSERT_TRUE(level.has_value());
    EXPECT_NE(level->find("36864 /  56%"), std::string::npos) << *level;
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.56 muted=false symbol=speaker.wave.2.fill "
                                   "label=\"Speakers\"",
                                   patience));
    // The sound server tells the island of its own change too; that echo must not flash again.
    std::this_thread::sleep_for(1s);
    EXPECT_EQ(countFlashes("value=0.56"), 1);

    const auto muted = hud(island, {"volume", "mute"});
    EXPECT_EQ(muted.exitCode, 0) << muted.err;
    EXPECT_EQ(muted.out, "volume 56% muted\n");
    EXPECT_NE(sound.control({"get-sink-mute", "speakers"}).value_or("").find("yes"), std::string::npos);
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.56 muted=true", patience));
    const auto fine = hud(island, {"volume", "down", "--fine"});
    EXPECT_EQ(fine.exitCode, 0) << fine.err;
    // 0.5625 - 1/64 = 0.546875; a level above 0 unmutes.
    EXPECT_EQ(fine.out, "volume 55%\n");
    EXPECT_NE(sound.control({"get-sink-mute", "speakers"}).value_or("").find("no"), std::string::npos);

    // A change made elsewhere, well after the island's own, flashes once.
    std::this_thread::sleep_for(1s);
    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "30%"}));
    ASSERT_TRUE(island.waitForLine("hud shown kind=volume value=0.30", patience));
    std::this_thread::sleep_for(500ms);
    EXPECT_EQ(countFlashes("value=0.30"), 1);

    EXPECT_EQ(hud(island, {"volume", "sideways"}).exitCode, 2);

    // Switched off, the command still sets the level (nothing else would), but nothing flashes;
    // switched on again, changes made elsewhere flash.
    writePreferences(home, "hud.volume=false\n");
    std::this_thread::sleep_for(2s);
    ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "40%"}));
    const auto quiet = hud(island, {"volume", "up"});
    EXPECT_EQ(quiet.out, "volume 44%\n") << quiet.err;
    EXPECT_EQ(island.waitForLine("hud shown", 1s), std::nullopt);
    writePreferences(home, "hud.volume=true\n");
    EXPECT_TRUE(changeUntilFlashed(sound, island).has_value());
}

TEST_F(VolumeHUD, EachStepClicksWhenTheUserOrTheDesktopAsksForIt) {
    struct Case {
        const char* name;
        const char* desktop;
        const char* preference;
        /// Plasma's volume applet settings; nothing: no such file.
        std::optional<std::string> plasmaparc;
        /// GNOME's event sounds, set through gsettings; nothing: the schema's default (on).
        std::optional<bool> eventSounds;
        int clicks;
    };
    const Case cases[] = {
        {"switched on", "KDE", "on", "[General]\nAudioFeedback=false\n", std::nullopt, 2},
        {"switched off", "KDE", "off", std::nullopt, std::nullopt, 0},
        {"Plasma's default", "KDE", "system", std::nullopt, std::nullopt, 2},
        {"Plasma's audio feedback off", "KDE", "system", "[General]\nAudioFeedback=false\n", std::nullopt, 0},
        {"GNOME's default", "GNOME", "system", std::nullopt, std::nullopt, 2},
        {"GNOME's event sounds off", "GNOME", "system", std::nullopt, false, 0},
    };
    const auto configFolder = home.path() / ".config";
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        writePreferences(home, "hud.volumeClick=" + std::string(row.preference) + "\n");
        std::filesystem::remove(configFolder / "plasmaparc");
        if (row.plasmaparc)
            std::ofstream(configFolder / "plasmaparc") << *row.plasmaparc;
        // The real gsettings, keeping its values in a file of this home rather than in dconf.
        auto environment = home.environment();
        environment["XDG_CURRENT_DESKTOP"] = row.desktop;
        environment["GSETTINGS_BACKEND"] = "keyfile";
        std::filesystem::remove_all(configFolder / "glib-2.0");
        if (row.eventSounds) {
            const auto set = e2e::run(
                "/usr/bin/gsettings",
                {"set", "org.gnome.desktop.sound", "event-sounds", *row.eventSounds ? "true" : "false"},
                environment);
            ASSERT_EQ(set.exitCode, 0) << set.err;
        }
        IslandProcess island({"--headless", "--port", "0"}, environment);
        ASSERT_NE(island.port(), 0) << island.errors();
        ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "40%"}));

        // Every stream the sound server opens while the island steps the volume: each click is one.
        auto events = std::async(std::launch::async, [&] {
            return e2e::run("/usr/bin/timeout", {"5", "/usr/bin/pactl", "subscribe"}, home.environment()).out;
        });
        std::this_thread::sleep_for(1s);
        for (const char* step : {"up", "up", "mute"}) {
            const auto pressed = hud(island, {"volume", step});
            EXPECT_EQ(pressed.exitCode, 0) << pressed.err;
        }
        const std::string heard = events.get();
        int streams = 0;
        for (auto at = heard.find("'new' on sink-input"); at != std::string::npos;
             at = heard.find("'new' on sink-input", at + 1))
            ++streams;
        EXPECT_EQ(streams, row.clicks) << heard;
        ASSERT_TRUE(sound.control({"set-sink-mute", "speakers", "0"}));
    }
}

} // namespace
} // namespace vq
