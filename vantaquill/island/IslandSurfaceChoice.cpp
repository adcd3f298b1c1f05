#include "vantaquill/island/IslandSurfaceChoice.hpp"

#include <utility>

namespace vq {

std::expected<IslandSurfaceChoice::Request, std::string> IslandSurfaceChoice::parseRequest(std::string_view text) {
    if (text.empty())
        return Request::automatic;
    if (text == "x11")
        return Request::x11;
    if (text == "layer-shell")
        return Request::layerShell;
    return std::unexpected("--surface takes x11 or layer-shell, not \"" + std::string(text) + "\"");
}

std::string_view IslandSurfaceChoice::name(IslandSurface::Kind kind) {
    switch (kind) {
    case IslandSurface::Kind::x11:
        return "x11";
    case IslandSurface::Kind::layerShell:
        return "layer-shell";
    }
    std::unreachable();
}

std::expected<IslandSurfaceChoice, std::string> IslandSurfaceChoice::choose(Request request, const Session& session) {
    switch (request) {
    case Request::x11:
        if (!session.x11Display)
            return std::unexpected("--surface x11 needs an X display, and none answers on DISPLAY");
        return IslandSurfaceChoice{IslandSurface::Kind::x11, "asked for with --surface x11"};
    case Request::layerShell:
        if (!session.waylandDisplay)
            return std::unexpected("--surface layer-shell needs a Wayland compositor, and WAYLAND_DISPLAY is not set");
        if (!session.layerShellOffered)
            return std::unexpected("--surface layer-shell: the compositor offers no zwlr_layer_shell_v1");
        return IslandSurfaceChoice{IslandSurface::Kind::layerShell, "asked for with --surface layer-shell"};
    case Request::automatic:
        if (session.waylandDisplay && session.layerShellOffered)
            return IslandSurfaceChoice{IslandSurface::Kind::layerShell, "the compositor offers zwlr_layer_shell_v1"};
        if (session.waylandDisplay && session.x11Display)
            return IslandSurfaceChoice{IslandSurface::Kind::x11,
                                       "the compositor offers no layer shell, so the island uses XWayland"};
        if (session.x11Display)
            return IslandSurfaceChoice{IslandSurface::Kind::x11, "an X11 session"};
        if (session.waylandDisplay)
            return std::unexpected("the compositor offers no layer shell and there is no X display (DISPLAY) to "
                                   "fall back on");
        return std::unexpected("neither WAYLAND_DISPLAY is set nor an X server answers on DISPLAY");
    }
    std::unreachable();
}

} // namespace vq
