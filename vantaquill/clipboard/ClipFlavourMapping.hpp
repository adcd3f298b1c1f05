#pragma once

#include "BrindKit/clipboard/ClipArchive.hpp"
#include "BrindKit/clipboard/ClipItem.hpp"
#include "BrindKit/clipboard/ClipSnapshot.hpp"
#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vq::ClipFlavourMapping {

/// The MIME type the island puts on everything it writes to the clipboard, so that its own writes
/// are recognised and never recorded again.
inline constexpr std::string_view ownMarkerMimeType = "application/x-vantaquill-clip";

/// Password managers on Linux set this type on secrets (value "secret", some write "1").
inline constexpr std::string_view passwordManagerHintType = "x-kde-passwordManagerHint";

/// The core's name for a MIME type: the plain-text, HTML, RTF, image and file-list types take the
/// names the classifier and the privacy rules know, the island's marker and the password-manager
/// hint become the own-write and concealed markers, and any other type is kept as it is.
std::string coreType(std::string_view mimeType);

/// Whether `snapshot` uses a type: only these are fetched from the source application, which may
/// offer dozens.
bool isRead(std::string_view mimeType);

/// Reads the desktop's flavours into the snapshot the core classifies. Plain text comes from the
/// UTF-8 text types, else from HTML; files from "x-special/gnome-copied-files" (a copy or a cut)
/// or "text/uri-list"; a colour offered as "application/x-color" becomes its "#RRGGBB" text when no
/// text came with it. Images other than PNG, JPEG, GIF and TIFF are converted to PNG.
/// Types offered but not read (`offered` lists them all) still reach the privacy rules in `allTypes`.
brind::ClipSnapshot snapshot(const ClipFlavours& flavours, const std::vector<std::string>& offered = {});

/// When the offered types carry the island's marker or the password-manager hint, the snapshot that
/// says so and nothing else: such a copy is skipped without its content ever being fetched.
std::optional<brind::ClipSnapshot> markedSnapshot(const std::vector<std::string>& offered);

/// What the island offers when an item is copied back: every flavour it was captured with that the
/// history keeps, and the island's marker. Nothing when a side file it needs has gone.
std::optional<ClipFlavours> flavours(const brind::ClipItem& item, const brind::ClipArchive& archive);

} // namespace vq::ClipFlavourMapping
