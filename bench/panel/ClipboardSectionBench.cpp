// One frame of the panel's clipboard list while it scrolls through 500 items, rendered into an image
// as the panel renders its sections; and one keystroke of a search over the same history.

#include "vantaquill/panel/clipboard/ClipboardSection.hpp"

#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/panel/PanelStyle.hpp"

#include <QImage>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QScrollBar>

#include <benchmark/benchmark.h>

namespace {

constexpr int itemCount = 500;

struct Fixture {
    brindtest::TemporaryFolder folder{"vantaquill-clipboard-section-bench"};
    vq::ManualScheduler scheduler;
    vq::LiveActivityCenter center{scheduler};
    vq::ClipboardStore store;
    vq::ClipboardSection section;

    Fixture() : store(brind::ClipArchive{folder.path() / "Clipboard"}, scheduler, settings()), section(store, center) {
        for (int i = 0; i < itemCount; ++i) {
            brind::ClipSnapshot snapshot;
            snapshot.types = snapshot.allTypes = {"public.utf8-plain-text"};
            snapshot.string = i % 7 == 0 ? "#" + std::to_string(100000 + i)
                                         : "Item " + std::to_string(i) + ": the quick brown fox jumps over the lazy dog, "
                                                                         "a line longer than the panel is wide";
            snapshot.sourceAppName = i % 3 == 0 ? std::optional<std::string>("Text Editor") : std::nullopt;
            store.capture(snapshot);
        }
        for (int i = 0; i < 20; ++i)
            store.setPinned(store.history().items()[static_cast<std::size_t>(i * 20)].id, true);
        section.refresh();
        section.setPalette(vq::PanelStyle::palette());
        section.setStyleSheet(vq::PanelStyle::styleSheet());
        section.resize(640, 330);
        section.show();
    }

    static brind::ClipSettings settings() {
        brind::ClipSettings result;
        result.maxItems = itemCount;
        return result;
    }
};

void scrollFrames(benchmark::State& state, double scale) {
    Fixture fixture;
    QImage frame(fixture.section.size() * scale, QImage::Format_ARGB32_Premultiplied);
    frame.setDevicePixelRatio(scale);
    QScrollBar* scroll = fixture.section.list()->verticalScrollBar();
    for (auto _ : state) {
        // Half a row per frame, back to the top at the end.
        scroll->setValue(scroll->value() >= scroll->maximum() ? 0 : scroll->value() + 17);
        frame.fill(Qt::black);
        QPainter painter(&frame);
        fixture.section.render(&painter);
    }
    state.counters["items"] = static_cast<double>(fixture.section.list()->model()->rowCount());
}

void BM_ScrollFrameScale1(benchmark::State& state) {
    scrollFrames(state, 1);
}
BENCHMARK(BM_ScrollFrameScale1)->Unit(benchmark::kMillisecond);

void BM_ScrollFrameScale2(benchmark::State& state) {
    scrollFrames(state, 2);
}
BENCHMARK(BM_ScrollFrameScale2)->Unit(benchmark::kMillisecond);

// Typing one more letter: search the history, rebuild the rows and lay the list out again.
void BM_SearchKeystroke(benchmark::State& state) {
    Fixture fixture;
    bool longer = false;
    for (auto _ : state) {
        fixture.section.searchField()->setText(longer ? "quick fo" : "quick f");
        longer = !longer;
    }
    state.counters["matches"] = static_cast<double>(fixture.section.list()->model()->rowCount());
}
BENCHMARK(BM_SearchKeystroke)->Unit(benchmark::kMillisecond);

} // namespace

