#pragma once

#include <QImage>
#include <QRect>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vq::desktop {

/// A private X server (Xvfb) for one test, on a display number the server picks itself, with a
/// white root window so that the island's black stands out.
class VirtualDisplay {
public:
    /// Whether Xvfb is installed; tests skip with a message when it is not.
    static bool available();

    VirtualDisplay();
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// ":N", or empty when the server did not start.
    const std::string& name() const { return display; }

    /// `environment` for a program with windows on this display: Qt's X11 platform, not the tests'
    /// offscreen one.
    std::map<std::string, std::string> environmentFor(std::map<std::string, std::string> environment) const;

    /// The root window as an image (via ImageMagick's `import`).
    QImage screenshot() const;

    /// Runs a program against this display (xdotool, xev, ...) to completion; its exit code.
    int run(const std::vector<std::string>& command) const;

    /// Starts a program against this display with its standard output in `output`; its pid.
    int start(const std::vector<std::string>& command, const std::filesystem::path& output) const;
    static void stop(int program);

private:
    int pid = -1;
    std::string display;
};

/// The bounding box of the black pixels in the top `rows` rows of `image`, or nothing.
std::optional<QRect> blackBounds(const QImage& image, int rows = 400);

/// Takes screenshots until `accept` holds for one (or `timeout` passes); the last screenshot.
QImage waitForScreen(const VirtualDisplay& display, const std::function<bool(const QImage&)>& accept,
                     std::chrono::milliseconds timeout = std::chrono::seconds(20));

} // namespace vq::desktop
