#pragma once

#include "vantaquill/providers/GSettingsKey.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// The click after a volume step made by the island's keys or the `vantaquill hud` command: the
/// sound theme's "audio-volume-change", played when "hud.volumeClick" says so, or, left at "system",
/// when the desktop asks for audible feedback on volume changes:
/// - KDE Plasma: the volume applet's "Audio feedback" (`AudioFeedback` in `~/.config/plasmaparc`,
///   on unless switched off), read at every step since the file is small and local;
/// - elsewhere: GNOME's and GTK's event sounds (`org.gnome.desktop.sound event-sounds`), read once
///   and then followed through GSettings (`GSettingsKey`), never on the way of a key press. No
///   answer (no gsettings, no schema) is no click: a desktop that says nothing gets no unasked-for
///   sounds.
class VolumeClick {
  public:
    enum class Mode { system, on, off };
    using Play = std::function<void()>;

    /// `configFolder` is where plasmaparc is looked for.
    VolumeClick(std::filesystem::path configFolder, Play play);
    ~VolumeClick();
    VolumeClick(const VolumeClick&) = delete;
    VolumeClick& operator=(const VolumeClick&) = delete;

    /// Applies "hud.volumeClick".
    void setMode(Mode mode);
    Mode mode() const { return mode_; }

    /// A volume step was made: plays the click if it is wanted.
    void stepped();

    /// Whether the desktop asks for the click now.
    bool desktopWants();

    /// "system", "on", "off"; anything else is nothing.
    static std::optional<Mode> modeNamed(std::string_view name);
    /// Plasma's audio-feedback switch from the text of plasmaparc: on unless `AudioFeedback` in
    /// `[General]` says false.
    static bool plasmaFeedback(std::string_view plasmaparc);
    static bool isPlasma(std::string_view currentDesktop);

  private:
    std::filesystem::path configFolder_;
    Play play_;
    Mode mode_ = Mode::system;
    /// GTK's event sounds, followed from the first step that asks outside Plasma.
    std::unique_ptr<GSettingsKey> eventSounds_;
    bool eventSoundsOn_ = false;
};

} // namespace vq
