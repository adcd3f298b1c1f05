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
    bool shown() const { return shown_; }
    int presses() const { return presses_; }
    /// The window has the keyboard.
    bool focused() const { return focused_; }
    /// The text pasted with the last Ctrl+V, once read in full.
    const std::string& pasted() const { return pasted_; }
    /// What the last drop on the window brought (a URI list), once read in full.
    const std::string& dropped() const { return dropped_; }
    /// Something is being dragged over the window (and taken, when it offers a URI list).
    bool dragOver() const { return dragOffer_ != nullptr; }
    /// Waits until the compositor has handled every request the window sent.
    void sync();
    /// The next press on the window starts a drag offering `flavours`.
    void dragOnNextPress(ClipFlavours flavours) { dragFlavours_ = std::move(flavours); }
    /// The drag started here ended: dropped and finished (true) or cancelled (false).
    std::optional<bool> dragEnded() const { return dragEnded_; }
    /// The compositor last configured the window as full screen.
    bool fullScreen() const { return fullScreen_; }

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

    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    wl_compositor* compositor_ = nullptr;
    wl_shm* shm_ = nullptr;
    wl_seat* seat_ = nullptr;
    wl_pointer* pointer_ = nullptr;
    wl_keyboard* keyboard_ = nullptr;
    wl_data_device_manager* dataDeviceManager_ = nullptr;
    wl_data_device* dataDevice_ = nullptr;
    wl_data_offer* selection_ = nullptr;
    wl_data_offer* dragOffer_ = nullptr;
    wl_data_source* dragSource_ = nullptr;
    xdg_wm_base* wmBase_ = nullptr;
    wl_surface* surface_ = nullptr;
    xdg_surface* xdgSurface_ = nullptr;
    xdg_toplevel* toplevel_ = nullptr;
    std::unique_ptr<ShmBuffer> buffer_;
    QSize size_;
    bool tiled_ = false;
    bool shown_ = false;
    bool fullScreen_ = false;
    int presses_ = 0;
    bool focused_ = false;
    std::uint32_t modifiers_ = 0;
    std::string pasted_;
    std::string dropped_;
    ClipFlavours dragFlavours_;
    ClipFlavours sourceFlavours_;
    std::optional<bool> dragEnded_;
    std::vector<Reading> readings_;
};

} // namespace vq::test
