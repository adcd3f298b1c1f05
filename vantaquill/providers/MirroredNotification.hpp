#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

/// One desktop notification as a program sent it to the notification server (the arguments of
/// `org.freedesktop.Notifications.Notify` and the hints the island uses), and how the island shows it.
struct MirroredNotification {
    std::string appName{};
    std::string appIcon{};
    std::string summary{};
    std::string body{};
    /// The hint "urgency": 0 low, 1 normal, 2 critical.
    std::uint8_t urgency = 1;
    /// The hint "image-path" (or the older "image_path").
    std::string imagePath{};
    /// The hint "desktop-entry": the sending application's desktop file name.
    std::string desktopEntry{};
    /// Milliseconds; -1 is the server's choice, 0 never.
    std::int32_t expireTimeout = -1;

    friend bool operator==(const MirroredNotification&, const MirroredNotification&) = default;

    static constexpr std::string_view source = "notifications";
    /// How long a notification stays when its sender leaves it to the server, and the longest any
    /// stays: the desktop keeps its own list; the island only mirrors the moment.
    static constexpr double usualSeconds = 8;
    static constexpr double criticalSeconds = 30;
    static constexpr double longestSeconds = 60;
    /// The body's first characters are shown; the rest is the desktop's to show.
    static constexpr std::size_t bodyCharacters = 200;

    /// Reads an image file for the icon; nothing when it cannot.
    using ReadImage = std::function<std::optional<std::string>(const std::string& path)>;

    /// The activity that mirrors it: one per sending application (a newer notification replaces the
    /// older one), the summary as title, the body without its markup as subtitle, the application's
    /// name in the trailing slot and its icon (image path, icon name or desktop entry) leading;
    /// low, normal and critical urgency become `ambient`, `normal` and `critical`.
    brind::LiveActivity activity(brind::Date now, const ReadImage& readImage) const;

    /// Body markup (<b>, <i>, <u>, <a>, <img>) removed and its five entities decoded, whitespace
    /// runs folded into one space.
    static std::string plainBody(std::string_view body);
    /// "notifications." and the application's name in lower case, anything but letters, digits,
    /// '-' and '_' turned into '-'.
    static std::string activityID(std::string_view appName);
};

} // namespace vq
