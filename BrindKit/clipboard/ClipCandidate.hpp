#pragma once

#include "BrindKit/clipboard/ClipKind.hpp"
#include "BrindKit/foundation/RGBA.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// A classified copy, ready to become a history item. Byte payloads travel in `std::string`s.
struct ClipCandidate {
    ClipKind kind = ClipKind::text;
    std::optional<std::string> text;
    std::vector<std::string> fileURLs;
    std::optional<std::string> rtf;
    std::optional<std::string> image;
    std::optional<std::string> imageType;
    std::optional<std::int64_t> imageWidth;
    std::optional<std::int64_t> imageHeight;
    std::optional<RGBA> colour;
    std::string contentHash;

    /// Bytes the clip occupies: text, RTF, image and every file URL string.
    std::int64_t byteSize() const;

    friend bool operator==(const ClipCandidate&, const ClipCandidate&) = default;
};

} // namespace brind
