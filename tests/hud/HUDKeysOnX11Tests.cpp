#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"
#include "tests/providers/IslandConsole.hpp"
#include "tests/providers/SoundServer.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vq {
namespace {

using namespace std::chrono_literals;
using desktop::VirtualDisplay;

/// The real island with its X11 window on a private X server, beside a real PulseAudio.
class HUDKeysOnX11 : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!VirtualDisplay::available())
            GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
        ASSERT_TRUE(sound.running());
        ASSERT_TRUE(sound.waitUntilReady()) << "PulseAudio did not start";
        ASSERT_TRUE(sound.control({"set-sink-volume", "speakers", "50%"}));
        display = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
    }

    std::unique_ptr<e2e::IslandProcess> startIsland() const {
        return std::make_unique<e2e::IslandProcess>(
            std::vector<std::string>{"--surface", "x11", "--port", "0"},
            display->environmentFor(home.environment()));
    }

    int key(const std::string& keys) const { return display->run({"timeout", "15", "xdotool", "key", keys}); }

    std::string volume() const { return sound.control({"get-sink-volume", "speakers"}).value_or(""); }

    e2e::TemporaryHome home;
    SoundServer sound{home};
    std::unique_ptr<VirtualDisplay> display;
};

TEST_F(HUDKeysOnX11, TheVolumeKeysReachTheIslandWithTheirModifiersUnlessAnotherClientHoldsThem) {
    const auto island = startIsland();
    ASSERT_NE(island->port(), 0) << "the island did not start";
    // The grab is made at start; the first press may race it, so the test presses until one lands.
    std::optional<std::string> flashed;
    for (int tries = 0; tries < 20 && !flashed; ++tries) {
        ASSERT_EQ(key("XF86AudioRaiseVolume"), 0);
        flashed = island->waitForLine("hud shown kind=volume", 1s);
    }
    ASSERT_TRUE(flashed.has_value()) << island->errors();
    EXPECT_NE(flashed->find("value=0.56 muted=false symbol=speaker.wave.2.fill label=\"Speakers\""),
              std::string::npos)
        << *flashed;
    EXPECT_NE(volume().find("36864 /  56%"), std::string::npos) << volume();

    // Shift+Alt (Shift+Option) steps 1/64: 0.5625 - 0.015625 = 0.546875, 35840 of 65536.
    ASSERT_EQ(key("shift+alt+XF86AudioLowerVolume"), 0);
    ASSERT_TRUE(island->waitForLine("hud shown kind=volume value=0.55", patience));
    EXPECT_NE(volume().find("35840 /  55%"), std::string::npos) << volume();

    // Control, or Alt without Shift, leaves the key to the desktop: the level stays.
    ASSERT_EQ(key("ctrl+XF86AudioRaiseVolume"), 0);
    ASSERT_EQ(key("alt+XF86AudioRaiseVolume"), 0);
    std::this_thread::sleep_for(1s);
    EXPECT_NE(volume().find("35840 /  55%"), std::string::npos) << volume();

    ASSERT_EQ(key("XF86AudioMute"), 0);
    ASSERT_TRUE(island->waitForLine("hud shown kind=volume value=0.55 muted=true symbol=speaker.slash.fill",
                                    patience));
    EXPECT_NE(sound.control({"get-sink-mute", "speakers"}).value_or("").find("yes"), std::string::npos);

    // Keys another client holds are left to it: the island holds them, as a desktop that binds them
    // would, and a second one is refused the grabs and says so once.
    const auto second = startIsland();
    ASSERT_NE(second->port(), 0);
    second->stop();
    EXPECT_TRUE(saidOnce(second->errors(), "already takes"));
    EXPECT_TRUE(
        saidOnce(second->errors(),
                 "the desktop already takes XF86AudioRaiseVolume, XF86AudioLowerVolume, XF86AudioMute"));
}

} // namespace
} // namespace vq
