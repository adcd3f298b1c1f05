#pragma once

#include "vantaquill/island/IslandSurface.hpp"

#include <expected>
#include <string>
#include <string_view>

namespace vq {

/// Which surface shows the island: the layer shell where the compositor offers one, X11 (directly
/// or through XWayland) otherwise, unless the user asked for one with `--surface`.
struct IslandSurfaceChoice {
    enum class Request { automatic, x11, layerShell };

    /// What the session offers.
    struct Session {
        bool waylandDisplay = false;
        bool x11Display = false;
        bool layerShellOffered = false;
    };

    IslandSurface::Kind kind = IslandSurface::Kind::x11;
    /// One sentence for the diagnostics: why this surface.
    std::string reason;

    /// "x11" or "layer-shell"; an empty text asks for the automatic choice.
    static std::expected<Request, std::string> parseRequest(std::string_view text);

    /// The surface, or why none can be shown.
    static std::expected<IslandSurfaceChoice, std::string> choose(Request request, const Session& session);

    static std::string_view name(IslandSurface::Kind kind);
};

} // namespace vq
