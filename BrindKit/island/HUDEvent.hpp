#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/RGBA.hpp"

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A short system overlay flashed in the island: a volume, brightness or keyboard-backlight level,
/// or a custom message from another part of the system.
struct HUDEvent {
    enum class Kind { volume, brightness, keyboardBacklight, custom };

    Kind kind = Kind::custom;
    /// The level, 0...1.
    std::optional<double> value;
    /// For volume: the output is muted.
    bool muted = false;
    /// A system symbol name that overrides the kind's default.
    std::optional<std::string> symbol;
    /// A caption: the output device's name or a custom message.
    std::optional<std::string> label;
    std::optional<RGBA> tint;

    /// The memberwise form; clamps a present value into 0...1.
    static HUDEvent make(Kind kind, std::optional<double> value, bool muted,
                         std::optional<std::string> symbol, std::optional<std::string> label,
                         std::optional<RGBA> tint);

    /// `symbol` when set, otherwise the kind's symbol for the level (an absent level counts as 0).
    std::string resolvedSymbol() const;

    /// "kind" (one of the kind names) and "muted" (a boolean) are required; "value" is taken as
    /// given; "symbol", "label" and "tint" are optional. The error is the decoder's message.
    static std::expected<HUDEvent, std::string> fromJSON(const JSON& value);
    JSON toJSON() const;

    friend bool operator==(const HUDEvent&, const HUDEvent&) = default;
};

/// "volume", "brightness", "keyboardBacklight" or "custom".
std::string_view name(HUDEvent::Kind kind);
std::optional<HUDEvent::Kind> hudEventKindNamed(std::string_view name);

} // namespace brind

template <>
struct std::hash<brind::HUDEvent> {
    std::size_t operator()(const brind::HUDEvent& event) const noexcept {
        const std::hash<std::string> text;
        std::size_t seed = static_cast<std::size_t>(event.kind);
        seed = seed * 31 + (event.value ? std::hash<double>{}(*event.value) : 0x9e3779b9u);
        seed = seed * 31 + (event.muted ? 1 : 0);
        seed = seed * 31 + (event.symbol ? text(*event.symbol) : 0x9e3779b9u);
        seed = seed * 31 + (event.label ? text(*event.label) : 0x9e3779b9u);
        seed = seed * 31 + (event.tint ? std::hash<brind::RGBA>{}(*event.tint) : 0x9e3779b9u);
        return seed;
    }
};
