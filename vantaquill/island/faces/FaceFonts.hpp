#pragma once

#include <QFont>

#include <string_view>

namespace vq {

/// The island's fonts: the system family in pixel sizes (the island's sizes are logical pixels, so a
/// text measures the same on every screen), semibold where a face stresses a text.
struct FaceFonts {
    static QFont semibold(double size);
    static QFont regular(double size);

    /// The width of `text` in the semibold font of `size`: what a text glyph's wing is sized with.
    static double semiboldWidth(std::string_view text, double size);
};

} // namespace vq
