#pragma once

#include "vantaquill/clipboard/ClipFlavour.hpp"

#include <QSize>

#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct wl_compositor;
struct wl_data_device;
struct wl_data_device_manager;
struct wl_data_offer;
struct wl_data_source;
struct wl_keyboard;
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
/// counts the pointer presses it receives: what lies below the island. Like a text field it pastes
/// the clipboard's text on Ctrl+V; it takes URI lists dropped on it, and drags what it is given when
/// pressed.
class TestWindow {
public:
    static std::expected<std::unique_ptr<TestWindow>, std::string> open(const std::string& display);
    ~TestWindow();

    /// Reads and handles whatever the compositor sent, without waiting.
    void dispatch();
    /// Shown at the size the compositor tiled it to.
    bool shown() const { return m_shown; }
    int presses() const { return m_presses; }
    /// The window has the keyboard.
    bool focused() const { return m_focused; }
    /// The text pasted with the last Ctrl+V, once read in full.
    const std::string& pasted() const { return m_pasted; }
    /// What the last drop on the window brought (a URI list), once read in full.
    const std::string& dropped() const { return m_dropped; }
    /// Something is being dragged over the window (and taken, when it offers a URI list).
    bool dragOver() const { return m_dragOffer != nullptr; }
    /// Waits until the compositor has handled every request the window sent.
    void sync();
    /// The next press on the window starts a drag offering `flavours`.
    void dragOnNextPress(ClipFlavours flavours) { m_dragFlavours = std::move(flavours); }
    /// The drag started here ended: dropped and finished (true) or cancelled (false).
    std::optional<bool> dragEnded() const { return m_dragEnded; }
    /// The compositor last configured the window as full screen.
    bool fullScreen() const { return m_fullScreen; }

private:
    /// A transfer read from a pipe without waiting, as the island would be the writer.
    struct Reading {
        int fd = -1;
        std::string bytes;
        std::string* into = nullptr;
        wl_data_offer* finishOffer = nullptr;
    };

    TestWindow() = default;
    void handleConfigure(std::uint32_t serial);
    void handlePress(std::uint32_t serial);
    void handleKey(std::uint32_t key, std::uint32_t state);
    void receive(wl_data_offer* offer, const char* type, std::string* into, bool finish);
    void readTransfers();

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_compositor* m_compositor = nullptr;
    wl_shm* m_shm = nullptr;
    wl_seat* m_seat = nullptr;
    wl_pointer* m_pointer = nullptr;
    wl_keyboard* m_keyboard = nullptr;
    wl_data_device_manager* m_dataDeviceManager = nullptr;
    wl_data_device* m_dataDevice = nullptr;
    wl_data_offer* m_selection = nullptr;
    wl_data_offer* m_dragOffer = nullptr;
    wl_data_source* m_dragSource = nullptr;
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
    bool m_focused = false;
    std::uint32_t m_modifiers = 0;
    std::string m_pasted;
    std::string m_dropped;
    ClipFlavours m_dragFlavours;
    ClipFlavours m_sourceFlavours;
    std::optional<bool> m_dragEnded;
    std::vector<Reading> m_readings;
};

} // namespace vq::test
