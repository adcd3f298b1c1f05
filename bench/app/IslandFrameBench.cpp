// The time from posting an activity to the first frame of the island's X11 window that shows it:
// the centre publishes, the controller lays out and asks for a frame, the window paints. Needs an X
// display (run it under Xvfb: `xvfb-run -a build/default/bin/IslandFrameBench`). The SDK's share of
// a POST is measured by SDKBridgeRoundTripBench.

#include "BrindKit/island/IslandLayout.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/island/IslandController.hpp"
#include "vantaquill/island/IslandPlacement.hpp"
#include "vantaquill/island/X11IslandSurface.hpp"
#include "vantaquill/island/faces/FaceFonts.hpp"
#include "vantaquill/qt/QtScheduler.hpp"

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>

#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace {

void BM_PostToFirstFrame(benchmark::State& state) {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        state.SkipWithError("needs an X display (DISPLAY); run under Xvfb");
        return;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    int argc = 1;
    char name[] = "IslandFrameBench";
    char* argv[] = {name, nullptr};
    QApplication app(argc, argv);
    vq::QtScheduler scheduler;
    vq::LiveActivityCenter center(scheduler);
    vq::X11IslandSurface surface;
    vq::IslandController controller(center, scheduler, surface,
                                    [](std::string_view text, double size) { return vq::FaceFonts::semiboldWidth(text, size); },
                                    {});
    center.onChange = [&controller](vq::LiveActivityCenter::Change) { controller.refresh(); };
    QScreen* screen = QGuiApplication::primaryScreen();
    const vq::IslandPlacement::Screen described{screen->geometry(), screen->availableGeometry(), std::nullopt};
    const auto input = vq::IslandPlacement::input(described, {});
    const QRect frame = vq::IslandPlacement::windowFrame(described, input);
    controller.setLayout(input, QSizeF(frame.size()));
    surface.place(screen, frame);
    surface.setVisible(true);

    std::string wanted;
    bool shown = false;
    const auto paint = surface.paint;
    surface.paint = [&](QPainter& painter) {
        paint(painter);
        if (controller.scene().top && controller.scene().top->title == wanted)
            shown = true;
    };
    int serial = 0;
    for (auto _ : state) {
        wanted = "Download " + std::to_string(++serial);
        shown = false;
        const auto started = std::chrono::steady_clock::now();
        center.post(brind::LiveActivity::make("download", "bench", brind::ActivityPriority::normal,
                                              brind::ActivityGlyph::symbol("arrow.down.circle"),
                                              brind::ActivityGlyph::ring(0.5), wanted, std::nullopt, std::nullopt,
                                              std::nullopt, std::nullopt, {}, false, std::nullopt, true, {}));
        while (!shown)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
        // Let the animation come to rest, and stay at rest a moment, so that every post meets an
        // island at rest (a post during an animation waits for the animation's next frame).
        QElapsedTimer rest;
        rest.start();
        while ((controller.isAnimating() || rest.elapsed() < 200) && rest.elapsed() < 2000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
}
BENCHMARK(BM_PostToFirstFrame)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(30);

} // namespace

BENCHMARK_MAIN();
