#include "tests/desktop/GnomeShellSession.hpp"

#include "tests/support/CompositorUser.hpp"

#include <QDBusMessage>
#include <QThread>
#include <chrono>
#include <cstring>
#include <fstream>
#include <pwd.h>
#include <regex>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vq::test {

namespace {

// The Shell starts in two or three seconds here, its JavaScript and XWayland included; the machine
// running the tests may be loaded.
constexpr auto startTimeout = std::chrono::seconds(60);
constexpr int commandTimeoutMs = 30'000;
const QString shellService = "org.gnome.Shell";

bool handTo(const std::filesystem::path& path, const passwd& user) {
    return chown(path.c_str(), user.pw_uid, user.pw_gid) == 0;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The bus the Shell and the test share: a session bus that lets root (the test) in beside the
/// Shell's user. Nothing is activated on it, so the Shell runs without GNOME's other services.
std::string busConfiguration(const std::filesystem::path& socket) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)" +
           socket.string() + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

} // namespace

std::string GnomeShellSession::unavailableReason() {
    if (const auto missing = firstMissing({"gnome-shell", "Xwayland", "dbus-daemon", "runuser", "useradd"});
        !missing.empty())
        return missing + " is not installed (scripts/setup installs it)";
    if (geteuid() != 0)
        return "the GNOME tests run the Shell as a separate unprivileged user, which needs root";
    return {};
}

std::expected<std::unique_ptr<GnomeShellSession>, std::string> GnomeShellSession::start() {
    auto user = ensureCompositorUser();
    if (!user)
        return std::unexpected(user.error());

    std::unique_ptr<GnomeShellSession> session(new GnomeShellSession);
    std::string folderTemplate = (std::filesystem::temp_directory_path() / "vq-gnome-XXXXXX").string();
    if (!mkdtemp(folderTemplate.data()))
        return std::unexpected(std::string("mkdtemp: ") + std::strerror(errno));
    session->runtimeFolder_ = folderTemplate;
    const auto& folder = session->runtimeFolder_;
    const auto configuration = folder / "bus.conf";
    std::ofstream(configuration) << busConfiguration(folder / "bus");
    if (!handTo(folder, *user) || !handTo(configuration, *user) || chmod(folder.c_str(), 0700) != 0)
        return std::unexpected(std::string("cannot hand the runtime folder to ") + compositorUser);

    session->bus_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    session->bus_.start("runuser", {"-u", compositorUser, "--", "dbus-daemon", "--nofork", "--print-address",
                                    "--config-file=" + QString::fromStdString(configuration.string())});
    if (!session->bus_.waitForReadyRead(commandTimeoutMs))
        return std::unexpected("the private session bus did not start");

    const QString runtime = QString::fromStdString(folder.string());
    const QString bus = QString::fromStdString(session->busAddress());
    const auto log = folder / "gnome-shell.log";
    session->shell_.setStandardOutputFile(QString::fromStdString(log.string()));
    session->shell_.setStandardErrorFile(QString::fromStdString(log.string()));
    // The system bus is the private one too: the Shell asks it for logind and finds nobody, as it
    // would on a machine without systemd, instead of failing to reach any bus at all.
    session->shell_.start("runuser",
                          {"-u", compositorUser, "--", "env", "-i", "PATH=/usr/bin:/bin",
                           "XDG_RUNTIME_DIR=" + runtime, "HOME=" + runtime, "DBUS_SESSION_BUS_ADDRESS=" + bus,
                           "DBUS_SYSTEM_BUS_ADDRESS=" + bus, "GSETTINGS_BACKEND=memory", "LANG=C.UTF-8",
                           "gnome-shell", "--wayland", "--headless", "--unsafe-mode", "--virtual-monitor",
                           QString("%1x%2").arg(screenWidth).arg(screenHeight)});
    if (!session->shell_.waitForStarted(commandTimeoutMs))
        return std::unexpected("runuser did not start gnome-shell");

    // Mutter says which display XWayland serves once it has started it.
    const std::regex displayLine(R"(Using public X11 display (:[0-9]+))");
    const auto deadline = std::chrono::steady_clock::now() + startTimeout;
    std::smatch match;
    while (session->x11Display_.empty()) {
        const std::string text = readFile(log);
        if (std::regex_search(text, match, displayLine))
            session->x11Display_ = match[1];
        else if (session->shell_.state() == QProcess::NotRunning)
            return std::unexpected("gnome-shell exited at start:\n" + text);
        else if (std::chrono::steady_clock::now() > deadline)
            return std::unexpected("gnome-shell started no XWayland in time:\n" + text);
        QThread::msleep(100);
    }
    // X11 clients need the cookie mutter handed XWayland; the folder is fresh, so there is one.
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (entry.path().filename().string().starts_with(".mutter-Xwaylandauth."))
            session->xauthority_ = entry.path().string();
    if (session->xauthority_.empty())
        return std::unexpected("mutter wrote no XWayland cookie");

    session->connection_ = std::make_unique<QDBusConnection>(
        QDBusConnection::connectToBus(bus, QString::fromStdString("vq-gnome-" + folder.filename().string())));
    if (!session->connection_->isConnected())
        return std::unexpected("cannot join the Shell's bus: " +
                               session->connection_->lastError().message().toStdString());
    // The Shell is ready once its start-up (which ends in the overview) is over; then it shows the
    // desktop as a user sees it after dismissing the overview, with no notification over the top bar.
    while (session->evaluate("Main.layoutManager._startingUp").value_or("") != "false") {
        if (session->shell_.state() == QProcess::NotRunning)
            return std::unexpected("gnome-shell exited at start:\n" + readFile(log));
        if (std::chrono::steady_clock::now() > deadline)
            return std::unexpected("gnome-shell did not finish starting in time:\n" + readFile(log));
        QThread::msleep(100);
    }
    auto desktop = session->evaluate(
        "Main.overview.hide(); Main.messageTray.getSources().forEach(source => source.destroy());"
        "const Clutter = imports.gi.Clutter;"
        "global.vqPointer = Clutter.get_default_backend().get_default_seat()"
        "    .create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE); 'ready'");
    if (!desktop)
        return std::unexpected(desktop.error());
    while (session->evaluate("Main.overview.visible || Main.overview.animationInProgress").value_or("") !=
           "false") {
        if (std::chrono::steady_clock::now() > deadline)
            return std::unexpected("the Shell's overview did not close in time");
        QThread::msleep(100);
    }
    return session;
}

GnomeShellSession::~GnomeShellSession() {
    // runuser waits for its child: stop the Shell itself (whose process id it tells), then XWayland
    // if mutter left it behind (its lock file holds its process id), then the bus.
    const auto shellPid = evaluate("new imports.gi.Gio.Credentials().get_unix_pid()");
    connection_.reset();
    QDBusConnection::disconnectFromBus(
        QString::fromStdString("vq-gnome-" + runtimeFolder_.filename().string()));
    if (shellPid && std::atoi(shellPid->c_str()) > 0)
        kill(std::atoi(shellPid->c_str()), SIGTERM);
    if (!shell_.waitForFinished(commandTimeoutMs))
        shell_.kill();
    shell_.waitForFinished(commandTimeoutMs);
    if (x11Display_.size() > 1) {
        std::string lock = readFile("/tmp/.X" + x11Display_.substr(1) + "-lock");
        const int xwayland = std::atoi(lock.c_str());
        if (xwayland > 0 && kill(xwayland, 0) == 0)
            kill(xwayland, SIGTERM);
    }
    if (bus_.state() == QProcess::Running) {
        // The daemon is runuser's child: runuser passes SIGTERM on to it.
        bus_.terminate();
        if (!bus_.waitForFinished(commandTimeoutMs))
            bus_.kill();
        bus_.waitForFinished(commandTimeoutMs);
    }
    std::error_code error;
    std::filesystem::remove_all(runtimeFolder_, error);
}

std::map<std::string, std::string>
GnomeShellSession::environmentFor(std::map<std::string, std::string> environment) const {
    environment.erase("QT_QPA_PLATFORM");
    environment["WAYLAND_DISPLAY"] = waylandDisplay();
    environment["DISPLAY"] = x11Display_;
    environment["XAUTHORITY"] = xauthority_;
    environment["DBUS_SESSION_BUS_ADDRESS"] = busAddress();
    environment["XDG_SESSION_TYPE"] = "wayland";
    environment["XDG_CURRENT_DESKTOP"] = "GNOME";
    environment["XDG_SESSION_DESKTOP"] = "gnome";
    return environment;
}

std::expected<std::string, std::string> GnomeShellSession::evaluate(const std::string& script) const {
    if (!connection_)
        return std::unexpected("not connected to the Shell's bus");
    auto call = QDBusMessage::createMethodCall(shellService, "/org/gnome/Shell", shellService, "Eval");
    call << QString::fromStdString(script);
    const QDBusMessage reply = connection_->call(call, QDBus::Block, commandTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 2)
        return std::unexpected("the Shell did not evaluate " + script + ": " +
                               reply.errorMessage().toStdString());
    if (!reply.arguments()[0].toBool())
        return std::unexpected("the Shell's evaluation of " + script +
                               " failed: " + reply.arguments()[1].toString().toStdString());
    // The result comes as JSON: strings quoted, numbers and booleans bare.
    std::string result = reply.arguments()[1].toString().toStdString();
    if (result.size() >= 2 && result.front() == '"' && result.back() == '"')
        result = result.substr(1, result.size() - 2);
    return result;
}

std::expected<QImage, std::string> GnomeShellSession::screenshot() const {
    const auto file = runtimeFolder_ / "screenshot.png";
    std::error_code error;
    std::filesystem::remove(file, error);
    auto call = QDBusMessage::createMethodCall("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot",
                                               "org.gnome.Shell.Screenshot", "Screenshot");
    call << false << false << QString::fromStdString(file.string());
    const QDBusMessage reply = connection_->call(call, QDBus::Block, commandTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().empty() ||
        !reply.arguments()[0].toBool())
        return std::unexpected("the Shell took no screenshot: " + reply.errorMessage().toStdString());
    QImage image(QString::fromStdString(file.string()));
    if (image.isNull())
        return std::unexpected("the Shell's screenshot is not a PNG image");
    return image.convertToFormat(QImage::Format_RGB32);
}

std::expected<void, std::string> GnomeShellSession::movePointer(QPoint at) const {
    auto moved = evaluate("global.vqPointer.notify_absolute_motion(imports.gi.GLib.get_monotonic_time(), " +
                          std::to_string(at.x()) + ", " + std::to_string(at.y()) + "); 'moved'");
    if (!moved)
        return std::unexpected(moved.error());
    return {};
}

std::expected<void, std::string> GnomeShellSession::click() const {
    auto clicked =
        evaluate("const Clutter = imports.gi.Clutter; const GLib = imports.gi.GLib;"
                 "global.vqPointer.notify_button(GLib.get_monotonic_time(), Clutter.BUTTON_PRIMARY,"
                 "    Clutter.ButtonState.PRESSED);"
                 "global.vqPointer.notify_button(GLib.get_monotonic_time(), Clutter.BUTTON_PRIMARY,"
                 "    Clutter.ButtonState.RELEASED); 'clicked'");
    if (!clicked)
        return std::unexpected(clicked.error());
    return {};
}

} // namespace vq::test
