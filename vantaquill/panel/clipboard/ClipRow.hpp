#pragma once

#include "BrindKit/clipboard/ClipItem.hpp"
#include "BrindKit/clipboard/ClipKind.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <QColor>
#include <QString>

#include <optional>

namespace vq {

/// What one line of the clipboard list shows, taken from an item once per change of the history,
/// so that painting reads a few short strings and never the item's text, which may run to megabytes.
struct ClipRow {
    /// What a masked item shows instead of its content.
    static constexpr const char* maskedTitle = "\u2022\u2022\u2022\u2022\u2022\u2022\u2022\u2022";

    brind::UUID id{};
    brind::ClipKind kind = brind::ClipKind::text;
    QString title;
    QString source;                ///< the application it was copied from, when known
    std::optional<QColor> swatch;  ///< colour clips
    bool pinned = false;
    bool concealed = false;
    /// The key combination that copies this row back ("Ctrl+1" on the first), empty past the ninth.
    QString shortcut;

    /// The row for `item`; a concealed item keeps only its kind, source and flags.
    static ClipRow of(const brind::ClipItem& item, bool concealed);

    /// The shortcut shown on the row at `position` of the list: the digit the history's quick keys give
    /// it, held with Ctrl, the modifier Linux applications use where others use Command.
    static QString shortcutFor(std::size_t position);

    friend bool operator==(const ClipRow&, const ClipRow&) = default;
};

} // namespace vq
