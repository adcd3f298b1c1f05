#pragma once

#include <QDBusConnection>
#include <QImage>
#include <QPoint>
#include <QProcess>
#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace vq::test {

/// A headless GNOME Shell for one test: the real `gnome-shell --wayland --headless` with one virtual
/// monitor, its top bar and its XWayland, run as the unprivileged user `vqtest` on a session bus of
/// its own. The test process, root, reaches its Wayland socket by path, its X display with the
/// cookie mutter wrote, and its bus through a policy that lets root in. Screenshots come from the
/// Shell's own screenshot service, and pointer input from a virtual pointer made inside the Shell
/// (the device mutter's remote desktop uses), both open to any caller under `--unsafe-mode`: they
/// see and move the whole desktop as the user does, the top bar and X11 windows alike, and clicks
/// reach XWayland's windows the way a hand's do, through mutter's picking and the input shapes.
class GnomeShellSession {
  public:
    static constexpr int screenWidth = 1440;
    static constexpr int screenHeight = 900;

    /// Why the tests cannot run here (gnome-shell, Xwayland, dbus-daemon or runuser missing), or empty.
    static std::string unavailableReason();
    static std::expected<std::unique_ptr<GnomeShellSession>, std::string> start();
    ~GnomeShellSession();
    GnomeShellSession(const GnomeShellSession&) = delete;
    GnomeShellSession& operator=(const GnomeShellSession&) = delete;

    /// `environment` with what a GNOME session on Wayland gives its programs: the Wayland socket
    /// (by path), XWayland's display and cookie, the session bus and XDG_CURRENT_DESKTOP=GNOME.
    std::map<std::string, std::string> environmentFor(std::map<std::string, std::string> environment) const;

    const std::string& x11Display() const { return x11Display_; }
    std::string waylandDisplay() const { return (runtimeFolder_ / "wayland-0").string(); }
    std::string busAddress() const { return "unix:path=" + (runtimeFolder_ / "bus").string(); }

    /// The whole screen as the Shell composes it (top bar, X11 and Wayland windows).
    std::expected<QImage, std::string> screenshot() const;

    /// Moves the desktop's pointer to `at` through a virtual pointer of mutter's, as a hand would.
    std::expected<void, std::string> movePointer(QPoint at) const;
    /// Presses and releases the left button where the pointer is.
    std::expected<void, std::string> click() const;
    /// Runs a JavaScript expression inside the Shell; its result as text.
    std::expected<std::string, std::string> evaluate(const std::string& script) const;

  private:
    GnomeShellSession() = default;

    std::filesystem::path runtimeFolder_;
    std::string x11Display_;
    std::string xauthority_;
    QProcess bus_;
    QProcess shell_;
    std::unique_ptr<QDBusConnection> connection_;
};

} // namespace vq::test
