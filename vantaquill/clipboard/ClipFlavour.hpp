#pragma once

#include <string>
#include <vector>

namespace vq {

/// One representation of the clipboard's content as the desktop offers it: a MIME type (or an X11
/// target name such as "UTF8_STRING") and its raw bytes.
struct ClipFlavour {
    std::string mimeType;
    std::string data;

    friend bool operator==(const ClipFlavour&, const ClipFlavour&) = default;
};

using ClipFlavours = std::vector<ClipFlavour>;

} // namespace vq
