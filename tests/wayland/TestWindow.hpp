#pragma once

#include <QSize>

#include <expected>
#include <memory>
#include <string>

struct wl_compositor;
struct wl_display;
struct wl_pointer;
struct wl_registry;
struct wl_seat;
struct wl_shm;
struct wl_surface;
struct xdg_surface;
struct xdg_toplevel;
struct xdg_wm_base;

namespace vq {
class ShmBuffer;
}

namespace vq::test {

/// An ordinary application window (an xdg toplevel, which sway tiles over the whole output) that
/// counts the pointer presses it receives: what lies below the island.
class TestWindow {
public:
    static std::expected<std::unique_ptr<TestWindow>, std::string> open(const std::string& display);
    ~TestWindow();

    /// Reads and handles whatever the compositor sent, without waiting.
    void dispatch();
    /// Shown at the size the compositor tiled it to.
    bool shown() const { return m_shown; }
    int presses() const { return m_presses; }
    /// The compositor last configured the window as full screen.
    bool fullScreen() const { return m_fullScreen; }

private:
    TestWindow() = default;
    void handleConfigure(std::uint32_t serial);

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    wl_shm* m_shm = nullptr;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    xdg_wm_base* m_wmBase = nullptr;
    wl_surface* m_surface = nullptr;
    xdg_surface* m_xdgSurface = nullptr;
    xdg_toplevel* m_toplevel = nullptr;
    std::unique_ptr<ShmBuffer> m_buffer;
    QSize m_size;
    bool m_tiled = false;
    bool m_shown = false;
    bool m_fullScreen = false;
    int m_presses = 0;
};

} // namespace vq::test
