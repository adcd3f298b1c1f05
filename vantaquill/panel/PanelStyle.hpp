#pragma once

#include <QColor>
#include <QPalette>

namespace vq {

/// The panel's look: light text on the island's black, one accent, and the spacing every section
/// shares. Sections take colours from the palette the panel sets (`palette()`), so only accents and
/// role colours come from here.
struct PanelStyle {
    static constexpr int margin = 12;   ///< between the outline and the content
    static constexpr int spacing = 8;   ///< between rows and controls
    static constexpr int radius = 10;   ///< of cards and buttons
    static constexpr double bodySize = 13;  ///< pixel size of ordinary text
    static constexpr double smallSize = 11; ///< secondary lines, captions

    static QColor text() { return QColor(0xF2, 0xF2, 0xF2); }
    static QColor secondaryText() { return QColor(0xA0, 0xA0, 0xA6); }
    static QColor card() { return QColor(0x1C, 0x1C, 0x1E); }
    static QColor control() { return QColor(0x2C, 0x2C, 0x2E); }
    static QColor accent() { return QColor(0x0A, 0x84, 0xFF); }
    static QColor destructive() { return QColor(0xFF, 0x45, 0x3A); }
    static QColor positive() { return QColor(0x30, 0xD1, 0x58); }

    /// The palette the panel gives its sections: light on black.
    static QPalette palette();
    /// The style sheet the panel applies to its whole tree (buttons, fields, lists, scroll bars).
    static QString styleSheet();
};

} // namespace vq
