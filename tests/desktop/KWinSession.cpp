#include "tests/desktop/KWinSession.hpp"

#include "tests/support/CompositorUser.hpp"
#include "tests/wayland/kde-fake-input-client-protocol.h"
// The protocol names an argument "namespace", a C++ keyword, in the generated inline functions.
#define namespace layerNamespace
#include "vantaquill/wayland/wlr-layer-shell-unstable-v1-client-protocol.h"
#undef namespace

#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QStandardPaths>
#include <QThread>
#include <QVariantMap>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <linux/input-event-codes.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vq::test {

namespace {

using namespace std::chrono_literals;

// Generous: KWin starts in about a second, but the machine running the tests may be loaded.
constexpr auto startTimeout = 60s;
constexpr auto screenshotTimeout = 20s;
constexpr int processTimeoutMs = 30'000;
const QRgb wallpaperARGB = QColor(KWinSession::wallpaperHex).rgba();

std::string findProgram(const char* name) {
    QString path = QStandardPaths::findExecutable(name);
    if (path.isEmpty())
        path = QStandardPaths::findExecutable(name, {"/usr/sbin", "/sbin"});
    return path.toStdString();
}

/// The Wayland objects of the test's own connection: the fake input device and the wallpaper.
struct Globals {
    org_kde_kwin_fake_input* input = nullptr;
    zwlr_layer_shell_v1* layerShell = nullptr;
    wl_compositor* compositor = nullptr;
    wl_shm* shm = nullptr;
};

struct WallpaperSize {
    std::uint32_t serial = 0, width = 0, height = 0;
};

} // namespace

std::string KWinSession::unavailableReason() {
    if (const auto missing = firstMissing({"kwin_wayland", "dbus-daemon"}); !missing.empty())
        return missing + " is not installed (scripts/setup installs it)";
    return {};
}

std::expected<std::unique_ptr<KWinSession>, std::string> KWinSession::start() {
    std::unique_ptr<KWinSession> session(new KWinSession);
    std::string folderTemplate = (std::filesystem::temp_directory_path() / "vq-kwin-XXXXXX").string();
    if (!mkdtemp(folderTemplate.data())) // 0700, as a runtime folder must be
        return std::unexpected(std::string("mkdtemp: ") + std::strerror(errno));
    session->runtimeFolder_ = folderTemplate;
    const QString folder = QString::fromStdString(session->runtimeFolder_.string());
    std::filesystem::create_directories(session->runtimeFolder_ / "home/.config");
    {
        // One rule for every window: its place and size forced to the whole output, no frame.
        std::ofstream rules(session->runtimeFolder_ / "home/.config/kwinrulesrc");
        rules << "[General]\ncount=1\nrules=1\n\n[1]\nDescription=fill the output\n"
              << "position=0,0\npositionrule=2\nsize=" << outputWidth << "," << outputHeight
              << "\nsizerule=2\nnoborder=true\nnoborderrule=2\n";
    }

    // Debian gives kwin_wayland the file capability CAP_SYS_RESOURCE, which a container's bounding
    // set may lack; the kernel then refuses to run it at all. A copy carries no capabilities.
    const auto kwin = session->runtimeFolder_ / "kwin_wayland";
    std::error_code error;
    std::filesystem::copy_file(findProgram("kwin_wayland"), kwin, error);
    if (error)
        return std::unexpected("cannot copy kwin_wayland: " + error.message());

    session->bus_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    session->bus_.setStandardOutputFile(QProcess::nullDevice());
    session->bus_.start(QString::fromStdString(findProgram("dbus-daemon")),
                        {"--session", "--nofork", "--nopidfile",
                         "--address=" + QString::fromStdString(session->busAddress())});
    if (!session->bus_.waitForStarted(processTimeoutMs))
        return std::unexpected("dbus-daemon did not start");

    QProcessEnvironment environment;
    environment.insert("PATH", qEnvironmentVariable("PATH"));
    environment.insert("HOME", folder + "/home");
    environment.insert("XDG_RUNTIME_DIR", folder);
    environment.insert("DBUS_SESSION_BUS_ADDRESS", QString::fromStdString(session->busAddress()));
    // Screenshots and fake input are KWin's restricted interfaces, for programs named in an
    // installed desktop file; these two switches open them to the test.
    environment.insert("KWIN_SCREENSHOT_NO_PERMISSION_CHECKS", "1");
    environment.insert("KWIN_WAYLAND_NO_PERMISSION_CHECKS", "1");
    session->kwin_.setProcessEnvironment(environment);
    session->kwin_.setStandardOutputFile(QProcess::nullDevice());
    session->kwin_.setStandardErrorFile((session->runtimeFolder_ / "kwin.log").c_str());
    // The bus's socket appears once it listens; KWin takes its name on it at start.
    const auto deadline = std::chrono::steady_clock::now() + startTimeout;
    while (!std::filesystem::exists(session->runtimeFolder_ / "bus")) {
        if (std::chrono::steady_clock::now() > deadline || session->bus_.state() == QProcess::NotRunning)
            return std::unexpected("dbus-daemon did not open its socket");
        QThread::msleep(20);
    }
    session->kwin_.start(QString::fromStdString(kwin.string()),
                         {"--virtual", "--width", QString::number(outputWidth), "--height",
                          QString::number(outputHeight), "--socket", socketName, "--no-lockscreen",
                          "--no-global-shortcuts", "--no-kactivities"});
    if (!session->kwin_.waitForStarted(processTimeoutMs))
        return std::unexpected("kwin_wayland did not start");
    while (!std::filesystem::exists(session->waylandDisplay())) {
        if (session->kwin_.state() == QProcess::NotRunning)
            return std::unexpected("kwin_wayland exited at start: " + session->log());
        if (std::chrono::steady_clock::now() > deadline)
            return std::unexpected("kwin_wayland did not open its socket in time: " + session->log());
        QThread::msleep(50);
    }
    if (auto plugged = session->plugFakeInput(); !plugged)
        return std::unexpected(plugged.error());
    // The screenshot service comes with KWin's effects, after the socket: one answered proves both,
    // and one showing the wallpaper proves it is up.
    std::expected<QImage, std::string> shot = std::unexpected("no screenshot yet");
    while (std::chrono::steady_clock::now() < deadline) {
        shot = session->screenshot();
        if (shot && shot->pixel(0, 0) == wallpaperARGB &&
            shot->pixel(outputWidth - 1, outputHeight - 1) == wallpaperARGB)
            return session;
        QThread::msleep(100);
    }
    return std::unexpected("KWin showed no wallpaper in time: " +
                           (shot ? std::string("wrong colour") : shot.error()) + "\n" + session->log());
}

KWinSession::~KWinSession() {
    if (inputConnection_)
        wl_display_disconnect(inputConnection_);
    for (QProcess* process : {&kwin_, &bus_}) {
        process->terminate();
        if (!process->waitForFinished(processTimeoutMs))
            process->kill();
        process->waitForFinished(processTimeoutMs);
    }
    std::error_code error;
    std::filesystem::remove_all(runtimeFolder_, error);
}

std::string KWinSession::log() const {
    QFile file(QString::fromStdString((runtimeFolder_ / "kwin.log").string()));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

std::expected<void, std::string> KWinSession::plugFakeInput() {
    inputConnection_ = wl_display_connect(waylandDisplay().c_str());
    if (!inputConnection_)
        return std::unexpected("cannot connect to KWin at " + waylandDisplay());
    static const wl_registry_listener listener = {
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
               std::uint32_t version) {
                auto& globals = *static_cast<Globals*>(data);
                if (std::strcmp(interface, org_kde_kwin_fake_input_interface.name) == 0 && version >= 4)
                    globals.input = static_cast<org_kde_kwin_fake_input*>(
                        wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, 4));
                else if (std::strcmp(interface, zwlr_layer_shell_v1_interface.name) == 0)
                    globals.layerShell = static_cast<zwlr_layer_shell_v1*>(
                        wl_registry_bind(registry, name, &zwlr_layer_shell_v1_interface, 1));
                else if (std::strcmp(interface, wl_compositor_interface.name) == 0)
                    globals.compositor = static_cast<wl_compositor*>(
                        wl_registry_bind(registry, name, &wl_compositor_interface, 4));
                else if (std::strcmp(interface, wl_shm_interface.name) == 0)
                    globals.shm =
                        static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    Globals globals;
    wl_registry* registry = wl_display_get_registry(inputConnection_);
    wl_registry_add_listener(registry, &listener, &globals);
    wl_display_roundtrip(inputConnection_);
    if (!globals.input)
        return std::unexpected("KWin offers no org_kde_kwin_fake_input version 4");
    if (!globals.layerShell || !globals.compositor || !globals.shm)
        return std::unexpected("KWin offers no layer shell, compositor or shared memory for the wallpaper");
    input_ = globals.input;
    // KWin trusts every device that asks; the device gives the seat its pointer and keyboard.
    org_kde_kwin_fake_input_authenticate(input_, "vantaquill tests", "the island's desktop tests");

    // The wallpaper: a surface of the background layer over the whole output, in one colour.
    wl_surface* surface = wl_compositor_create_surface(globals.compositor);
    auto* layer = zwlr_layer_shell_v1_get_layer_surface(globals.layerShell, surface, nullptr,
                                                        ZWLR_LAYER_SHELL_V1_LAYER_BACKGROUND, "wallpaper");
    zwlr_layer_surface_v1_set_anchor(
        layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                   ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
    zwlr_layer_surface_v1_set_exclusive_zone(layer, -1);
    static const zwlr_layer_surface_v1_listener layerListener = {
        .configure =
            [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width,
               std::uint32_t height) {
                *static_cast<WallpaperSize*>(data) = {serial, width, height};
            },
        .closed = [](void*, zwlr_layer_surface_v1*) {},
    };
    WallpaperSize size;
    zwlr_layer_surface_v1_add_listener(layer, &layerListener, &size);
    wl_surface_commit(surface);
    wl_display_roundtrip(inputConnection_);
    if (size.width == 0 || size.height == 0)
        return std::unexpected("KWin gave the wallpaper no size");
    zwlr_layer_surface_v1_ack_configure(layer, size.serial);
    const std::size_t stride = size.width * 4, bytes = stride * size.height;
    const int memory = memfd_create("wallpaper", MFD_CLOEXEC);
    if (memory < 0 || ftruncate(memory, static_cast<off_t>(bytes)) != 0)
        return std::unexpected("no shared memory for the wallpaper");
    void* pixels = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
    if (pixels == MAP_FAILED)
        return std::unexpected("cannot map the wallpaper's memory");
    std::fill_n(static_cast<std::uint32_t*>(pixels), bytes / 4, wallpaperARGB);
    munmap(pixels, bytes);
    wl_shm_pool* pool = wl_shm_create_pool(globals.shm, memory, static_cast<std::int32_t>(bytes));
    wl_buffer* buffer = wl_shm_pool_create_buffer(pool, 0, static_cast<std::int32_t>(size.width),
                                                  static_cast<std::int32_t>(size.height),
                                                  static_cast<std::int32_t>(stride), WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(memory);
    wl_surface_attach(surface, buffer, 0, 0);
    wl_surface_damage(surface, 0, 0, static_cast<std::int32_t>(size.width),
                      static_cast<std::int32_t>(size.height));
    // No input on the wallpaper: clicks on the desktop are nobody's, as on a bare desktop.
    wl_region* none = wl_compositor_create_region(globals.compositor);
    wl_surface_set_input_region(surface, none);
    wl_region_destroy(none);
    wl_surface_commit(surface);
    return flush("the wallpaper");
}

std::expected<void, std::string> KWinSession::flush(const char* what) const {
    if (wl_display_roundtrip(inputConnection_) < 0)
        return std::unexpected(std::string("KWin refused ") + what);
    return {};
}

std::expected<void, std::string> KWinSession::movePointer(QPoint to) const {
    org_kde_kwin_fake_input_pointer_motion_absolute(input_, wl_fixed_from_int(to.x()),
                                                    wl_fixed_from_int(to.y()));
    return flush("the pointer's motion");
}

std::expected<void, std::string> KWinSession::button(bool down) const {
    org_kde_kwin_fake_input_button(input_, BTN_LEFT, down ? 1 : 0);
    return flush("the button");
}

std::expected<void, std::string> KWinSession::key(unsigned code) const {
    org_kde_kwin_fake_input_keyboard_key(input_, code, 1);
    org_kde_kwin_fake_input_keyboard_key(input_, code, 0);
    return flush("the key");
}

std::expected<QImage, std::string> KWinSession::screenshot() const {
    // A connection of its own per shot: the tests' threads share no bus connection.
    const QString name = QString("kwin-screenshot-%1").arg(quintptr(QThread::currentThreadId()));
    std::expected<QImage, std::string> result = std::unexpected("no screenshot");
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QString::fromStdString(busAddress()), name);
        int ends[2];
        if (!bus.isConnected() || pipe2(ends, O_CLOEXEC) != 0) {
            QDBusConnection::disconnectFromBus(name);
            return std::unexpected("cannot reach KWin's session bus");
        }
        QDBusMessage call = QDBusMessage::createMethodCall("org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                                           "org.kde.KWin.ScreenShot2", "CaptureWorkspace");
        call << QVariantMap{{"include-cursor", false}, {"native-resolution", true}}
             << QVariant::fromValue(QDBusUnixFileDescriptor(ends[1]));
        QDBusPendingCall pending = bus.asyncCall(call);
        call = {};
        close(ends[1]);
        // KWin answers with the image's size and writes its pixels into the pipe, possibly both at
        // once: read while waiting, until EOF or all the pixels the answer announced are there.
        QByteArray pixels;
        const auto deadline = std::chrono::steady_clock::now() + screenshotTimeout;
        bool ended = false;
        while (std::chrono::steady_clock::now() < deadline) {
            pollfd wait{ends[0], POLLIN, 0};
            if (poll(&wait, 1, 50) > 0) {
                char buffer[65536];
                const ssize_t count = read(ends[0], buffer, sizeof buffer);
                if (count <= 0)
                    ended = true;
                else
                    pixels.append(buffer, count);
            }
            if (pending.isFinished()) {
                const QDBusMessage answer = pending.reply();
                if (answer.type() == QDBusMessage::ErrorMessage) {
                    result = std::unexpected("KWin refused the screenshot: " +
                                             answer.errorMessage().toStdString());
                    break;
                }
                const QVariantMap info = qdbus_cast<QVariantMap>(answer.arguments().value(0));
                const int width = info.value("width").toInt(), height = info.value("height").toInt();
                const qsizetype stride = info.value("stride").toInt();
                if (info.value("type").toString() == "raw" && pixels.size() >= stride * height && width > 0) {
                    const QImage raw(reinterpret_cast<const uchar*>(pixels.constData()), width, height,
                                     stride, QImage::Format(info.value("format").toInt()));
                    result = raw.convertToFormat(QImage::Format_RGB32);
                    break;
                }
                if (info.value("type").toString() != "raw" && ended) {
                    QImage image = QImage::fromData(pixels);
                    result =
                        image.isNull()
                            ? std::unexpected(std::string("KWin's screenshot is no image"))
                            : std::expected<QImage, std::string>(image.convertToFormat(QImage::Format_RGB32));
                    break;
                }
            }
            if (ended && !pending.isFinished())
                pending.waitForFinished();
        }
        close(ends[0]);
    }
    QDBusConnection::disconnectFromBus(name);
    return result;
}

} // namespace vq::test
