#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <string_view>

namespace vq {

/// Hands one flavour to a Wayland reader (a paste, a drop) through the descriptor the compositor
/// gave for it, on a thread of its own: the reader may take its time, and the island does not wait
/// for it. A reader that asks for a type not offered, or closes early, gets what there is and an
/// error on our side only. The descriptor is closed either way.
struct WaylandFlavourSender {
    static void send(const ClipFlavours& flavours, std::string_view mimeType, int descriptor);
};

} // namespace vq
