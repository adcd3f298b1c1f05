// The Sound section against a real PulseAudio (a null sink and one application's stream, as the
// tests start them): a level set from the section's slider, until the section has heard it back
// from the server (write, the server's event, the whole state read again, posted to the main thread);
// and one refresh of the section with many streams.

#include "vantaquill/panel/sound/SoundSection.hpp"

#include "tests/providers/SoundServer.hpp"
#include "vantaquill/panel/sound/SoundRow.hpp"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSlider>

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

namespace {

void onMainThread(std::function<void()> function) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(function), Qt::QueuedConnection);
}

struct Fixture {
    explicit Fixture(int streams) {
        if (!server.waitUntilReady())
            return;
        for (int i = 0; i < streams; ++i)
            players.push_back(std::make_unique<vq::BackgroundProgram>(
                "/usr/bin/pacat",
                std::vector<std::string>{"--playback", "--property=application.name=Player " + std::to_string(i),
                                         "/dev/zero"},
                std::vector<std::string>{"HOME=" + home.path().string(), "XDG_RUNTIME_DIR=" + home.path().string()}));
        section.resize(640, 330);
        section.show();
        QElapsedTimer waited;
        waited.start();
        while (static_cast<int>(section.mixer().state().streams.size()) < streams && waited.elapsed() < 20000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }

    bool ready() { return !section.mixer().state().streams.empty(); }

    vq::e2e::TemporaryHome home;
    vq::SoundServer server{home};
    vq::SessionOf session{{{"HOME", home.path().string()}, {"XDG_RUNTIME_DIR", home.path().string()}}};
    std::vector<std::unique_ptr<vq::BackgroundProgram>> players;
    vq::SoundSection section{onMainThread};
};

void BM_LevelHeardBack(benchmark::State& state) {
    Fixture fixture(1);
    if (!fixture.ready()) {
        state.SkipWithError("PulseAudio or pacat did not start");
        return;
    }
    QSlider* slider = fixture.section.streamRows().front()->slider();
    int value = 30;
    for (auto _ : state) {
        value = value == 30 ? 60 : 30;
        slider->setValue(value);
        const auto& streams = fixture.section.mixer().state().streams;
        while (streams.empty() || std::lround(streams.front().level * 100) != value)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
}
BENCHMARK(BM_LevelHeardBack)->Unit(benchmark::kMillisecond);

void BM_RefreshWithStreams(benchmark::State& state) {
    Fixture fixture(static_cast<int>(state.range(0)));
    if (static_cast<int>(fixture.section.mixer().state().streams.size()) < state.range(0)) {
        state.SkipWithError("not every stream appeared");
        return;
    }
    for (auto _ : state)
        fixture.section.refresh();
}
BENCHMARK(BM_RefreshWithStreams)->Arg(1)->Arg(12)->Unit(benchmark::kMicrosecond);

} // namespace
