#pragma once

#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"

#include <QSettings>

#include <filesystem>
#include <optional>
#include <string>

namespace vq {

/// The preferences store: an INI file at $XDG_CONFIG_HOME/vantaquill/vantaquill.conf with dotted keys
/// ("agents.approvalTimeout"). Every key has a default; the file need not exist.
class Preferences {
public:
    explicit Preferences(const std::filesystem::path& file);

    /// The bridge's configuration from "agents.approvalTimeout", "agents.approveEveryTool",
    /// "agents.approvalsEnabled", "agents.answerQuestions", "sdk.consentTimeout" and
    /// "sdk.registrationsEnabled".
    brind::SDKBridge::Config bridgeConfig() const;

    /// "agents.pruneInterval": seconds between sweeps of stale agent sessions (default 60).
    double agentPruneInterval() const;

    /// How the island looks and answers the pointer, from the "island.*" keys.
    struct Island {
        /// "island.size": small, medium or large.
        brind::IslandLayout::Size size = brind::IslandLayout::Size::medium;
        /// "island.notchWidthOffset", "island.notchHeightOffset": added to the measured housing.
        double widthOffset = 0;
        double heightOffset = 0;
        /// "island.housing": a housing the user declares, "WIDTHxHEIGHT" in logical pixels.
        std::string housing;
        /// "island.displayModes": which screens get an island ("primary", "all" or "housing").
        std::string displayModes = "primary";
        bool hoverToOpen = true;
        /// "island.hoverDelay" in seconds, never below `minimumHoverDelay`.
        double hoverDelay = 0.2;
        bool clickToOpen = true;
        double cornerRadius = 22;
        bool hideInFullScreen = true;
        /// "island.reduceMotion": "on", "off", or "system" (follow the desktop).
        std::string reduceMotion = "system";

        friend bool operator==(const Island&, const Island&) = default;
    };
    /// A shorter hover delay would open the island for a pointer merely passing over it.
    static constexpr double minimumHoverDelay = 0.04;

    Island island() const;

private:
    double signedNumber(const char* key, double fallback) const;
    std::string text(const char* key, const std::string& fallback) const;
    double number(const char* key, double fallback) const;
    bool flag(const char* key, bool fallback) const;

    QSettings settings;
};

} // namespace vq
