// CPU time to paint one frame of each island face (the black outline, then the face) at scale 1
// and 2. The first frame of a face looks its icons up and rasterises them; these figures are the
// frames after it, which is what an animation or a HUD flash repeats.

#include "tests/faces/FaceScenes.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"


#include <benchmark/benchmark.h>

using namespace vq;
using namespace vq::facetest;
using brind::ActivityGlyph;
using brind::IslandState;

namespace {

/// Every benchmarked activity carries a subtitle, so the expanded face paints its second line.
brind::LiveActivity benchActivity(ActivityGlyph leading, ActivityGlyph trailing, std::string title) {
    brind::LiveActivity result = activity(std::move(leading), std::move(trailing), std::move(title));
    result.id = "bench.activity";
    result.subtitle = "step 3 of 7";
    return result;
}

IslandScene face(int which) {
    IslandScene scene;
    switch (which) {
    case 0:
        scene.top = benchActivity(ActivityGlyph::symbol("timer"), ActivityGlyph::text("12:41"), "Focus");
        return settledScene(IslandState::compact, housingInput(), scene);
    case 1:
        scene.top = benchActivity(ActivityGlyph::spinner(), ActivityGlyph::ring(0.42), "Building");
        return settledScene(IslandState::compact, housingInput(), scene);
    case 2:
        scene.top =
            benchActivity(ActivityGlyph::image(encodedImage({300, 300}, QColor(200, 120, 40), "JPEG")),
                          ActivityGlyph::visualiser(), "Now playing");
        return settledScene(IslandState::compact, floatingInput(), scene);
    case 3:
        scene.alert = benchActivity(ActivityGlyph::symbol("terminal"), ActivityGlyph::text("2m 40s"),
                                    "An agent asks to run a command");
        scene.alert->priority = brind::ActivityPriority::critical;
        scene.alert->actions = {{"deny", "Deny", brind::ActivityAction::Role::destructive, std::nullopt},
                                {"allow", "Allow", brind::ActivityAction::Role::primary, "checkmark"}};
        return settledScene(IslandState::peek, housingInput(), scene);
    case 4:
        scene.hud = brind::HUDEvent::make(brind::HUDEvent::Kind::volume, 0.56, false, std::nullopt,
                                          "Speakers", std::nullopt);
        return settledScene(IslandState::peek, housingInput(), scene);
    default:
        scene.top =
            benchActivity(ActivityGlyph::symbol("timer"), ActivityGlyph::text("12:41"), "Pomodoro focus");
        return settledScene(IslandState::expanded, housingInput(), scene);
    }
}

void paintFrame(benchmark::State& state) {
    const IslandScene base = face(static_cast<int>(state.range(0)));
    const double scale = static_cast<double>(state.range(1));
    QImage image((surfaceSize * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    const QPainterPath outline = vq::IslandView::outlinePath(base);
    IslandScene scene = base;
    for (auto _ : state) {
        scene.time += 1.0 / 60;
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(outline, Qt::black);
        IslandFaces::paint(painter, scene);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
}

/// A symbol not drawn before: a new colour makes the cache miss, so the icon is looked up in the
/// theme and rasterised again. This is what the first frame of a face adds per symbol.
void paintNewSymbol(benchmark::State& state) {
    QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    int hue = 0;
    for (auto _ : state) {
        QPainter painter(&image);
        const QColor colour((hue >> 8) & 0xFF, hue & 0xFF, 200);
        ++hue;
        SymbolIcons::paint(painter, "speaker.wave.2.fill", QRectF(8, 8, 22, 22), colour);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
}

} // namespace

BENCHMARK(paintNewSymbol)->Unit(benchmark::kMicrosecond);
BENCHMARK(paintFrame)
    ->ArgNames({"face", "scale"})
    ->ArgsProduct({{0, 1, 2, 3, 4, 5}, {1, 2}})
    ->Unit(benchmark::kMicrosecond);

