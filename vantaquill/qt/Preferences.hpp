#pragma once

#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "BrindKit/widgets/WidgetPomodoro.hpp"

#include <QFileSystemWatcher>
#include <QSettings>
#include <QVariant>

#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vq {

/// The preferences store: an INI file at $XDG_CONFIG_HOME/vantaquill/vantaquill.conf with dotted keys
/// ("agents.approvalTimeout"). Every key has a default and a type in `PreferenceCatalog`; the file
/// need not exist. A value of the wrong type reads as the default and is reported once; a number
/// outside its range reads as the nearest end of the range.
class Preferences {
public:
    using Log = std::function<void(const std::string& line)>;

    explicit Preferences(const std::filesystem::path& file, Log log = {});

    /// The checked value of a known key: a bool, a double, a qlonglong or a QString by its kind.
    QVariant value(std::string_view key) const;
    bool flag(std::string_view key) const { return value(key).toBool(); }
    double number(std::string_view key) const { return value(key).toDouble(); }
    std::string text(std::string_view key) const { return value(key).toString().toStdString(); }

    /// Writes a key at once (the file is replaced atomically) and tells the listeners.
    void set(std::string_view key, const QVariant& value);

    /// Called after a change, whether it came through `set` or an edit of the file by hand.
    void onChange(std::function<void()> listener);

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
        /// "shelf.shakeSensitivity": 0 to 2, how wide a shake of a drag over the island must be.
        int shakeSensitivity = 1;

        friend bool operator==(const Island&, const Island&) = default;
    };
    /// A shorter hover delay would open the island for a pointer merely passing over it.
    static constexpr double minimumHoverDelay = 0.04;

    Island island() const;

    /// The focus timer's lengths from the "widgets.pomodoro.*" keys (whole minutes), and whether a
    /// phase starts the next by itself.
    brind::WidgetPomodoro::Config pomodoro() const;

private:
    std::map<std::string, QString> snapshot() const;
    void reload();
    void changed();
    void report(std::string_view key, const QString& raw, std::string_view expected) const;

    std::filesystem::path file;
    Log log;
    mutable QSettings settings;
    QFileSystemWatcher watcher;
    /// The file as the store last read or wrote it.
    std::string lastRead;
    std::map<std::string, QString> seen;
    std::vector<std::function<void()>> listeners;
    /// The wrong values already reported, so that each is said once however often it is read.
    mutable std::set<std::pair<std::string, QString>> reported;
};

} // namespace vq
