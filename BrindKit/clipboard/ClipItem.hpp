#pragma once

#include "BrindKit/clipboard/ClipKind.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/RGBA.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// One entry of the clipboard history and its record in the archive index. Large payloads live in
/// side files named by `rtfFile` and `imageFile`.
struct ClipItem {
    UUID id;
    ClipKind kind = ClipKind::text;
    std::optional<std::string> text; ///< text, link, colour literal, or the joined file paths
    std::vector<std::string> fileURLs;
    std::optional<std::string> rtfFile;
    std::optional<std::string> imageFile;
    std::optional<std::int64_t> imageWidth;
    std::optional<std::int64_t> imageHeight;
    std::optional<RGBA> colour;
    std::optional<std::string> sourceBundleID;
    std::optional<std::string> sourceAppName;
    Date created;
    Date lastUsed;
    std::int64_t useCount = 0;
    bool pinned = false;
    std::string contentHash; ///< the de-duplication key
    std::int64_t byteSize = 0;

    /// The one-line label shown in lists.
    std::string displayTitle() const;

    /// The plain-text flavour put on the clipboard when the item is pasted; nothing for images.
    std::optional<std::string> plainText() const;

    /// The item's side-file names, RTF first.
    std::vector<std::string> sideFiles() const;

    /// Dates are written as seconds since 1970; absent optionals are left out.
    JSON toJSON() const;

    /// Fails, with a sentence naming the key, when a required key is missing or mistyped or the
    /// kind is unknown. Optional keys of the wrong type count as absent.
    static std::expected<ClipItem, std::string> fromJSON(const JSON& value);

    friend bool operator==(const ClipItem&, const ClipItem&) = default;
};

} // namespace brind
