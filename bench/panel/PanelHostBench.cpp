// The open panel at rest and in one frame: how many frames it asks for per second while nothing
// changes (the goal is none), and what painting the whole panel into the island costs.

#include "vantaquill/panel/PanelHost.hpp"

#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/panel/activities/ActivitiesSection.hpp"
#include "vantaquill/panel/clipboard/ClipboardSection.hpp"
#include "vantaquill/qt/QtScheduler.hpp"

#include <QEventLoop>
#include <QImage>
#include <QPainter>
#include <QTimer>

#include <benchmark/benchmark.h>

namespace {

struct Fixture {
    brindtest::TemporaryFolder folder{"vantaquill-panel-bench"};
    vq::QtScheduler scheduler;
    vq::LiveActivityCenter center{scheduler};
    vq::ConsentQueue consents{scheduler, [] { return 60.0; }};
    vq::ClipboardStore clipboard{brind::ClipArchive{folder.path() / "Clipboard"}, scheduler, brind::ClipSettings{}};
    vq::PanelHost host;

    Fixture() {
        for (int i = 0; i < 3; ++i) {
            brind::LiveActivity activity;
            activity.id = "bench" + std::to_string(i);
            activity.title = "Uploading holiday photos " + std::to_string(i);
            activity.subtitle = "312 MB of 780 MB";
            activity.progress = 0.4;
            center.post(activity);
        }
        for (int i = 0; i < 50; ++i) {
            brind::ClipSnapshot snapshot;
            snapshot.types = snapshot.allTypes = {"public.utf8-plain-text"};
            snapshot.string = "Copied line " + std::to_string(i);
            clipboard.capture(snapshot);
        }
        auto* activities = new vq::ActivitiesSection(center, consents);
        host.panel().addSection(activities);
        host.panel().addSection(new vq::ClipboardSection(clipboard, center));
        activities->refresh();
        host.resize({592, 300});
        host.opening();
    }
};

// The panel open on its first section, with nothing changing, for two seconds of the event loop.
void BM_StillPanelFramesPerSecond(benchmark::State& state) {
    Fixture fixture;
    int repaints = 0;
    fixture.host.onRepaint = [&] { ++repaints; };
    for (auto _ : state) {
        QEventLoop settle;
        QTimer::singleShot(500, &settle, &QEventLoop::quit);
        settle.exec();
        repaints = 0;
        QEventLoop still;
        QTimer::singleShot(2000, &still, &QEventLoop::quit);
        still.exec();
    }
    state.counters["frames_per_s"] = repaints / 2.0;
}
BENCHMARK(BM_StillPanelFramesPerSecond)->Iterations(1)->Unit(benchmark::kMillisecond);

void panelFrames(benchmark::State& state, double scale) {
    Fixture fixture;
    QImage frame(QSize(640, 360) * scale, QImage::Format_ARGB32_Premultiplied);
    frame.setDevicePixelRatio(scale);
    for (auto _ : state) {
        frame.fill(Qt::black);
        QPainter painter(&frame);
        fixture.host.paint(painter, {24, 46}, 1);
    }
}

void BM_PanelFrameScale1(benchmark::State& state) {
    panelFrames(state, 1);
}
BENCHMARK(BM_PanelFrameScale1)->Unit(benchmark::kMillisecond);

void BM_PanelFrameScale2(benchmark::State& state) {
    panelFrames(state, 2);
}
BENCHMARK(BM_PanelFrameScale2)->Unit(benchmark::kMillisecond);

} // namespace

