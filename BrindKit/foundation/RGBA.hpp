#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// A colour of four components meant to lie in 0...1; alpha 1 is opaque.
struct RGBA {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    static const RGBA white;
    static const RGBA black;

    /// "#RRGGBB", or "#RRGGBBAA" when alpha is below 0.999; components are clamped first.
    std::string hex() const;

    /// WCAG 2 relative luminance of the colour, alpha ignored.
    double luminance() const;

    /// The colour for text drawn over this one: black at 0.75 opacity on light colours
    /// (luminance above 0.5), white at 0.9 opacity otherwise.
    RGBA contrastingText() const;

    /// Reads "#RGB", "#RGBA", "#RRGGBB" or "#RRGGBBAA" (the "#" optional, white space around it
    /// ignored); anything else is nothing.
    static std::optional<RGBA> fromHex(std::string_view text);

    /// Accepts a hex string or an object with numbers "r", "g", "b" and optional "a"; the error is
    /// the decoder's message.
    static std::expected<RGBA, std::string> fromJSON(const JSON& value);

    /// The optional colour under `key`: nothing when absent or null; a malformed one fails with
    /// the key in front of the decoder's message ("tint: not a hex colour: plum").
    static std::expected<std::optional<RGBA>, std::string> fromJSONMember(const JSON& object,
                                                                          std::string_view key);

    /// Always the single `hex` string.
    JSON toJSON() const;

    friend bool operator==(const RGBA&, const RGBA&) = default;
};

inline constexpr RGBA RGBA::white{1, 1, 1, 1};
inline constexpr RGBA RGBA::black{0, 0, 0, 1};

} // namespace brind

template <>
struct std::hash<brind::RGBA> {
    std::size_t operator()(const brind::RGBA& colour) const noexcept {
        std::size_t seed = 0;
        for (const double component : {colour.r, colour.g, colour.b, colour.a})
            seed = seed * 1099511628211ull ^ std::hash<double>{}(component);
        return seed;
    }
};
