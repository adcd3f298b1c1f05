#pragma once

#include <QImage>
#include <QPoint>
#include <QProcess>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>

struct wl_display;
struct org_kde_kwin_fake_input;

namespace vq::test {

/// A KWin (KDE Plasma's compositor) for one test: `kwin_wayland --virtual` on a private session bus
/// and runtime folder, with no lock screen, global shortcuts or activities. The test sees what it
/// shows through KWin's own screenshot service on that bus (`org.kde.KWin.ScreenShot2`) and moves
/// and clicks the pointer through KWin's fake input protocol, the two ways KWin lets a program in.
/// A window rule makes every window fill the output without a frame, as a maximised one does, so
/// that the desktop's windows lie below the island.
class KWinSession {
  public:
    static constexpr int outputWidth = 1280;
    static constexpr int outputHeight = 720;
    /// The wallpaper behind every window: Plasma's is plasmashell's, which a bare KWin lacks, and
    /// KWin's own background is black like the island.
    static constexpr const char* wallpaperHex = "#336699";

    /// Why the tests cannot run here (kwin_wayland or dbus-daemon missing), or empty.
    static std::string unavailableReason();
    static std::expected<std::unique_ptr<KWinSession>, std::string> start();
    ~KWinSession();
    KWinSession(const KWinSession&) = delete;
    KWinSession& operator=(const KWinSession&) = delete;

    /// The absolute path of the Wayland socket, usable as WAYLAND_DISPLAY.
    std::string waylandDisplay() const { return (runtimeFolder_ / socketName).string(); }
    /// The private session bus KWin serves, as DBUS_SESSION_BUS_ADDRESS.
    std::string busAddress() const { return "unix:path=" + (runtimeFolder_ / "bus").string(); }
    /// Everything KWin said on its standard error so far.
    std::string log() const;

    /// The whole desktop as KWin composites it, without the cursor.
    std::expected<QImage, std::string> screenshot() const;
    /// Puts the pointer at a point of the desktop; the surface under it hears the motion.
    std::expected<void, std::string> movePointer(QPoint to) const;
    /// Presses or releases the left button where the pointer is.
    std::expected<void, std::string> button(bool down) const;
    /// Presses and releases a key, given as its evdev code (linux/input-event-codes.h).
    std::expected<void, std::string> key(unsigned code) const;

  private:
    static constexpr const char* socketName = "kwin-test";
    KWinSession() = default;
    std::expected<void, std::string> plugFakeInput();
    std::expected<void, std::string> flush(const char* what) const;

    std::filesystem::path runtimeFolder_;
    QProcess bus_;
    QProcess kwin_;
    wl_display* inputConnection_ = nullptr;
    org_kde_kwin_fake_input* input_ = nullptr;
};

} // namespace vq::test
