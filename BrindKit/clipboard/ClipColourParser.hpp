#pragma once

#include "BrindKit/foundation/RGBA.hpp"

#include <optional>
#include <string_view>

namespace brind::ClipColourParser {

/// Reads a colour literal as designers copy them: "#F80", "#FF8800CC", "rgb(255, 128, 0)",
/// "rgba(100% 50% 0% / 0.5)", "hsl(30, 100%, 50%)". Anything else is nothing.
std::optional<RGBA> parse(std::string_view text);

/// HSL to RGB; `h` in degrees (any value, wrapped into 0..<360), `s` and `l` in 0...1.
RGBA hslToRGB(double h, double s, double l);

} // namespace brind::ClipColourParser
