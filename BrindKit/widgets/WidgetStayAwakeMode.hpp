#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace brind {

/// Whether the machine is kept from sleeping: until a moment, not at all, or until turned off.
struct WidgetStayAwakeMode {
    struct Until {
        Date date{};
        friend bool operator==(const Until&, const Until&) = default;
    };
    struct Off {
        friend bool operator==(const Off&, const Off&) = default;
    };
    struct Indefinite {
        friend bool operator==(const Indefinite&, const Indefinite&) = default;
    };

    /// One choice of the menu; no minutes means "until turned off".
    struct Preset {
        std::string label{};
        std::optional<int> minutes{};
        friend bool operator==(const Preset&, const Preset&) = default;
    };

    std::variant<Until, Off, Indefinite> value = Off{};

    static WidgetStayAwakeMode until(Date date) { return {Until{date}}; }
    static WidgetStayAwakeMode off() { return {Off{}}; }
    static WidgetStayAwakeMode indefinite() { return {Indefinite{}}; }

    /// The menu: 15 min, 30 min, 1 hour, 2 hours, 4 hours, Indefinitely.
    static const std::vector<Preset>& presets();

    /// No minutes: indefinite; 1 or more: until now + minutes; fewer: off.
    static WidgetStayAwakeMode preset(std::optional<int> minutes, Date from);

    bool isActive(Date now) const;
    /// Seconds left for `until` (never below 0); nothing for the other modes.
    std::optional<double> remaining(Date now) const;
    /// An `until` whose moment has come is `off`; anything else is unchanged. Applied before the
    /// mode is stored or shown.
    WidgetStayAwakeMode normalised(Date now) const;
    /// "Off", "On", "42s left", "2m left", "1h 01m left".
    std::string statusLabel(Date now) const;

    /// {"mode": "off"}, {"mode": "indefinite"} or {"mode": "until", "date": seconds since 1970}.
    JSON json() const;
    /// Anything unreadable, including an `until` without a date, is `off`: the safe reading keeps
    /// no assertion alive by mistake.
    static WidgetStayAwakeMode fromJSON(const JSON& value);

    friend bool operator==(const WidgetStayAwakeMode&, const WidgetStayAwakeMode&) = default;
};

} // namespace brind
