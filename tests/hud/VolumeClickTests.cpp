#include "vantaquill/hud/VolumeClick.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

// What the desktop's own files say is read at every step; the island end to end (with the real
// gsettings and a real sound server) is in tests/providers.
TEST(VolumeClick, ReadsPlasmasAudioFeedbackFromItsSettingsFile) {
    struct Case {
        const char* name;
        const char* plasmaparc;
        bool feedback;
    };
    const Case cases[] = {
        {"empty file: Plasma's default", "", true},
        {"switched off", "[General]\nAudioFeedback=false\n", false},
        {"switched on", "[General]\nAudioFeedback=true\n", true},
        {"spaces around the key and value", "[General]\n  AudioFeedback = false  \n", false},
        {"another group's key is not the switch", "[Applet]\nAudioFeedback=false\n[General]\nVolumeStep=5\n", true},
        {"the last line wins, as KConfig reads it", "[General]\nAudioFeedback=false\nAudioFeedback=true", true},
        {"no line break at the end", "[General]\nAudioFeedback=false", false},
    };
    for (const auto& row : cases)
        EXPECT_EQ(VolumeClick::plasmaFeedback(row.plasmaparc), row.feedback) << row.name;
}

TEST(VolumeClick, KnowsPlasmaInTheDesktopList) {
    EXPECT_TRUE(VolumeClick::isPlasma("KDE"));
    EXPECT_TRUE(VolumeClick::isPlasma("ubuntu:KDE"));
    EXPECT_FALSE(VolumeClick::isPlasma("GNOME"));
    EXPECT_FALSE(VolumeClick::isPlasma("KDE-like"));
    EXPECT_FALSE(VolumeClick::isPlasma(""));
    EXPECT_EQ(VolumeClick::modeNamed("system"), VolumeClick::Mode::system);
    EXPECT_EQ(VolumeClick::modeNamed("loud"), std::nullopt);
}

} // namespace
} // namespace vq
