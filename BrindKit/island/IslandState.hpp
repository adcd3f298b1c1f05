#pragma once

#include <optional>
#include <string_view>

namespace brind {

/// What the island shows. The enumerators compare in this order (closed is the smallest); that is
/// not the order of their sizes, for which see `Motion::sizeRank`.
enum class IslandState {
    /// Only the black shape over the camera housing.
    closed,
    /// A short pop-out showing one alert or HUD flash.
    peek,
    /// The housing widened by two wings showing the top activity's glyphs.
    compact,
    /// The open panel.
    expanded,
};

/// The state's raw string: "closed", "peek", "compact" or "expanded".
std::string_view name(IslandState state);

std::optional<IslandState> islandStateNamed(std::string_view name);

} // namespace brind
