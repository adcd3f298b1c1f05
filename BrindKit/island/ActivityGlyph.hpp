#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/RGBA.hpp"

#include <expected>
#include <optional>
#include <string>
#include <variant>

namespace brind {

/// What one compact slot (leading or trailing) of the island draws.
struct ActivityGlyph {
    /// A named system symbol, drawn in `tint` or else in the activity's tint.
    struct Symbol {
        std::string name;
        std::optional<RGBA> tint;
        friend bool operator==(const Symbol&, const Symbol&) = default;
    };
    /// Image bytes supplied by the poster (any format the platform decodes).
    struct Image {
        std::string bytes;
        friend bool operator==(const Image&, const Image&) = default;
    };
    /// The icon of an installed application.
    struct AppIcon {
        std::string bundleIdentifier;
        friend bool operator==(const AppIcon&, const AppIcon&) = default;
    };
    /// A circular progress ring, 0...1.
    struct Ring {
        double progress = 0;
        std::optional<RGBA> tint;
        friend bool operator==(const Ring&, const Ring&) = default;
    };
    /// A short text such as a countdown.
    struct Text {
        std::string text;
        std::optional<RGBA> tint;
        friend bool operator==(const Text&, const Text&) = default;
    };
    /// Animated audio bars.
    struct Visualiser {
        friend bool operator==(const Visualiser&, const Visualiser&) = default;
    };
    /// An indeterminate activity indicator.
    struct Spinner {
        friend bool operator==(const Spinner&, const Spinner&) = default;
    };
    /// A filled dot.
    struct Dot {
        RGBA colour;
        friend bool operator==(const Dot&, const Dot&) = default;
    };
    /// The empty slot.
    struct None {
        friend bool operator==(const None&, const None&) = default;
    };

    using Case = std::variant<Symbol, Image, AppIcon, Ring, Text, Visualiser, Spinner, Dot, None>;

    Case value = None{};

    static ActivityGlyph symbol(std::string name, std::optional<RGBA> tint = std::nullopt);
    static ActivityGlyph image(std::string bytes);
    static ActivityGlyph appIcon(std::string bundleIdentifier);
    /// The progress is clamped into 0...1.
    static ActivityGlyph ring(double progress, std::optional<RGBA> tint = std::nullopt);
    static ActivityGlyph text(std::string text, std::optional<RGBA> tint = std::nullopt);
    static ActivityGlyph visualiser();
    static ActivityGlyph spinner();
    static ActivityGlyph dot(RGBA colour);
    static ActivityGlyph none();

    bool isNone() const { return std::holds_alternative<None>(value); }

    template <typename Kind>
    const Kind* as() const {
        return std::get_if<Kind>(&value);
    }

    /// Tries "symbol", "text", "ring", "image" (valid base64 only), "app", "visualiser": true,
    /// "spinner": true and "dot" in that order and takes the first that matches; nothing matching
    /// (or a value that is not an object) is the empty slot. Fails only on a malformed colour.
    static std::expected<ActivityGlyph, std::string> fromJSON(const JSON& value);

    /// The one key of the case, plus "tint" for symbol, ring and text when set; none is {}.
    JSON toJSON() const;

    friend bool operator==(const ActivityGlyph&, const ActivityGlyph&) = default;
};

} // namespace brind
