#pragma once

#include "BrindKit/island/ActivityGlyph.hpp"

#include <QColor>
#include <QWidget>

namespace vq {

/// One activity glyph drawn as the compact island draws it, at the size of a panel row.
class GlyphView : public QWidget {
public:
    static constexpr double side = 22;     ///< of a symbol, ring, image or icon
    static constexpr double fontSize = 12; ///< of a text glyph
    static constexpr int slot = 28;        ///< the square the glyph is centred in

    explicit GlyphView(QWidget* parent = nullptr);

    /// Shows `glyph` in `accent` (the activity's tint, or white); hidden for the empty glyph.
    void setGlyph(const brind::ActivityGlyph& glyph, const QColor& accent);
    const brind::ActivityGlyph& glyph() const { return glyph_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    brind::ActivityGlyph glyph_;
    QColor accent_ = Qt::white;
};

} // namespace vq
