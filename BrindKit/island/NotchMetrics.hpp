#pragma once

#include "BrindKit/island/Geometry.hpp"

#include <optional>

namespace brind {

/// The measured camera housing of one screen.
struct NotchMetrics {
    bool hasNotch = false;
    /// (0, 0) without a housing.
    SizeF size;
    double menuBarHeight = 0;

    /// Narrower than this is not a housing but a measuring artefact.
    static constexpr double minimumHousingWidth = 40;
    /// The top bar is never treated as thinner than this.
    static constexpr double minimumMenuBarHeight = 24;

    /// From the screen's top safe-area inset and the widths of the free areas left and right of the
    /// housing: the housing is what lies between them, when that is plausible (wider than 40 points
    /// and narrower than half the screen) and the screen has an inset.
    static NotchMetrics compute(double screenWidth, double safeTop, std::optional<double> leftAux,
                                std::optional<double> rightAux, double menuBar);

    friend bool operator==(const NotchMetrics&, const NotchMetrics&) = default;
};

} // namespace brind
