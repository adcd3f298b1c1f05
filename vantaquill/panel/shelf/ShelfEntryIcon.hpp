#pragma once

#include "BrindKit/shelf/ShelfEntry.hpp"

#include <QIcon>
#include <QStringList>

namespace vq {

/// The desktop's icon for what a shelf entry holds, as a file manager would show it.
struct ShelfEntryIcon {
    /// The icon theme's names for the entry, best first: for a file those of its MIME type (found
    /// from its name and, when it still exists, its content), for a snippet a text document, for a
    /// link a web page.
    static QStringList names(const brind::ShelfEntry& entry);

    /// The first of `names` the theme has; the style's file or folder icon when it has none.
    static QIcon of(const brind::ShelfEntry& entry);
};

} // namespace vq
