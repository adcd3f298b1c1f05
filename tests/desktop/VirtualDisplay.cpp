#include "tests/desktop/VirtualDisplay.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vq::desktop {

namespace {

// Darker than this in all three channels counts as the island's black; the white root and the
// antialiased rim of the outline are lighter.
constexpr int blackLimit = 60;
constexpr auto startTimeout = std::chrono::seconds(20);
constexpr auto screenshotPause = std::chrono::milliseconds(150);

int spawnProgram(const std::vector<std::string>& command, const std::string& display, int output = -1) {
    const int pid = ::fork();
    if (pid != 0)
        return pid;
    if (!display.empty())
        ::setenv("DISPLAY", display.c_str(), 1);
    const int null = ::open("/dev/null", O_RDWR);
    ::dup2(null, STDIN_FILENO);
    ::dup2(output >= 0 ? output : null, STDOUT_FILENO);
    ::dup2(null, STDERR_FILENO);
    std::vector<char*> argv;
    for (const auto& part : command)
        argv.push_back(const_cast<char*>(part.c_str()));
    argv.push_back(nullptr);
    ::execvp(argv[0], argv.data());
    ::_exit(127);
}

} // namespace

bool VirtualDisplay::available() {
    return ::access("/usr/bin/Xvfb", X_OK) == 0 && ::access("/usr/bin/import", X_OK) == 0 &&
           ::access("/usr/bin/xdotool", X_OK) == 0;
}

VirtualDisplay::VirtualDisplay() {
    int pipe[2];
    if (::pipe(pipe) != 0)
        return;
    // -displayfd: the server picks a free display number and writes it to the descriptor once it
    // accepts connections, so two test runs never fight over a number.
    pid = spawnProgram({"Xvfb", "-displayfd", std::to_string(pipe[1]), "-screen", "0", "1440x900x24", "-nolisten",
                        "tcp", "-wr", "-noreset"},
                       "");
    ::close(pipe[1]);
    std::string number;
    pollfd wait{pipe[0], POLLIN, 0};
    while (::poll(&wait, 1, static_cast<int>(std::chrono::milliseconds(startTimeout).count())) > 0) {
        char c = 0;
        if (::read(pipe[0], &c, 1) != 1 || c == '\n')
            break;
        number += c;
    }
    ::close(pipe[0]);
    if (!number.empty())
        display = ":" + number;
}

VirtualDisplay::~VirtualDisplay() {
    if (pid > 0) {
        ::kill(pid, SIGTERM);
        ::waitpid(pid, nullptr, 0);
    }
}

int VirtualDisplay::run(const std::vector<std::string>& command) const {
    const int child = spawnProgram(command, display);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int VirtualDisplay::start(const std::vector<std::string>& command, const std::filesystem::path& output) const {
    const int file = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int child = spawnProgram(command, display, file);
    ::close(file);
    return child;
}

void VirtualDisplay::stop(int program) {
    if (program <= 0)
        return;
    ::kill(program, SIGTERM);
    ::waitpid(program, nullptr, 0);
}

std::map<std::string, std::string> VirtualDisplay::environmentFor(std::map<std::string, std::string> environment) const {
    environment.erase("QT_QPA_PLATFORM");
    environment["DISPLAY"] = display;
    return environment;
}

QImage VirtualDisplay::screenshot() const {
    brindtest::TemporaryFolder folder{"vantaquill-screen"};
    const std::string file = (folder.path() / "root.png").string();
    if (run({"import", "-window", "root", file}) != 0)
        return {};
    return QImage(QString::fromStdString(file)).convertToFormat(QImage::Format_RGB32);
}

std::optional<QRect> blackBounds(const QImage& image, int rows) {
    int left = image.width(), right = -1, top = -1, bottom = -1;
    for (int y = 0; y < std::min(rows, image.height()); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = line[x];
            if (qRed(pixel) > blackLimit || qGreen(pixel) > blackLimit || qBlue(pixel) > blackLimit)
                continue;
            left = std::min(left, x);
            right = std::max(right, x);
            if (top < 0)
                top = y;
            bottom = y;
        }
    }
    if (right < 0)
        return std::nullopt;
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

QImage waitForScreen(const VirtualDisplay& display, const std::function<bool(const QImage&)>& accept,
                     std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    QImage image = display.screenshot();
    while (!accept(image) && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(screenshotPause);
        image = display.screenshot();
    }
    return image;
}

} // namespace vq::desktop
