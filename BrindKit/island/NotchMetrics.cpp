#include "BrindKit/island/NotchMetrics.hpp"

#include <algorithm>
#include <cmath>

namespace brind {

NotchMetrics NotchMetrics::compute(double screenWidth, double safeTop, std::optional<double> leftAux,
                                   std::optional<double> rightAux, double menuBar) {
    if (safeTop > 0 && leftAux && rightAux) {
        const double width = screenWidth - *leftAux - *rightAux;
        if (width > minimumHousingWidth && width < screenWidth / 2)
            return NotchMetrics{true, SizeF{std::round(width), std::round(safeTop)}, safeTop};
    }
    return NotchMetrics{false, SizeF{}, std::max(menuBar, minimumMenuBarHeight)};
}

} // namespace brind
