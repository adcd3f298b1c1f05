#include "vantaquill/island/faces/FaceFonts.hpp"

#include <QFontMetricsF>
#include <QString>

#include <cmath>

namespace vq {

namespace {

QFont sized(double size, QFont::Weight weight) {
    QFont font;
    // Pixel sizes are whole numbers; rounding keeps measuring and drawing in step.
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
    font.setWeight(weight);
    return font;
}

} // namespace

QFont FaceFonts::semibold(double size) {
    return sized(size, QFont::DemiBold);
}

QFont FaceFonts::regular(double size) {
    return sized(size, QFont::Normal);
}

double FaceFonts::semiboldWidth(std::string_view text, double size) {
    return QFontMetricsF(semibold(size))
        .horizontalAdvance(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
}

} // namespace vq
