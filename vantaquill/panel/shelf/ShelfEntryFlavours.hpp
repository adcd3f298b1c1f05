#pragma once

#include "BrindKit/shelf/ShelfEntry.hpp"
#include "vantaquill/clipboard/ClipFlavour.hpp"

namespace vq::ShelfEntryFlavours {

/// What a shelf entry offers when it is dragged out or copied: a file as a file (its URI, and the
/// form file managers paste) with its path as text; a link as a URI with its text; a snippet as text.
ClipFlavours of(const brind::ShelfEntry& entry);

} // namespace vq::ShelfEntryFlavours
