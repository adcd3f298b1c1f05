#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brind {

/// What the clipboard held at one moment, as the application read it. Byte payloads are kept in
/// `std::string`s, which here carry raw bytes, not text.
struct ClipSnapshot {
    std::vector<std::string> types;     ///< types of the first item; the first is the preferred one
    std::vector<std::string> allTypes;  ///< every type over all items
    std::optional<std::string> string;  ///< the plain-text flavour
    std::optional<std::string> rtf;     ///< RTF bytes
    std::optional<std::string> image;   ///< image bytes in their native encoding
    std::optional<std::string> imageType;
    std::optional<std::int64_t> imageWidth;
    std::optional<std::int64_t> imageHeight;
    std::vector<std::string> fileURLs;  ///< absolute "file:" URL strings
    std::optional<std::string> sourceBundleID;
    std::optional<std::string> sourceAppName;

    friend bool operator==(const ClipSnapshot&, const ClipSnapshot&) = default;
};

} // namespace brind
