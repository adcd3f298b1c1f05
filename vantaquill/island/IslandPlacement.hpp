#pragma once

#include "BrindKit/island/IslandLayout.hpp"

#include <QRect>
#include <QSizeF>

#include <filesystem>
#include <optional>
#include <string_view>

namespace vq {

/// Where the island sits on one screen: the housing it grows from (declared by the user, published
/// by the firmware, or none), the top bar's height, and the window frame that follows from them.
struct IslandPlacement {
    /// What the layout needs to know about one screen, in logical pixels.
    struct Screen {
        QRect geometry;
        /// The part of the screen the desktop leaves to windows (below its top panel).
        QRect available;
        std::optional<QSizeF> housing;
        friend bool operator==(const Screen&, const Screen&) = default;
    };

    /// The user's choices that move or size the island.
    struct Choices {
        brind::IslandLayout::Size size = brind::IslandLayout::Size::medium;
        double widthOffset = 0;
        double heightOffset = 0;
        friend bool operator==(const Choices&, const Choices&) = default;
    };

    /// A housing declared as "WIDTHxHEIGHT" (e.g. "185x32"); nothing for empty or malformed text.
    static std::optional<QSizeF> parseHousing(std::string_view text);

    /// The housing that Apple laptops under Asahi Linux publish in the device tree
    /// (`apple,notch-height`, in device pixels, present only when the kernel shows the notch rows),
    /// in logical pixels at `devicePixelRatio`. The width is not published: an estimate is used.
    static std::optional<QSizeF> firmwareHousing(const std::filesystem::path& deviceTree, double devicePixelRatio);

    /// The layout input: a housing makes the island grow from it, otherwise it floats below the
    /// top panel, whose height is what the desktop's work area leaves free at the top.
    static brind::IslandLayout::Input input(const Screen& screen, const Choices& choices);

    /// The window in Qt's global coordinates: centred on the screen, hanging from its top edge.
    static QRect windowFrame(const Screen& screen, const brind::IslandLayout::Input& input);
};

} // namespace vq
