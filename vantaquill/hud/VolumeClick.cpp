#include "vantaquill/hud/VolumeClick.hpp"


#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

namespace vq {

namespace {

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.remove_suffix(1);
    return text;
}

} // namespace

VolumeClick::VolumeClick(std::filesystem::path configFolder, Play play)
    : configFolder_(std::move(configFolder)), play_(std::move(play)) {}

VolumeClick::~VolumeClick() = default;

std::optional<VolumeClick::Mode> VolumeClick::modeNamed(std::string_view name) {
    if (name == "system")
        return Mode::system;
    if (name == "on")
        return Mode::on;
    if (name == "off")
        return Mode::off;
    return std::nullopt;
}

bool VolumeClick::isPlasma(std::string_view currentDesktop) {
    // XDG_CURRENT_DESKTOP is a colon-separated list ("KDE", "ubuntu:GNOME").
    while (!currentDesktop.empty()) {
        const auto end = currentDesktop.find(':');
        if (currentDesktop.substr(0, end) == "KDE")
            return true;
        if (end == std::string_view::npos)
            break;
        currentDesktop.remove_prefix(end + 1);
    }
    return false;
}

bool VolumeClick::plasmaFeedback(std::string_view plasmaparc) {
    bool inGeneral = false;
    bool feedback = true;
    while (!plasmaparc.empty()) {
        const auto end = plasmaparc.find('\n');
        const auto line = trimmed(plasmaparc.substr(0, end));
        plasmaparc.remove_prefix(end == std::string_view::npos ? plasmaparc.size() : end + 1);
        if (line.starts_with('[')) {
            inGeneral = line == "[General]";
            continue;
        }
        const auto equals = line.find('=');
        if (!inGeneral || equals == std::string_view::npos || trimmed(line.substr(0, equals)) != "AudioFeedback")
            continue;
        feedback = trimmed(line.substr(equals + 1)) != "false";
    }
    return feedback;
}

void VolumeClick::setMode(Mode mode) {
    mode_ = mode;
}

bool VolumeClick::desktopWants() {
    const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
    if (desktop && isPlasma(desktop)) {
        std::ifstream file(configFolder_ / "plasmaparc");
        if (!file)
            return true;
        std::stringstream text;
        text << file.rdbuf();
        return plasmaFeedback(text.str());
    }
    // GTK's switch is read at the first step that asks (GSettings costs the island memory, which a
    // user who never steps the volume through it need not pay), and followed from then on.
    if (!eventSounds_)
        eventSounds_ = GSettingsKey::follow(QStringLiteral("org.gnome.desktop.sound"), QStringLiteral("event-sounds"),
                                            [this](const QString& value) {
                                                eventSoundsOn_ = value == QStringLiteral("true");
                                            });
    return eventSoundsOn_;
}

void VolumeClick::stepped() {
    const bool wanted = mode_ == Mode::on || (mode_ == Mode::system && desktopWants());
    if (wanted && play_)
        play_();
}

} // namespace vq
