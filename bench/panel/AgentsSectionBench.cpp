// The time from a held hook call's arrival in the approval broker to its request card in the
// panel's Agents section, laid out and ready to paint: the broker reports the change, the hub
// posts the waiting activity and tells the section, which builds the card. Runs on Qt's
// offscreen platform; the SDK's share of a hook call is measured by AgentHookTransportBench.

#include "BrindKit/foundation/JSON.hpp"
#include "vantaquill/AgentHub.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/agents/AgentsSection.hpp"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <asio.hpp>

#include <chrono>
#include <filesystem>
#include <unistd.h>
#include <string>

namespace {

void BM_HeldCallToVisibleRequest(benchmark::State& state) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 1;
    char name[] = "AgentsSectionBench";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    const auto folder = std::filesystem::temp_directory_path() / ("vq-agents-bench-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    vq::ManualScheduler scheduler;
    vq::HeadlessDisplay display([](const std::string&) {}, [](const std::string&) {});
    vq::LiveActivityCenter center(scheduler);
    vq::AgentHub hub(scheduler, folder, display, center, [](std::function<void()> work) { work(); }, 3600);
    vq::AgentsSection section(hub, scheduler);
    hub.onChange = [&section] { section.refresh(); };
    section.setPalette(vq::PanelStyle::palette());
    section.setStyleSheet(vq::PanelStyle::styleSheet());
    section.resize(640, 320);
    section.show();
    QImage frame(section.size(), QImage::Format_ARGB32_Premultiplied);

    brind::AgentHookEvent event;
    event.agent = brind::AgentKind::claudeCode;
    event.kind = brind::AgentEventKind::permissionRequest;
    event.rawName = "PermissionRequest";
    event.sessionID = "bench";
    event.cwd = "/home/ada/src/lighthouse";
    event.toolName = "Bash";
    event.toolSummary = "npm test";
    event.toolInputJSON = brind::JSON{{"command", "npm test"}}.dump();

    asio::io_context io;
    int serial = 0;
    for (auto _ : state) {
        const std::string id = "r" + std::to_string(++serial);
        const auto start = std::chrono::steady_clock::now();
        asio::co_spawn(io, hub.broker().request(event, 600, id, scheduler.now()), asio::detached);
        io.poll();
        io.restart();
        QCoreApplication::processEvents();
        QPainter painter(&frame);
        section.render(&painter);
        painter.end();
        const auto visible = std::chrono::steady_clock::now();
        if (section.shownRequest() != id) {
            state.SkipWithError("the request did not show");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(visible - start).count());
        hub.broker().answer(id, brind::AgentDecision::allow(), scheduler.now());
        io.poll();
        io.restart();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(BM_HeldCallToVisibleRequest)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
