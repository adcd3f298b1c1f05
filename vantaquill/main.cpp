#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/island/IslandStateResolver.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKBridge.hpp"
#include "BrindKit/sdk/SDKHTTPServer.hpp"
#include "vantaquill/AgentHub.hpp"
#include "vantaquill/ClientStore.hpp"
#include "vantaquill/HeadlessConsole.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/SDKService.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/TokenFiles.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/qt/QtScheduler.hpp"
#include "vantaquill/qt/SignalWatcher.hpp"
#include "vantaquill/qt/StandardInputReader.hpp"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <clocale>
#include <cstdio>
#include <iostream>

namespace {

constexpr int exitStartFailure = 1;

struct Options {
    std::uint16_t port = brind::SDKBridge::defaultPort;
};

bool displayReachable() {
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || !qEnvironmentVariableIsEmpty("DISPLAY");
}

std::optional<Options> parseOptions(const QCoreApplication& app) {
    QCommandLineParser parser;
    parser.setApplicationDescription("vantaquill: the island at the top of the screen, and its local SDK.");
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption headless("headless", "Run without a window; the island is shown as text on stdout.");
    const QCommandLineOption port("port", "Port of the local SDK on 127.0.0.1 (default 47829; 0 picks a free one).",
                                  "N", QString::number(brind::SDKBridge::defaultPort));
    parser.addOption(headless);
    parser.addOption(port);
    parser.process(app);

    bool ok = false;
    const uint value = parser.value(port).toUInt(&ok);
    if (!ok || value > 65535) {
        std::cerr << "vantaquill: --port takes a number from 0 to 65535\n";
        return std::nullopt;
    }
    Options options;
    options.port = static_cast<std::uint16_t>(value);
    if (!parser.isSet(headless) && displayReachable())
        std::cerr << "vantaquill: the island window is not part of this build yet; running headless\n";
    return options;
}

// Posts a function to the main thread's event loop.
void onMainThread(std::function<void()> function) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
}

void printLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void printError(const std::string& line) {
    std::cerr << line << std::endl;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // Qt adopts the user's locale for the C library, and in many locales that formats and reads
    // numbers with a decimal comma; every number this program writes or reads (JSON, URLs, the SDK)
    // uses a point.
    std::setlocale(LC_NUMERIC, "C");
    QCoreApplication::setApplicationName("vantaquill");
    QCoreApplication::setApplicationVersion("1.0");
    const auto options = parseOptions(app);
    if (!options)
        return exitStartFailure;

    const auto dataFolder = brind::Paths::dataFolder();
    if (auto made = brind::AtomicFile::ensureFolder(dataFolder); !made) {
        printError("vantaquill: " + made.error());
        return exitStartFailure;
    }
    vq::SignalWatcher signalWatcher([] { QCoreApplication::quit(); });
    vq::Preferences preferences(brind::Paths::configFolder() / "vantaquill.conf");
    vq::QtScheduler scheduler;
    vq::HeadlessDisplay display(printLine, printError);

    vq::LiveActivityCenter center(scheduler);
    center.onChange = [&](vq::LiveActivityCenter::Change change) {
        switch (change) {
        case vq::LiveActivityCenter::Change::activities:
            display.activitiesChanged(center.activities());
            break;
        case vq::LiveActivityCenter::Change::hud:
            display.hudChanged(center.hud());
            break;
        case vq::LiveActivityCenter::Change::alerting:
            display.alertChanged(center.alerting());
            break;
        }
        display.stateChanged(brind::IslandStateResolver::resolve(
            {.userOpened = false,
             .peeking = center.hud().has_value() || center.alerting().has_value(),
             .hasActivity = !center.activities().empty(),
             .hidden = false}));
    };

    // Clients: the authoriser starts from the stored list and writes every change back.
    vq::ClientStore clients(dataFolder);
    brind::SDKAuthorizer auth(clients.load());
    auth.setOnChange([&clients](const std::vector<brind::SDKClient>& all) {
        if (auto saved = clients.save(all); !saved)
            printError("vantaquill: couldn't write " + saved.error());
    });
    const auto hookToken = vq::TokenFiles::loadOrCreateHookToken(dataFolder);
    if (!hookToken)
        printError("vantaquill: " + hookToken.error());
    const std::string cliToken = auth.issue("cli", "vantaquill CLI",
                                            {brind::SDKScopes::all.begin(), brind::SDKScopes::all.end()},
                                            scheduler.now());
    if (auto written = vq::TokenFiles::writeCLIToken(brind::Paths::cliTokenFile(), cliToken); !written)
        printError("vantaquill: couldn't write cli-token: " + written.error());

    vq::ShelfStore shelf(dataFolder);
    vq::AgentHub agents(scheduler, dataFolder, display, onMainThread, preferences.agentPruneInterval());

    brind::SDKBridge bridge(auth, agents.broker(), hookToken.value_or(""), options->port);
    bridge.setConfig(preferences.bridgeConfig());
    auto service = std::make_shared<vq::SDKService>(onMainThread, center, shelf, scheduler, display,
                                                    [&agents](const brind::AgentHookEvent& event) { agents.apply(event); });
    bridge.setDelegate(service);
    center.handleActions("sdk.", [&bridge](const std::string& activityID, const std::string& actionID) {
        bridge.publishAction(activityID, actionID);
    });

    brind::SDKHTTPServer server([&bridge](brind::SDKHTTPRequest request, std::shared_ptr<brind::SDKConnection> connection) {
        return bridge.handle(std::move(request), std::move(connection));
    });
    if (auto started = server.start(options->port); !started) {
        printError("vantaquill: Couldn't start: " + started.error().message());
        return exitStartFailure;
    }
    bridge.setPort(server.port());
    printLine("Listening on 127.0.0.1:" + std::to_string(server.port()));

    vq::HeadlessConsole console(center, agents.broker(), scheduler, display);
    vq::StandardInputReader input([&console](const std::string& line) { console.handle(line); });
    const int code = QCoreApplication::exec();
    // Held hook calls hear "ask" (the agent asks in its terminal) rather than a dropped connection.
    agents.broker().answerAllAsk(scheduler.now());
    server.stop();
    std::fflush(stdout);
    return code;
}
