#include "BrindKit/widgets/WidgetStayAwakeMode.hpp"

#include "BrindKit/foundation/Overloaded.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace brind {

namespace {

constexpr double secondsPerMinute = 60;
constexpr long long secondsPerHour = 3600;
/// Longer stays are labelled as this bound (about 30,000 years) rather than overflowing.
constexpr double longestLabel = 1e12;

} // namespace

const std::vector<WidgetStayAwakeMode::Preset>& WidgetStayAwakeMode::presets() {
    static const std::vector<Preset> menu = {
        {"15 min", 15}, {"30 min", 30}, {"1 hour", 60}, {"2 hours", 120}, {"4 hours", 240}, {"Indefinitely", std::nullopt},
    };
    return menu;
}

WidgetStayAwakeMode WidgetStayAwakeMode::preset(std::optional<int> minutes, Date from) {
    if (!minutes)
        return indefinite();
    if (*minutes >= 1)
        return until(from + *minutes * secondsPerMinute);
    return off();
}

bool WidgetStayAwakeMode::isActive(Date now) const {
    return std::visit(Overloaded{
                          [&](const Until& mode) { return now < mode.date; },
                          [](const Off&) { return false; },
                          [](const Indefinite&) { return true; },
                      },
                      value);
}

std::optional<double> WidgetStayAwakeMode::remaining(Date now) const {
    if (const auto* mode = std::get_if<Until>(&value))
        return std::max(0.0, mode->date - now);
    return std::nullopt;
}

WidgetStayAwakeMode WidgetStayAwakeMode::normalised(Date now) const {
    if (const auto* mode = std::get_if<Until>(&value); mode && now >= mode->date)
        return off();
    return *this;
}

std::string WidgetStayAwakeMode::statusLabel(Date now) const {
    if (std::holds_alternative<Off>(value))
        return "Off";
    if (std::holds_alternative<Indefinite>(value))
        return "On";
    const double left = std::min(std::ceil(*remaining(now)), longestLabel);
    const auto seconds = static_cast<long long>(left);
    if (seconds <= 0)
        return "Off";
    char text[64];
    if (seconds < 60)
        std::snprintf(text, sizeof text, "%llds left", seconds);
    else if (seconds < secondsPerHour)
        std::snprintf(text, sizeof text, "%lldm left", (seconds + 59) / 60);
    else
        std::snprintf(text, sizeof text, "%lldh %02lldm left", seconds / secondsPerHour, seconds % secondsPerHour / 60);
    return text;
}

JSON WidgetStayAwakeMode::json() const {
    return std::visit(Overloaded{
                          [](const Until& mode) { return JSON{{"mode", "until"}, {"date", mode.date.secondsSince1970}}; },
                          [](const Off&) { return JSON{{"mode", "off"}}; },
                          [](const Indefinite&) { return JSON{{"mode", "indefinite"}}; },
                      },
                      value);
}

WidgetStayAwakeMode WidgetStayAwakeMode::fromJSON(const JSON& json) {
    const auto mode = JSONRead::string(json, "mode");
    if (mode == "indefinite")
        return indefinite();
    if (mode == "until") {
        if (const auto date = JSONRead::number(json, "date"))
            return until(Date{*date});
    }
    return off();
}

} // namespace brind
