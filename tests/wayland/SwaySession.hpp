#pragma once

#include <QImage>
#include <QProcess>
#include <QString>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>

struct wl_display;
struct zwlr_virtual_pointer_v1;

namespace vq::test {

/// A headless sway for one test, run as the unprivileged user `vqtest` (sway refuses to run as
/// root) in a private runtime folder, with a virtual pointer plugged in so that its seat offers a
/// pointer to clients. The test process, root, reaches its Wayland and IPC sockets by path.
class SwaySession {
  public:
    struct Options {
        int scale = 1;
        /// The Wayland socket of another sway to run inside, with this many outputs that are windows
        /// of it (wlroots' Wayland backend): closing such a window takes the output away, as
        /// unplugging a monitor does, which the headless backend cannot do. Empty: headless.
        std::string nestedIn = {};
        int outputs = 1;
    };
    static constexpr int outputWidth = 1280;
    static constexpr int outputHeight = 720;
    static constexpr const char* backgroundHex = "#336699";

    /// Why the tests cannot run here (sway, grim or runuser missing), or empty.
    static std::string unavailableReason();
    static std::expected<std::unique_ptr<SwaySession>, std::string> start(Options options);
    ~SwaySession();

    /// The absolute path of the Wayland socket, usable as WAYLAND_DISPLAY.
    std::string waylandDisplay() const { return (runtimeFolder_ / "wayland-1").string(); }
    /// Runs one sway command (`seat - cursor set 10 10`, `create_output`, ...).
    std::expected<void, std::string> command(const std::string& command) const;
    /// Moves the pointer by a distance through the virtual pointer, as a hand would: unlike `seat -
    /// cursor set|move`, which only jump, the surface under it gets motion events.
    std::expected<void, std::string> movePointer(double dx, double dy) const;
    /// The whole desktop as grim sees it, in device pixels; or one output of it.
    std::expected<QImage, std::string> screenshot(const std::string& output = {}) const;

  private:
    SwaySession() = default;
    std::expected<void, std::string> plugVirtualPointer();

    std::filesystem::path runtimeFolder_;
    std::filesystem::path ipcSocket_;
    QProcess sway_;
    wl_display* pointerConnection_ = nullptr;
    zwlr_virtual_pointer_v1* pointer_ = nullptr;
};

} // namespace vq::test
