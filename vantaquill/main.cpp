#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/island/IslandStateResolver.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "BrindKit/sdk/SDKHTTPServer.hpp"
#include "BrindKit/widgets/WidgetPomodoroActivity.hpp"
#include "BrindKit/widgets/WidgetWeatherCode.hpp"
#include "vantaquill/AgentHub.hpp"
#include "vantaquill/ClientFileWriter.hpp"
#include "vantaquill/ClientStore.hpp"
#include "vantaquill/HeadlessConsole.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/SDKService.hpp"
#include "vantaquill/ShelfAutoClear.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/instance/SingleInstance.hpp"
#include "vantaquill/panel/PanelHost.hpp"
#include "vantaquill/panel/activities/ActivitiesSection.hpp"
#include "vantaquill/panel/agents/AgentsSection.hpp"
#include "vantaquill/panel/clipboard/ClipboardSection.hpp"
#include "vantaquill/panel/shelf/ShelfSection.hpp"
#include "vantaquill/panel/sound/SoundSection.hpp"
#include "vantaquill/panel/widgets/WidgetsSection.hpp"
#include "vantaquill/panel/widgets/WingWidgets.hpp"
#include "vantaquill/instance/URLCommandRunner.hpp"
#include "vantaquill/TokenFiles.hpp"
#include "vantaquill/ConsoleOutput.hpp"
#include "vantaquill/clipboard/ClipboardPreferences.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/clipboard/WaylandClipboardWatcher.hpp"
#include "vantaquill/clipboard/X11ClipboardWatcher.hpp"
#include "vantaquill/clipboard/X11PasteKeystroke.hpp"
#include "vantaquill/hud/HUDController.hpp"
#include "vantaquill/hud/VolumeClick.hpp"
#include "vantaquill/hud/X11HUDKeys.hpp"
#include "vantaquill/hud/X11KeyGrabs.hpp"
#include "vantaquill/island/IslandManager.hpp"
#include "vantaquill/island/IslandSurfaceChoice.hpp"
#include "vantaquill/island/X11FullScreenWatcher.hpp"
#include "vantaquill/island/X11IslandSurface.hpp"
#include "vantaquill/island/faces/FaceFonts.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"
#include "vantaquill/providers/BluetoothProvider.hpp"
#include "vantaquill/providers/DownloadsProvider.hpp"
#include "vantaquill/providers/FocusWatcher.hpp"
#include "vantaquill/providers/GSettingsKey.hpp"
#include "vantaquill/providers/LockWatcher.hpp"
#include "vantaquill/providers/MediaController.hpp"
#include "vantaquill/providers/MicCameraProvider.hpp"
#include "vantaquill/providers/NetworkProvider.hpp"
#include "vantaquill/providers/NotificationMirror.hpp"
#include "vantaquill/providers/PomodoroController.hpp"
#include "vantaquill/providers/ScreenShareWatcher.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/ThemeSound.hpp"
#include "vantaquill/providers/VolumeWatcher.hpp"
#include "vantaquill/providers/WeatherForecastFile.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/qt/QtScheduler.hpp"
#include "vantaquill/qt/SignalWatcher.hpp"
#include "vantaquill/qt/StandardInputReader.hpp"
#include "vantaquill/settings/SettingsWindow.hpp"
#include "vantaquill/settings/StatusMenu.hpp"
#include "vantaquill/settings/StayAwake.hpp"
#include "vantaquill/wayland/LayerShellSurface.hpp"
#include "vantaquill/wayland/WaylandPasteKeystroke.hpp"
#include "vantaquill/wayland/WaylandFullScreenWatcher.hpp"

#include <QApplication>
#include <QCommandLineParser>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <clocale>
#include <cstdio>
#include <unistd.h>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr int exitStartFailure = 1;
// Between the island giving the keyboard back and Ctrl+V: the window the user came from first
// takes the focus it was handed.
constexpr int pasteDelayMs = 150;

struct Options {
    std::uint16_t port = brind::SDKBridge::defaultPort;
    QString url;
    bool settings = false;
    /// Where the kernel's device classes are: the backlights and the keyboard's LEDs.
    std::filesystem::path sysClass = "/sys/class";
};

// DISPLAY may name a server that is gone (a stale variable, a closed session); Qt would abort on it,
// so the island asks the server itself before choosing X11.
bool x11DisplayAnswers() {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

bool layerShellOffered() {
    return vq::LayerShellSurface::probe().offered;
}

// The window toolkit has to be chosen before the application object exists, so these two options
// are read from the raw arguments; QCommandLineParser checks and documents them afterwards.
bool askedHeadless(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--headless")
            return true;
    }
    return false;
}

std::string_view requestedSurface(int argc, char** argv) {
    constexpr std::string_view option = "--surface";
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument(argv[i]);
        if (argument == option && i + 1 < argc)
            return argv[i + 1];
        if (argument.starts_with(option) && argument.size() > option.size() && argument[option.size()] == '=')
            return argument.substr(option.size() + 1);
    }
    return {};
}

/// The island's surface, or nothing when the application runs headless. A surface the user asked
/// for that cannot be shown is an error; an automatic choice that finds none runs headless.
std::expected<std::optional<vq::IslandSurfaceChoice>, std::string> chooseSurface(int argc, char** argv) {
    if (askedHeadless(argc, argv))
        return std::nullopt;
    const auto request = vq::IslandSurfaceChoice::parseRequest(requestedSurface(argc, argv));
    if (!request)
        return std::unexpected(request.error());
    const vq::IslandSurfaceChoice::Session session{
        .waylandDisplay = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"),
        .x11Display = x11DisplayAnswers(),
        .layerShellOffered = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && layerShellOffered()};
    auto choice = vq::IslandSurfaceChoice::choose(*request, session);
    if (choice)
        return std::optional(*choice);
    if (*request != vq::IslandSurfaceChoice::Request::automatic)
        return std::unexpected(choice.error());
    if (session.waylandDisplay || session.x11Display)
        std::cerr << "vantaquill: no island window (" << choice.error() << "); running headless\n";
    return std::nullopt;
}

std::unique_ptr<vq::IslandSurface> makeSurface(vq::IslandSurface::Kind kind) {
    switch (kind) {
    case vq::IslandSurface::Kind::x11:
        return std::make_unique<vq::X11IslandSurface>();
    case vq::IslandSurface::Kind::layerShell: {
        auto surface = vq::LayerShellSurface::connect();
        if (!surface) {
            std::cerr << "vantaquill: no layer-shell surface: " << surface.error() << "\n";
            return nullptr;
        }
        return std::move(*surface);
    }
    }
    std::unreachable();
}

std::optional<Options> parseOptions(const QCoreApplication& app) {
    QCommandLineParser parser;
    parser.setApplicationDescription("vantaquill: the island at the top of the screen, and its local SDK.");
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption headless("headless", "Run without a window; the island is shown as text on stdout.");
    const QCommandLineOption port("port", "Port of the local SDK on 127.0.0.1 (default 47829; 0 picks a free one).",
                                  "N", QString::number(brind::SDKBridge::defaultPort));
    const QCommandLineOption surface("surface",
                                     "Show the island as an X11 window or a Wayland layer-shell surface "
                                     "(default: the layer shell where the compositor offers one, else X11).",
                                     "x11|layer-shell");
    parser.addOption(headless);
    parser.addOption(port);
    const QCommandLineOption settings("settings", "Open the settings window at start (not with --headless).");
    parser.addOption(surface);
    parser.addOption(settings);
    const QCommandLineOption sysClass("sys-class",
                                      "Where the backlights and keyboard lights are found (default /sys/class).",
                                      "folder", "/sys/class");
    parser.addOption(sysClass);
    parser.addPositionalArgument("url", "A vantaquill:// URL to carry out; a running island is handed it.", "[url]");
    parser.process(app);

    bool ok = false;
    const uint value = parser.value(port).toUInt(&ok);
    if (!ok || value > 65535) {
        std::cerr << "vantaquill: --port takes a number from 0 to 65535\n";
        return std::nullopt;
    }
    Options options;
    options.port = static_cast<std::uint16_t>(value);
    options.url = parser.positionalArguments().value(0);
    options.settings = parser.isSet(settings);
    options.sysClass = parser.value(sysClass).toStdString();
    return options;
}

// Follows the desktop's "reduce animations" setting (GNOME's enable-animations, which other
// desktops' settings daemons mirror) while "island.reduceMotion" says neither on nor off.
void followReducedMotion(const std::string& preference, vq::IslandManager& manager,
                         std::unique_ptr<vq::GSettingsKey>& desktopAnimations) {
    if (preference == "on" || preference == "off") {
        desktopAnimations.reset();
        manager.setReduceMotion(preference == "on");
        return;
    }
    if (!desktopAnimations)
        desktopAnimations = vq::GSettingsKey::follow(
            "org.gnome.desktop.interface", "enable-animations",
            [&manager](const QString& value) { manager.setReduceMotion(value == "false"); });
}

// Posts a function to the main thread's event loop.
void onMainThread(std::function<void()> function) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
}

vq::ConsoleOutput& standardOutput() {
    static vq::ConsoleOutput output(STDOUT_FILENO);
    return output;
}

void printLine(const std::string& line) {
    standardOutput().line(line);
}

void printError(const std::string& line) {
    std::cerr << line << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    const auto surfaceChoice = chooseSurface(argc, argv);
    if (!surfaceChoice) {
        std::cerr << "vantaquill: " << surfaceChoice.error() << "\n";
        return exitStartFailure;
    }
    const std::optional<vq::IslandSurfaceChoice> surface = *surfaceChoice;
    if (surface && surface->kind == vq::IslandSurface::Kind::x11)
        qputenv("QT_QPA_PLATFORM", "xcb");
    // The layer-shell surface has its own connection; Qt on Wayland names its screens after the
    // compositor's outputs, which is how the surface finds each screen's output.
    if (surface && surface->kind == vq::IslandSurface::Kind::layerShell)
        qputenv("QT_QPA_PLATFORM", "wayland");
    // Widgets need QApplication; without a window the lighter core application keeps the headless
    // process as it always was.
    const std::unique_ptr<QCoreApplication> app =
        surface ? std::make_unique<QApplication>(argc, argv) : std::make_unique<QCoreApplication>(argc, argv);
    // Qt adopts the user's locale for the C library, and in many locales that formats and reads
    // numbers with a decimal comma; every number this program writes or reads (JSON, URLs, the SDK)
    // uses a point.
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setApplicationName("vantaquill");
    QCoreApplication::setApplicationVersion("1.0");
    const auto options = parseOptions(*app);
    if (!options)
        return exitStartFailure;
    // One island per session; URLs handed over arrive through the event loop, once `openURL` is set.
    std::function<void(const QString&)> openURL;
    vq::SingleInstance instance;
    if (const auto code = instance.start(options->url, [&openURL](const QString& url) { openURL(url); },
                                         [](const std::string& why) { printError("vantaquill: " + why); }))
        return *code;

    const auto dataFolder = brind::Paths::dataFolder();
    if (auto made = brind::AtomicFile::ensureFolder(dataFolder); !made) {
        printError("vantaquill: " + made.error());
        return exitStartFailure;
    }
    vq::SignalWatcher signalWatcher([] { QCoreApplication::quit(); });
    const auto preferencesFile = brind::Paths::configFolder() / "vantaquill.conf";
    vq::Preferences preferences(preferencesFile);
    vq::QtScheduler scheduler;
    vq::HeadlessDisplay display(printLine, printError);
    // Lines a slow reader has not taken yet are written as soon as it makes room.
    QSocketNotifier outputRoom(STDOUT_FILENO, QSocketNotifier::Write);
    outputRoom.setEnabled(false);
    QObject::connect(&outputRoom, &QSocketNotifier::activated, [] { standardOutput().flush(); });
    standardOutput().onWaiting = [&outputRoom](bool waiting) { outputRoom.setEnabled(waiting); };

    vq::LiveActivityCenter center(scheduler);
    vq::AgentHub agents(scheduler, dataFolder, display, center, onMainThread, preferences.agentPruneInterval());
    // The widgets' runners, declared before the panel whose Widgets section shows and drives them.
    vq::StayAwake stayAwake(scheduler, vq::StayAwake::stateFile(dataFolder), printError);
    vq::PomodoroController pomodoro(scheduler, center, vq::PomodoroController::stateFile(dataFolder),
                                    preferences.pomodoro(), printError);
    vq::StatsSampler stats(scheduler, "/proc", options->sysClass);
    vq::ThemeSound sounds(printError);
    pomodoro.onPhaseFinished = [&preferences, &sounds, &center](vq::PomodoroController::Phase finished) {
        // The end of a phase is a normal activity: while focused it makes no sound either.
        if (preferences.flag("widgets.pomodoro.sound") && center.mayInterrupt(brind::ActivityPriority::normal))
            sounds.play("alarm-clock-elapsed", brind::WidgetPomodoroActivity::alertText(finished));
    };
    // The expanded panel, shared by every island; it outlives them.
    std::unique_ptr<vq::PanelHost> panel;
    // SDK clients asking to connect wait here for the panel's prompt; headless, nobody is asked.
    std::unique_ptr<vq::ConsentQueue> consents;
    vq::ActivitiesSection* activitiesSection = nullptr;
    std::unique_ptr<vq::IslandManager> islands;
    // The desktop's animation switch, followed while "island.reduceMotion" leaves it to the desktop;
    // declared after the islands it changes, so that it goes first.
    std::unique_ptr<vq::GSettingsKey> desktopAnimations;
    std::unique_ptr<vq::X11FullScreenWatcher> fullScreen;
    std::unique_ptr<vq::WaylandFullScreenWatcher> waylandFullScreen;
    if (surface) {
        std::cerr << "vantaquill: island surface: " << vq::IslandSurfaceChoice::name(surface->kind) << " ("
                  << surface->reason << ")" << std::endl;
        const auto islandPreferences = preferences.island();
        islands = std::make_unique<vq::IslandManager>(
            center, scheduler, islandPreferences, [kind = surface->kind](QScreen*) { return makeSurface(kind); },
            [](std::string_view text, double size) { return vq::FaceFonts::semiboldWidth(text, size); });
        followReducedMotion(islandPreferences.reduceMotion, *islands, desktopAnimations);
        panel = std::make_unique<vq::PanelHost>();
        // The sections in the order of their buttons. The panel owns them.
        // Agents: reads the hub and answers through its broker.
        auto* agentsSection = new vq::AgentsSection(agents, scheduler);
        panel->panel().addSection(agentsSection);
        agents.onChange = [agentsSection] { agentsSection->refresh(); };
        consents = std::make_unique<vq::ConsentQueue>(
            scheduler, [&preferences] { return preferences.bridgeConfig().consentTimeout; });
        activitiesSection = new vq::ActivitiesSection(center, *consents);
        panel->panel().addSection(activitiesSection);
        consents->onChange = [activitiesSection] { activitiesSection->refresh(); };
        islands->setContent(panel.get());
        // Watched whatever "island.hideInFullScreen" says now: the manager reads it at each change.
        if (surface->kind == vq::IslandSurface::Kind::x11) {
            fullScreen = std::make_unique<vq::X11FullScreenWatcher>(
                [&islands, &fullScreen] { islands->setFullScreenWindow(fullScreen->fullScreenWindowCentre()); });
            islands->setFullScreenWindow(fullScreen->fullScreenWindowCentre());
        }
        // The overlay layer stays above full-screen windows: the compositor has to say which are.
        if (surface->kind == vq::IslandSurface::Kind::layerShell) {
            auto watcher = vq::WaylandFullScreenWatcher::connect([&islands, &waylandFullScreen] {
                islands->setFullScreenWindow(waylandFullScreen->fullScreenWindowCentre());
            });
            if (watcher) {
                waylandFullScreen = std::move(*watcher);
                islands->setFullScreenWindow(waylandFullScreen->fullScreenWindowCentre());
            } else {
                std::cerr << "vantaquill: the island stays over full-screen windows: " << watcher.error() << std::endl;
            }
        }
    }
    // Whether the screen is shared or recorded now (ScreenShareWatcher, below).
    bool screenShared = false;
    const auto showState = [&] {
        display.stateChanged(brind::IslandStateResolver::resolve(
            {.userOpened = false,
             .peeking = center.hud().has_value() || center.alerting().has_value(),
             .hasActivity = !center.activities().empty(),
             .hidden = screenShared && preferences.flag("island.hideWhenSharing")}));
    };
    center.onChange = [&](vq::LiveActivityCenter::Change change) {
        if (islands)
            islands->refresh();
        switch (change) {
        case vq::LiveActivityCenter::Change::activities:
            if (activitiesSection)
                activitiesSection->refresh();
            display.activitiesChanged(center.activities());
            break;
        case vq::LiveActivityCenter::Change::hud:
            display.hudChanged(center.hud());
            break;
        case vq::LiveActivityCenter::Change::alerting:
            display.alertChanged(center.alerting());
            break;
        }
        showState();
    };

    // The volume, brightness and keyboard-light keys: pressed through `vantaquill hud` (any desktop)
    // or grabbed on X11; levels changed elsewhere are flashed too.
    std::unique_ptr<vq::HUDController> hud;
    const auto flashElsewhere = [&hud](brind::HUDEvent::Kind kind) {
        return [&hud, kind](double level) { hud->changedElsewhere(kind, level); };
    };
    vq::PulseVolume outputVolume;
    vq::DisplayBacklight backlight(options->sysClass, flashElsewhere(brind::HUDEvent::Kind::brightness), printError);
    vq::KeyboardBacklight keyboardLight(options->sysClass, flashElsewhere(brind::HUDEvent::Kind::keyboardBacklight),
                                        printError);
    hud = std::make_unique<vq::HUDController>(center, scheduler,
                                              vq::HUDController::Devices{outputVolume, backlight, keyboardLight});
    const auto hudSwitches = [&preferences] {
        return vq::HUDController::Switches{.enabled = preferences.flag("hud.enabled"),
                                           .volume = preferences.flag("hud.volume"),
                                           .brightness = preferences.flag("hud.brightness"),
                                           .keyboard = preferences.flag("hud.keyboard")};
    };
    hud->setSwitches(hudSwitches());
    // The click after a volume step, when "hud.volumeClick" or the desktop asks for one.
    vq::VolumeClick volumeClick(brind::Paths::userConfig(), [&sounds] { sounds.play("audio-volume-change", "Volume changed"); });
    const auto followVolumeClick = [&preferences, &volumeClick] {
        volumeClick.setMode(vq::VolumeClick::modeNamed(preferences.text("hud.volumeClick"))
                                .value_or(vq::VolumeClick::Mode::system));
    };
    followVolumeClick();
    preferences.onChange(followVolumeClick);
    hud->onVolumeStep = [&volumeClick] { volumeClick.stepped(); };
    std::unique_ptr<vq::X11HUDKeys> hudKeys;
    if (surface && surface->kind == vq::IslandSurface::Kind::x11) {
        auto grabbed = vq::X11HUDKeys::connect(
            [&hud](brind::HUDKey key, brind::HUDKeyRules::KeyState state, brind::HUDKeyRules::Modifiers modifiers) {
                return hud->handle(key, state, modifiers);
            },
            printError);
        if (grabbed)
            hudKeys = std::move(*grabbed);
        else
            printError("vantaquill: the HUD keys are not taken: " + grabbed.error());
    }
    // The clipboard history's hot key, on X11 (on Wayland the user binds `xdg-open vantaquill://clipboard`
    // in the compositor). Super+Shift+V: Super+V and Ctrl+Shift+V are the desktops' and terminals' own.
    std::unique_ptr<vq::X11KeyGrabs> paletteKey;
    const auto followPaletteKey = [&] {
        const bool wanted = surface && surface->kind == vq::IslandSurface::Kind::x11 &&
                            preferences.flag("clipboard.hotkeyEnabled");
        if (wanted == (paletteKey != nullptr))
            return;
        paletteKey.reset();
        if (!wanted)
            return;
        auto grabbed = vq::X11KeyGrabs::connect(
            {{XK_v, {XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT}, "Super+Shift+V"}},
            [&openURL](std::size_t, bool down, std::uint16_t) {
                if (down)
                    openURL(QStringLiteral("vantaquill://clipboard"));
            },
            printError,
            [](const std::string& names) {
                return "vantaquill: " + names +
                       ", the clipboard history's hot key, is held by another program; bind a key of your own to "
                       "`xdg-open vantaquill://clipboard`";
            });
        if (grabbed)
            paletteKey = std::move(*grabbed);
        else
            printError("vantaquill: the clipboard history has no hot key: " + grabbed.error());
    };
    followPaletteKey();

    // Clients: the authoriser starts from the stored list and writes every change back.
    vq::ClientStore clients(dataFolder);
    brind::SDKAuthorizer auth(clients.load());
    vq::ClientFileWriter clientFile(clients, auth, scheduler, onMainThread, printError);
    const auto hookToken = vq::TokenFiles::loadOrCreateHookToken(dataFolder);
    if (!hookToken)
        printError("vantaquill: " + hookToken.error());
    const std::string cliToken = auth.issue("cli", "vantaquill CLI",
                                            {brind::SDKScopes::all.begin(), brind::SDKScopes::all.end()},
                                            scheduler.now());
    if (auto written = vq::TokenFiles::writeCLIToken(brind::Paths::cliTokenFile(), cliToken); !written)
        printError("vantaquill: couldn't write cli-token: " + written.error());

    vq::ShelfStore shelf(dataFolder);
    vq::ShelfSection* shelfSection = nullptr;
    vq::ShelfAutoClear shelfAutoClear(shelf, scheduler);
    shelf.onChange = [&] {
        shelfAutoClear.shelfChanged();
        if (shelfSection)
            shelfSection->refresh();
    };
    // Said for every entry the auto-clear or "Clear shelf" took off.
    shelf.onCleared = [&](const std::vector<brind::ShelfEntry>& cleared) {
        for (const auto& entry : cleared)
            display.line("shelf cleared " + vq::HeadlessDisplay::field("title", entry.title));
    };
    const auto followShelfAutoClear = [&] { shelfAutoClear.setHours(preferences.number("shelf.autoClearHours")); };
    followShelfAutoClear();
    preferences.onChange(followShelfAutoClear);
    // Files, texts and links dragged onto an island land on the shelf, as `vantaquill shelf add` does;
    // the island opens on the shelf when they come near the notch or are shaken over the island.
    if (islands) {
        islands->setShelfGestureHandler([&](vq::ShelfDragGestures::Gesture gesture) {
            if (!shelfSection)
                return;
            panel->panel().showSection(shelfSection);
            display.line(gesture == vq::ShelfDragGestures::Gesture::shake ? "shelf shown for a shake"
                                                                          : "shelf shown for a drag near the notch");
        });
        islands->setDropHandler([&](const vq::IslandSurface::DropEvent& event) {
            if (event.files.empty() && event.text.empty())
                return false;
            if (event.type != vq::IslandSurface::DropEvent::Type::drop)
                return true;
            std::vector<brind::ShelfEntry> added;
            if (!event.files.empty()) {
                added = shelf.addFiles(event.files, scheduler.now());
            } else if (auto entry = shelf.addText(event.text, scheduler.now())) {
                added.push_back(std::move(*entry));
            }
            for (const auto& entry : added)
                display.line("shelf added " + vq::HeadlessDisplay::field("path", entry.path.value_or("")) + " " +
                             vq::HeadlessDisplay::field("title", entry.title));
            if (!shelf.lastError().empty())
                printError("vantaquill: couldn't write " + shelf.lastError());
            return true;
        });
    }

    brind::SDKBridge bridge(auth, agents.broker(), hookToken.value_or(""), options->port);
    // The surface is fixed at start; every later change of the preferences keeps it in the status.
    const auto bridgeConfig = [&preferences, &surface] {
        auto config = preferences.bridgeConfig();
        config.surface = surface ? std::string(vq::IslandSurfaceChoice::name(surface->kind)) : "headless";
        config.surfaceReason = surface ? surface->reason : "started with --headless, or no display to show a window on";
        return config;
    };
    bridge.setConfig(bridgeConfig());
    auto service = std::make_shared<vq::SDKService>(onMainThread, center, shelf, scheduler, display,
                                                    [&agents](const brind::AgentHookEvent& event) { agents.apply(event); },
                                                    consents.get());
    service->setHUDKeys([&hud](brind::HUDKey key, brind::HUDSteps::Grid grid) { return hud->press(key, grid); });
    bridge.setDelegate(service);
    center.handleActions("sdk.", [&bridge](const std::string& activityID, const std::string& actionID) {
        bridge.publishAction(activityID, actionID);
    });

    brind::SDKHTTPServer server(
        [&bridge](brind::SDKHTTPRequest request, std::shared_ptr<brind::SDKConnection> connection) {
            return bridge.handle(std::move(request), std::move(connection));
        },
        [&bridge](const brind::SDKHTTPRequest& request) { return bridge.answerNow(request); });
    service->setWakeLater([&server](std::function<void()> work) { asio::post(server.executor(), std::move(work)); });
    service->setWakeTimer(vq::SDKService::timerOn(server));
    if (auto started = server.start(options->port); !started) {
        printError("vantaquill: Couldn't start: " + started.error().message());
        return exitStartFailure;
    }
    bridge.setPort(server.port());
    printLine("Listening on 127.0.0.1:" + std::to_string(server.port()));

    // Preferences apply while the island runs, whether changed in the settings window or by hand.
    // The status menu's switch means "until turned off"; the panel may choose a time instead, so the
    // switch is applied when it moves, not whenever another preference changes.
    bool stayAwakeSwitch = false;
    std::string reduceMotion = preferences.text("island.reduceMotion");
    const auto applyPreferences = [&] {
        bridge.setConfig(bridgeConfig());
        pomodoro.applyConfig(preferences.pomodoro());
        hud->setSwitches(hudSwitches());
        followPaletteKey();
        if (!islands)
            return;
        if (const bool on = preferences.flag("activities.stayAwake"); on != std::exchange(stayAwakeSwitch, on))
            stayAwake.setMode(on ? brind::WidgetStayAwakeMode::indefinite() : brind::WidgetStayAwakeMode::off());
        islands->setPreferences(preferences.island());
        const std::string previous = std::exchange(reduceMotion, preferences.text("island.reduceMotion"));
        if (previous != reduceMotion)
            followReducedMotion(reduceMotion, *islands, desktopAnimations);
    };
    applyPreferences();
    preferences.onChange(applyPreferences);
    // The clipboard history, archived in the data folder; its settings apply as the file changes.
    vq::ClipboardStore clipboard(brind::ClipArchive{brind::ClipArchive::defaultFolder()}, scheduler,
                                 vq::ClipboardPreferences::read(preferencesFile));
    preferences.onChange([&] { clipboard.setSettings(vq::ClipboardPreferences::read(preferencesFile)); });
    clipboard.onCapture = [&display](const brind::ClipItem& item) {
        display.line("clipboard: " + std::string(brind::name(item.kind)) + " " + item.displayTitle());
    };
    clipboard.onSkip = [&display](brind::ClipSkipReason reason) {
        display.line(reason == brind::ClipSkipReason::concealed ? "clipboard: concealed copy ignored"
                                                                : "clipboard: skipped (" + std::string(brind::name(reason)) + ")");
    };
    // The status menu and the settings window belong to the desktop; a headless island has neither.
    std::unique_ptr<vq::SettingsWindow> settingsWindow;
    std::unique_ptr<vq::StatusMenu> statusMenu;
    if (islands) {
        // Closing the settings window leaves the island running.
        QApplication::setQuitOnLastWindowClosed(false);
        const std::string program = QCoreApplication::applicationFilePath().toStdString();
        settingsWindow = std::make_unique<vq::SettingsWindow>(
            preferences, vq::AutostartEntry(vq::AutostartEntry::userFile(), program),
            vq::SettingsWindow::Services{
                .clients = [&auth] { return auth.all(); },
                .revoke = [&bridge](const std::string& appID) { bridge.disconnect(appID); },
                .command = QCoreApplication::applicationDirPath() + "/vantaquill",
                .clipboard = &clipboard});
        statusMenu = std::make_unique<vq::StatusMenu>(
            preferences,
            vq::StatusMenu::Actions{.openIsland = [&islands] { islands->open(); },
                                    .openSettings = [&settingsWindow] { settingsWindow->showPane({}); },
                                    .quit = [] { QCoreApplication::quit(); },
                                    .pauseClipboard =
                                        [&clipboard](bool on) {
                                            on ? clipboard.pause(vq::StatusMenu::pauseHours) : clipboard.resume();
                                        },
                                    .clipboardPaused = [&clipboard] { return clipboard.pausedUntil().has_value(); }},
            printError);
        // The first start on a desktop shows, once, what works here and why not where it doesn't.
        const auto firstStartShown = dataFolder / "first-start-shown";
        if (options->settings) {
            settingsWindow->showPane({});
        } else if (!std::filesystem::exists(firstStartShown)) {
            settingsWindow->showPane(QString::fromUtf8(vq::SettingsWindow::desktopPane.data(),
                                                       static_cast<qsizetype>(vq::SettingsWindow::desktopPane.size())));
            if (auto written = brind::AtomicFile::write(firstStartShown, ""); !written)
                printError("vantaquill: couldn't write " + firstStartShown.string() + ": " + written.error());
        }
    }
    vq::URLCommandRunner urls(auth, *service, [&](const brind::SDKURLCommand& view) {
        display.line(vq::URLCommandRunner::describeView(view));
        if (const auto* settings = std::get_if<brind::SDKURLCommand::Settings>(&view.command); settings && settingsWindow) {
            settingsWindow->showPane(QString::fromStdString(settings->pane.value_or("")));
            return;
        }
        if (!islands)
            return;
        islands->open();
        // The section the link names, after the opening chose the one that needs the user: the
        // user asked for this one.
        if (const auto* open = std::get_if<brind::SDKURLCommand::Open>(&view.command); open && open->tab)
            panel->panel().showSectionTitled(QString::fromStdString(*open->tab));
        else if (std::holds_alternative<brind::SDKURLCommand::Clipboard>(view.command))
            panel->panel().showSectionTitled(QStringLiteral("Clipboard"));
    });
    openURL = [&](const QString& url) {
        if (auto done = urls.run(url.toStdString(), scheduler.now()); !done)
            printError("vantaquill: ignored " + url.toStdString() + ": " + done.error());
    };

    // The clipboard is watched through X11 where Qt's clipboard is X11's, else through the compositor's
    // data control when there is a window. The primary selection (text selected with the pointer) is
    // recorded only when the user asks.
    const bool watchPrimary = preferences.flag("clipboard.watchPrimary");
    const auto x11Clipboard = vq::X11ClipboardWatcher::available()
                                  ? std::make_unique<vq::X11ClipboardWatcher>(clipboard, watchPrimary)
                                  : nullptr;
    std::unique_ptr<vq::WaylandClipboardWatcher> waylandClipboard;
    if (surface && !x11Clipboard && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        auto watcher = vq::WaylandClipboardWatcher::connect(clipboard, watchPrimary);
        if (watcher)
            waylandClipboard = std::move(*watcher);
        else
            printError("vantaquill: the clipboard is not watched: " + watcher.error());
    }
    preferences.onChange([&] {
        const bool watch = preferences.flag("clipboard.watchPrimary");
        if (x11Clipboard)
            x11Clipboard->setWatchPrimary(watch);
        if (waylandClipboard)
            waylandClipboard->setWatchPrimary(watch);
    });
    if (panel) {
        vq::ClipboardWriter writeClipboard = vq::QtClipboard::write;
        if (waylandClipboard)
            writeClipboard = [&waylandClipboard](const vq::ClipFlavours& flavours) { waylandClipboard->write(flavours); };
        shelfSection = new vq::ShelfSection(shelf, scheduler, writeClipboard);
        // A layer-shell island starts drags out of the shelf itself; an X11 one leaves them to Qt.
        shelfSection->startNativeDrag = [&islands](const vq::ClipFlavours& flavours, std::function<void()> finished) {
            return islands && islands->startDrag(flavours, std::move(finished));
        };
        panel->panel().addSection(shelfSection);
        auto* clipboardSection = new vq::ClipboardSection(clipboard, center, writeClipboard);
        panel->panel().addSection(clipboardSection);
        clipboard.onChange = [clipboardSection] { clipboardSection->refresh(); };
        // On X11 the chosen clip is pasted where the user was: the island hands the keyboard back as it
        // closes, then Ctrl+V is typed there. Elsewhere it waits on the clipboard ("Copied").
        if (x11Clipboard && surface->kind == vq::IslandSurface::Kind::x11) {
            clipboardSection->onCopiedBack = [&preferences] {
                if (!preferences.flag("clipboard.pasteDirectly"))
                    return;
                QTimer::singleShot(pasteDelayMs, [] {
                    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
                    if (auto sent = vq::X11PasteKeystroke::send(x11 ? x11->connection() : nullptr); !sent)
                        printError("vantaquill: couldn't paste: " + sent.error());
                });
            };
        }
        // On a Wayland island the compositor's virtual keyboard types Ctrl+V (wlroots compositors);
        // where there is none (GNOME, KDE) the clip waits on the clipboard and a HUD says so.
        if (surface->kind == vq::IslandSurface::Kind::layerShell) {
            clipboardSection->onCopiedBack = [&preferences, &center, told = std::make_shared<bool>(false)] {
                if (!preferences.flag("clipboard.pasteDirectly"))
                    return;
                QTimer::singleShot(pasteDelayMs, [&center, told] {
                    if (auto sent = vq::WaylandPasteKeystroke::send(); !sent) {
                        // Said once: a compositor without a virtual keyboard stays without one.
                        if (!std::exchange(*told, true))
                            printError("vantaquill: couldn't paste: " + sent.error());
                        center.flash(brind::HUDEvent::make(brind::HUDEvent::Kind::custom, std::nullopt, true,
                                                           "doc.on.clipboard.fill", "Copied: paste with Ctrl+V",
                                                           std::nullopt));
                    }
                });
            };
        }
    }
    // The desktop's providers, each registered under its own source and started when switched on.
    // Read through the preferences store, which already holds the file and checks each value.
    const auto mediaSettings = [&preferences] {
        return vq::MediaSettings{
            .enabled = preferences.flag("media.enabled"),
            .lyrics = preferences.flag("media.lyrics"),
            .lyricsHost = vq::MediaSettings::lyricsHostOrDefault(preferences.text("media.lyricsHost"))};
    };
    center.registerProvider(std::make_unique<vq::MediaController>(scheduler, dataFolder, mediaSettings(), printError));
    auto& nowPlaying = *static_cast<vq::MediaController*>(center.provider(vq::MediaController::providerID));
    const auto followMedia = [&center, &nowPlaying, mediaSettings] {
        const auto settings = mediaSettings();
        nowPlaying.applySettings(settings);
        settings.enabled ? center.start(vq::MediaController::providerID) : center.stop(vq::MediaController::providerID);
    };
    followMedia();
    preferences.onChange(followMedia);
    // The weather: fetched for the chosen place (or the machine's location), kept on disk, shown by
    // the panel's card and the wings. It asks the network only once a place is set.
    const auto weatherSettings = [&preferences] {
        return vq::WeatherSettings{
            .unit = brind::widgetTemperatureUnitNamed(preferences.text("widgets.weather.unit"))
                        .value_or(brind::WidgetTemperatureUnit::celsius),
            .city = preferences.text("widgets.weather.city"),
            .useLocation = preferences.flag("widgets.weather.useLocation"),
            .forecastHost = preferences.text("widgets.weather.forecastHost"),
            .geocodingHost = preferences.text("widgets.weather.geocodingHost")};
    };
    center.registerProvider(std::make_unique<vq::WeatherProvider>(
        scheduler, vq::WeatherForecastFile::path(dataFolder), weatherSettings(), printError));
    auto& weather = *static_cast<vq::WeatherProvider*>(center.provider(vq::WeatherProvider::providerID));
    vq::WidgetsSection* widgetsSection = nullptr;
    if (panel) {
        widgetsSection = new vq::WidgetsSection({.scheduler = scheduler,
                                                 .preferences = preferences,
                                                 .pomodoro = pomodoro,
                                                 .stayAwake = stayAwake,
                                                 .stats = stats,
                                                 .media = &nowPlaying,
                                                 .forecastFile = vq::WeatherForecastFile::path(dataFolder),
                                                 .weather = &weather});
        panel->panel().addSection(widgetsSection);
        // The output's and each application's level, followed on the sound server while shown.
        panel->panel().addSection(new vq::SoundSection(onMainThread));
    }
    // The wings show widgets while no activity has them; the statistics sampler is shared with the
    // panel's card and runs while either shows it.
    // The centre and the weather outlive the wings (an activity ended while the program stops still
    // publishes), so they hold them weakly.
    const auto wingWidgets = std::make_shared<vq::WingWidgets>(vq::WingWidgets::Sources{
        .scheduler = scheduler,
        .center = center,
        .stats = stats,
        .stayAwake = stayAwake,
        .weather = &weather,
        .sysClass = options->sysClass,
        .diskFolder = brind::Paths::home()});
    auto& wings = *wingWidgets;
    const std::weak_ptr<vq::WingWidgets> wingsWhileAlive = wingWidgets;
    wings.onChange = [&islands, &wings, &display] {
        if (islands)
            islands->setIdleWings(wings.wings());
        display.line(wings.wings() ? "wings shown " + vq::HeadlessDisplay::field("leading", wings.leadingText()) + " " +
                                         vq::HeadlessDisplay::field("trailing", wings.trailingText())
                                   : "wings hidden");
    };
    center.onChange = [previous = std::move(center.onChange), wingsWhileAlive](vq::LiveActivityCenter::Change change) {
        if (const auto alive = wingsWhileAlive.lock(); alive && change == vq::LiveActivityCenter::Change::activities)
            alive->refresh();
        previous(change);
    };
    std::optional<double> weatherShownAt;
    std::string weatherError;
    weather.onChange = [&] {
        if (const auto& shown = weather.current();
            shown && std::exchange(weatherShownAt, shown->forecast.fetchedAt.secondsSince1970) !=
                         shown->forecast.fetchedAt.secondsSince1970)
            display.line("weather " + vq::HeadlessDisplay::field("place", shown->place) + " " +
                         vq::HeadlessDisplay::number("temperature", shown->forecast.temperature) + " " +
                         vq::HeadlessDisplay::field("unit", brind::name(shown->unit)) + " " +
                         vq::HeadlessDisplay::field("condition", brind::WidgetWeatherCode::label(shown->forecast.code)) +
                         " " + vq::HeadlessDisplay::field("from", weather.fromDisk() ? "disk" : "network"));
        if (std::exchange(weatherError, weather.error()) != weather.error() && !weather.error().empty())
            display.line("weather failed " + vq::HeadlessDisplay::field("message", weather.error()));
        if (widgetsSection)
            widgetsSection->refreshWeather();
        if (const auto alive = wingsWhileAlive.lock())
            alive->refresh();
    };
    // A chosen place is two keys; the provider has both already, so the half-written state between
    // them is not applied.
    bool storingChoice = false;
    weather.onChoose = [&preferences, &storingChoice](const brind::WidgetPlace& place) {
        storingChoice = true;
        preferences.set("widgets.weather.city", QString::fromStdString(brind::JSONText::compact(place.json())));
        preferences.set("widgets.weather.useLocation", false);
        storingChoice = false;
    };
    const auto followWidgets = [&] {
        if (!storingChoice)
            weather.applySettings(weatherSettings());
        wings.apply(preferences.flag("widgets.wings.enabled"),
                    vq::WingWidgets::layoutNamed(preferences.text("widgets.wings.leading"),
                                                 preferences.text("widgets.wings.trailing")));
    };
    center.start(vq::WeatherProvider::providerID);
    followWidgets();
    preferences.onChange(followWidgets);
    center.registerProvider(std::make_unique<vq::VolumeWatcher>(
        scheduler, onMainThread, printError, [&hud] { return hud->flashesChangeElsewhere(brind::HUDEvent::Kind::volume); }));
    // The watcher keeps a connection to the sound server only while the volume HUD is on.
    const auto followVolume = [&center, &preferences] {
        if (preferences.flag("hud.enabled") && preferences.flag("hud.volume"))
            center.start(vq::VolumeWatcher::providerID);
        else
            center.stop(vq::VolumeWatcher::providerID);
    };
    followVolume();
    preferences.onChange(followVolume);
    // The session's lock: the lock opens in the island on unlock (what each desktop's locker lets
    // be drawn is in docs/SYSTEM.md).
    auto lockWatcher = std::make_unique<vq::LockWatcher>(scheduler, printError, [&preferences] {
        return brind::LockTiming::forReduceMotion(preferences.text("island.reduceMotion") == "on");
    });
    lockWatcher->onPhase = [&display](brind::LockPhase phase) {
        display.line("lock phase=" + std::string(brind::name(phase)));
    };
    center.registerProvider(std::move(lockWatcher));
    const auto followLock = [&center, &preferences] {
        if (preferences.flag("activities.lockScreen"))
            center.start(vq::LockWatcher::providerID);
        else
            center.stop(vq::LockWatcher::providerID);
    };
    followLock();
    preferences.onChange(followLock);

    // Network and battery peeks: each its own source, started while its preferences want it. The
    // network's kinds and names are read at every change, so only all kinds off stops it.
    center.registerProvider(std::make_unique<vq::NetworkProvider>(
        scheduler, [&preferences](std::string_view key) { return std::optional(preferences.flag(key)); }, printError));
    center.registerProvider(std::make_unique<vq::BatteryProvider>(scheduler, options->sysClass, printError));
    const auto followPeeks = [&center, &preferences] {
        const bool network = std::ranges::any_of(brind::NetworkPeek::allKinds, [&preferences](brind::NetworkPeek::Kind kind) {
            return preferences.flag("activities.network." + std::string(brind::name(kind)));
        });
        const auto follow = [&center](std::string_view id, bool on) { on ? center.start(id) : center.stop(id); };
        follow(vq::NetworkProvider::providerID, network);
        follow(vq::BatteryProvider::providerID, preferences.flag("activities.battery"));
    };
    followPeeks();
    preferences.onChange(followPeeks);
    // Downloads, the camera and microphone in use, and Bluetooth devices: one source each, each
    // following its own switch while the island runs. A finished download goes on the shelf from its
    // activity, as a drop on the island does.
    center.registerProvider(std::make_unique<vq::DownloadsProvider>(
        scheduler, vq::DownloadsProvider::downloadFolder(), printError, [&shelf, &scheduler, &display](const std::string& path) {
            for (const auto& entry : shelf.addFiles({path}, scheduler.now()))
                display.line("shelf added " + vq::HeadlessDisplay::field("path", entry.path.value_or("")) + " " +
                             vq::HeadlessDisplay::field("title", entry.title));
            if (!shelf.lastError().empty())
                printError("vantaquill: couldn't write " + shelf.lastError());
        }));
    center.registerProvider(std::make_unique<vq::MicCameraProvider>(scheduler, onMainThread, printError));
    center.registerProvider(std::make_unique<vq::BluetoothProvider>(scheduler, printError));
    const auto followDeviceProviders = [&center, &preferences] {
        for (const auto& [key, id] : {std::pair{"activities.downloads", vq::DownloadsProvider::providerID},
                                      std::pair{"activities.micCamera", vq::MicCameraProvider::providerID},
                                      std::pair{"activities.bluetooth", vq::BluetoothProvider::providerID}}) {
            if (preferences.flag(key))
                center.start(id);
            else
                center.stop(id);
        }
    };
    followDeviceProviders();
    preferences.onChange(followDeviceProviders);
    // Focus: the desktop's do-not-disturb and the status menu's pause let only important and critical
    // activities pop the island open. The desktop's notifications are mirrored when the user asks,
    // and the island hides while the screen is shared when "island.hideWhenSharing" is on.
    bool desktopDoNotDisturb = false;
    const auto applyFocus = [&] {
        const brind::ActivityInterruption::Focus focus{.desktopDoNotDisturb = desktopDoNotDisturb,
                                                       .paused = preferences.flag("activities.paused")};
        if (focus == center.focus())
            return;
        center.setFocus(focus);
        display.line(std::string("focus ") + (focus.focused() ? "on" : "off") +
                     " desktopDoNotDisturb=" + (focus.desktopDoNotDisturb ? "true" : "false") +
                     " paused=" + (focus.paused ? "true" : "false"));
    };
    center.registerProvider(std::make_unique<vq::FocusWatcher>(
        [&](bool doNotDisturb) {
            desktopDoNotDisturb = doNotDisturb;
            applyFocus();
        },
        printError));
    center.registerProvider(std::make_unique<vq::NotificationMirror>(onMainThread, printError));
    center.registerProvider(std::make_unique<vq::ScreenShareWatcher>(
        scheduler, onMainThread, printError, [&](bool shared) {
            screenShared = shared;
            display.line(std::string("screen shared=") + (shared ? "true" : "false"));
            if (islands)
                islands->setScreenShared(shared);
            showState();
        }));
    const auto followFocusAndSharing = [&center, &preferences, &applyFocus] {
        const auto follow = [&center](std::string_view id, bool on) { on ? center.start(id) : center.stop(id); };
        follow(vq::FocusWatcher::providerID, preferences.flag("activities.focus.followDesktop"));
        follow(vq::NotificationMirror::providerID, preferences.flag("activities.notifications.mirror"));
        follow(vq::ScreenShareWatcher::providerID, preferences.flag("island.hideWhenSharing"));
        applyFocus();
    };
    followFocusAndSharing();
    preferences.onChange(followFocusAndSharing);

    // The URL the island was started with, once every view it may name exists.
    if (!options->url.isEmpty())
        openURL(options->url);

    vq::HeadlessConsole console(center, agents, scheduler, display);
    vq::StandardInputReader input([&console](const std::string& line) { console.handle(line); });
    const int code = QCoreApplication::exec();
    // Held hook calls hear "ask" (the agent asks in its terminal) rather than a dropped connection.
    agents.broker().answerAllAsk(scheduler.now());
    // Registrations still waiting hear "denied" while the server can still answer them.
    if (consents)
        consents->denyAll();
    agents.onChange = nullptr;
    server.stop();
    standardOutput().onWaiting = nullptr;
    return code;
}
