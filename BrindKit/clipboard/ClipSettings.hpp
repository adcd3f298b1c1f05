#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// The user's clipboard-history preferences, stored as one JSON object.
struct ClipSettings {
    bool enabled = true;
    std::int64_t maxItems = 300; ///< limit on unpinned items
    std::int64_t maxDays = 30;   ///< age limit; 0 means none
    bool captureImages = true;
    bool captureFiles = true;
    bool captureRichText = true;
    std::int64_t maxImageBytes = 26'214'400;
    std::vector<std::string> excludedBundleIDs;
    bool hotkeyEnabled = true;
    bool pasteDirectly = true; ///< paste into the front application after choosing a clip
    std::optional<Date> pausedUntil;

    /// The limits offered in the settings pane; 0 days stands for no age limit.
    static constexpr std::array<std::int64_t, 6> itemChoices{50, 100, 300, 500, 1000, 5000};
    static constexpr std::array<std::int64_t, 6> dayChoices{1, 7, 30, 90, 365, 0};

    bool isPaused(Date at) const { return pausedUntil && at < *pausedUntil; }

    /// `pausedUntil` is written as seconds since 1970 and left out when absent.
    JSON toJSON() const;

    /// Never fails: missing keys and values of the wrong type take their defaults.
    static ClipSettings fromJSON(const JSON& value);

    friend bool operator==(const ClipSettings&, const ClipSettings&) = default;
};

} // namespace brind
