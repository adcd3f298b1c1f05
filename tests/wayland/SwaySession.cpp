#include "tests/wayland/SwaySession.hpp"

#include "tests/support/CompositorUser.hpp"
#include "tests/wayland/wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <QThread>
#include <chrono>
#include <cstring>
#include <fstream>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>
#include <wayland-client.h>

namespace vq::test {

namespace {

// Generous: sway starts in well under a second, but the machine running the tests may be loaded.
constexpr auto startTimeout = std::chrono::seconds(30);
constexpr int commandTimeoutMs = 30'000;

std::expected<QByteArray, std::string> run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(commandTimeoutMs) || process.exitStatus() != QProcess::NormalExit)
        return std::unexpected((program + " did not finish").toStdString());
    if (process.exitCode() != 0)
        return std::unexpected((program + " " + arguments.join(' ') + " failed: ").toStdString() +
                               process.readAllStandardError().toStdString() +
                               process.readAllStandardOutput().toStdString());
    return process.readAllStandardOutput();
}

std::filesystem::path findIPCSocket(const std::filesystem::path& folder) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (entry.path().filename().string().starts_with("sway-ipc."))
            return entry.path();
    return {};
}

} // namespace

std::string SwaySession::unavailableReason() {
    if (const auto missing = firstMissing({"sway", "swaymsg", "grim", "runuser", "useradd"});
        !missing.empty())
        return missing + " is not installed (scripts/setup installs it)";
    if (geteuid() != 0)
        return "the sway tests run sway as a separate unprivileged user, which needs root";
    return {};
}

std::expected<std::unique_ptr<SwaySession>, std::string> SwaySession::start(Options options) {
    auto user = ensureCompositorUser();
    if (!user)
        return std::unexpected(user.error());

    std::unique_ptr<SwaySession> session(new SwaySession);
    std::string folderTemplate = (std::filesystem::temp_directory_path() / "vq-sway-XXXXXX").string();
    if (!mkdtemp(folderTemplate.data()))
        return std::unexpected(std::string("mkdtemp: ") + std::strerror(errno));
    session->runtimeFolder_ = folderTemplate;
    const auto config = session->runtimeFolder_ / "config";
    {
        std::ofstream out(config);
        if (options.nestedIn.empty())
            out << "output HEADLESS-1 resolution " << outputWidth << "x" << outputHeight << " scale "
                << options.scale << " position 0 0 bg " << backgroundHex << " solid_color\n";
        else
            out << "output * bg " << backgroundHex << " solid_color\n";
        out << "default_border none\n"
            << "focus_follows_mouse no\n";
    }
    if (chown(session->runtimeFolder_.c_str(), user->pw_uid, user->pw_gid) != 0 ||
        chown(config.c_str(), user->pw_uid, user->pw_gid) != 0 ||
        chmod(session->runtimeFolder_.c_str(), 0700) != 0)
        return std::unexpected(std::string("cannot hand the runtime folder to ") + compositorUser);

    const QString folder = QString::fromStdString(session->runtimeFolder_.string());
    session->sway_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    session->sway_.setStandardOutputFile(QProcess::nullDevice());
    QStringList backend{"WLR_BACKENDS=headless"};
    if (!options.nestedIn.empty())
        backend = {"WLR_BACKENDS=wayland", "WLR_WL_OUTPUTS=" + QString::number(options.outputs),
                   "WAYLAND_DISPLAY=" + QString::fromStdString(options.nestedIn)};
    session->sway_.start("runuser", QStringList{"-u", compositorUser, "--", "env"} + backend +
                                        QStringList{"WLR_RENDERER=pixman", "WLR_LIBINPUT_NO_DEVICES=1",
                                                    "XDG_RUNTIME_DIR=" + folder, "HOME=" + folder, "sway",
                                                    "-c", folder + "/config"});
    if (!session->sway_.waitForStarted(commandTimeoutMs))
        return std::unexpected("runuser did not start sway");

    const auto deadline = std::chrono::steady_clock::now() + startTimeout;
    while (std::chrono::steady_clock::now() < deadline) {
        session->ipcSocket_ = findIPCSocket(session->runtimeFolder_);
        if (!session->ipcSocket_.empty() && std::filesystem::exists(session->waylandDisplay()))
            break;
        if (session->sway_.state() == QProcess::NotRunning)
            return std::unexpected("sway exited at start");
        QThread::msleep(50);
    }
    if (session->ipcSocket_.empty())
        return std::unexpected("sway did not open its sockets in time");
    // The IPC socket appears once the outputs are set up; a command answered proves it listens.
    auto ready = session->command("nop");
    if (!ready)
        return std::unexpected(ready.error());
    auto pointer = session->plugVirtualPointer();
    if (!pointer)
        return std::unexpected(pointer.error());
    return session;
}

SwaySession::~SwaySession() {
    if (pointerConnection_)
        wl_display_disconnect(pointerConnection_);
    // The socket's name carries sway's process id: stop sway itself, then runuser follows.
    const std::string name = ipcSocket_.filename().string(); // sway-ipc.<uid>.<pid>.sock
    const auto lastDot = name.rfind(".sock");
    const auto pidDot = name.rfind('.', lastDot - 1);
    if (lastDot != std::string::npos && pidDot != std::string::npos) {
        const pid_t pid = std::atoi(name.substr(pidDot + 1, lastDot - pidDot - 1).c_str());
        if (pid > 0)
            kill(pid, SIGTERM);
    }
    if (!sway_.waitForFinished(commandTimeoutMs))
        sway_.kill();
    sway_.waitForFinished(commandTimeoutMs);
    std::error_code error;
    std::filesystem::remove_all(runtimeFolder_, error);
}

std::expected<void, std::string> SwaySession::command(const std::string& command) const {
    const QStringList words = QString::fromStdString(command).split(' ', Qt::SkipEmptyParts);
    auto result =
        run("swaymsg", QStringList{"-s", QString::fromStdString(ipcSocket_.string()), "--"} + words);
    if (!result)
        return std::unexpected(result.error());
    return {};
}

std::expected<QImage, std::string> SwaySession::screenshot(const std::string& output) const {
    const QString folder = QString::fromStdString(runtimeFolder_.string());
    QStringList arguments{
        "-u",   compositorUser, "--", "env", "XDG_RUNTIME_DIR=" + folder, "WAYLAND_DISPLAY=wayland-1",
        "grim", "-t",           "ppm"};
    if (!output.empty())
        arguments << "-o" << QString::fromStdString(output);
    auto ppm = run("runuser", arguments << "-");
    if (!ppm)
        return std::unexpected(ppm.error());
    QImage image = QImage::fromData(*ppm, "PPM");
    if (image.isNull())
        return std::unexpected("grim's output is not a PPM image");
    return image.convertToFormat(QImage::Format_RGB32);
}

std::expected<void, std::string> SwaySession::plugVirtualPointer() {
    pointerConnection_ = wl_display_connect(waylandDisplay().c_str());
    if (!pointerConnection_)
        return std::unexpected("cannot connect to sway at " + waylandDisplay());
    zwlr_virtual_pointer_manager_v1* manager = nullptr;
    static const wl_registry_listener listener = {
        .global =
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
                if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
                    *static_cast<zwlr_virtual_pointer_manager_v1**>(data) =
                        static_cast<zwlr_virtual_pointer_manager_v1*>(
                            wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {},
    };
    wl_registry* registry = wl_display_get_registry(pointerConnection_);
    wl_registry_add_listener(registry, &listener, &manager);
    wl_display_roundtrip(pointerConnection_);
    if (!manager)
        return std::unexpected("sway offers no zwlr_virtual_pointer_manager_v1");
    // The device lives as long as this connection; sway adds it to the default seat.
    pointer_ = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    if (wl_display_roundtrip(pointerConnection_) < 0)
        return std::unexpected("sway refused the virtual pointer");
    return {};
}

std::expected<void, std::string> SwaySession::movePointer(double dx, double dy) const {
    zwlr_virtual_pointer_v1_motion(pointer_, 0, wl_fixed_from_double(dx), wl_fixed_from_double(dy));
    zwlr_virtual_pointer_v1_frame(pointer_);
    if (wl_display_roundtrip(pointerConnection_) < 0)
        return std::unexpected("sway refused the pointer's motion");
    return {};
}

} // namespace vq::test
