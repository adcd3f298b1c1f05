#include "BrindKit/island/HUDSteps.hpp"
#include "tests/faces/FaceScenes.hpp"
#include "vantaquill/island/IslandFaces.hpp"
#include "vantaquill/island/faces/FaceLayout.hpp"

#include <gtest/gtest.h>

using namespace vq;
using namespace vq::facetest;
using brind::ActivityGlyph;
using brind::IslandState;

namespace {

IslandScene compactWith(const brind::LiveActivity& top, const brind::IslandLayout::Input& input) {
    IslandScene scene;
    scene.top = top;
    return settledScene(IslandState::compact, input, scene);
}

brind::LiveActivity criticalAlert() {
    brind::LiveActivity alert =
        activity(ActivityGlyph::symbol("terminal"), ActivityGlyph::none(), "Claude wants to run a command");
    alert.priority = brind::ActivityPriority::critical;
    alert.subtitle = "rm -rf build";
    alert.actions = {{"deny", "Deny", brind::ActivityAction::Role::destructive, std::nullopt},
                     {"always", "Always allow", brind::ActivityAction::Role::normal, std::nullopt},
                     {"allow", "Allow", brind::ActivityAction::Role::primary, "checkmark"}};
    return alert;
}

} // namespace

// Beside a housing and floating, at both scales: nothing is painted outside the outline, the housing
// stays black, and a glyph leading a compact island (the trailing slot empty) lights its wing only.
TEST(IslandFaces, EveryFaceAndGlyphPaintsInsideTheOutline) {
    const std::pair<const char*, ActivityGlyph> glyphs[] = {
        {"symbol", ActivityGlyph::symbol("speaker.wave.2.fill")},
        {"unknownSymbol", ActivityGlyph::symbol("no.such.symbol")},
        {"image", ActivityGlyph::image(encodedImage({40, 20}, QColor(230, 40, 40), "PNG"))},
        {"undecodableImage", ActivityGlyph::image("not an image")},
        {"missingApp", ActivityGlyph::appIcon("org.example.NotInstalled")},
        {"ring", ActivityGlyph::ring(0.4, brind::RGBA{0.2, 0.8, 0.3, 1})},
        {"text", ActivityGlyph::text("4:05")},
        // Elided to the widest a text wing gets, nothing of it beyond.
        {"longText", ActivityGlyph::text("Downloading holiday-photos-2026-final.zip")},
        {"visualiser", ActivityGlyph::visualiser()},
        {"spinner", ActivityGlyph::spinner()},
        {"dot", ActivityGlyph::dot(brind::RGBA{1, 0.6, 0, 1})},
    };
    brind::LiveActivity longAlert = criticalAlert();
    longAlert.title = "An agent in ~/src/vantaquill asks to run a rather long command line now";
    longAlert.trailing = ActivityGlyph::text("2m 40s");
    brind::LiveActivity plainAlert = activity(
        ActivityGlyph::symbol("wifi"), ActivityGlyph::dot(brind::RGBA{0, 1, 0, 1}), "Joined Home Network");
    plainAlert.subtitle = "Wi-Fi";
    for (const auto& input : {housingInput(), floatingInput()}) {
        std::vector<std::tuple<std::string, IslandScene, bool>> scenes; // name, scene, a glyph's wing
        for (const auto& [name, glyph] : glyphs)
            scenes.emplace_back(name, compactWith(activity(glyph, ActivityGlyph::none()), input), true);
        IslandScene scene;
        scene.alert = longAlert;
        scenes.emplace_back("peek-alert-critical", settledScene(IslandState::peek, input, scene), false);
        scene.alert = plainAlert;
        scenes.emplace_back("peek-alert", settledScene(IslandState::peek, input, scene), false);
        scene = {};
        scene.hud = brind::HUDEvent::make(brind::HUDEvent::Kind::volume, 0.5, false, std::nullopt,
                                          "Built-in Speakers with a very long device name", std::nullopt);
        scenes.emplace_back("peek-hud", settledScene(IslandState::peek, input, scene), false);
        scene = {};
        scene.top =
            activity(ActivityGlyph::symbol("timer"), ActivityGlyph::text("12:41"), "Pomodoro focus session");
        scenes.emplace_back("expanded", settledScene(IslandState::expanded, input, scene), false);
        scene.badge = 3;
        scenes.emplace_back("compact-badge", settledScene(IslandState::compact, input, scene), false);
        scenes.emplace_back("closed-badge", settledScene(IslandState::closed, input, scene), false);
        for (const auto& [name, face, glyphWing] : scenes) {
            const QRectF wing = FaceLayout::wings(face).leading;
            for (const double scale : {1.0, 2.0}) {
                SCOPED_TRACE(name + (input.floating ? " floating @" : " @") + std::to_string(scale));
                const QImage image = render(face, scale);
                EXPECT_EQ(paintedOutside(image, face), 0);
                if (glyphWing) {
                    EXPECT_GT(litPixels(image, wing), 10 * scale * scale);
                    EXPECT_EQ(litPixels(image, face.outline) - litPixels(image, wing), 0);
                } else {
                    EXPECT_GT(litPixels(image, face.outline), 20);
                    if (!input.floating) {
                        EXPECT_EQ(litPixels(image, FaceLayout::housing(face)), 0);
                    }
                }
            }
        }
    }
}

TEST(IslandFaces, ActionAtHitsEachDrawnButtonAndMissesBetweenThem) {
    for (const auto& input : {housingInput(), floatingInput()}) {
        IslandScene scene;
        scene.alert = criticalAlert();
        scene = settledScene(IslandState::peek, input, scene);
        const QImage image = render(scene, 1);
        const std::vector<QRectF> buttons = FaceLayout::alert(scene, *scene.alert).buttons;
        ASSERT_EQ(buttons.size(), 3u);
        for (std::size_t index = 0; index < buttons.size(); ++index) {
            // The button is drawn where it is hit: its left end (clear of the label) is not black.
            const QPointF end(buttons[index].left() + 4, buttons[index].center().y());
            EXPECT_NE(image.pixel(end.toPoint()) & 0xFFFFFF, 0u) << index;
            EXPECT_EQ(IslandFaces::actionAt(scene, buttons[index].center()), scene.alert->actions[index].id);
            EXPECT_EQ(IslandFaces::actionAt(scene, end), scene.alert->actions[index].id);
        }
        for (std::size_t index = 0; index + 1 < buttons.size(); ++index) {
            const QPointF gap((buttons[index].right() + buttons[index + 1].left()) / 2,
                              buttons[index].center().y());
            EXPECT_EQ(image.pixel(gap.toPoint()) & 0xFFFFFF, 0u);
            EXPECT_EQ(IslandFaces::actionAt(scene, gap), std::nullopt);
        }
        EXPECT_EQ(IslandFaces::actionAt(scene, FaceLayout::alert(scene, *scene.alert).title.center()),
                  std::nullopt);

        // No buttons where they are not drawn: over a HUD flash, or for an alert that is not critical.
        IslandScene flashed = scene;
        flashed.hud = brind::HUDEvent::make(brind::HUDEvent::Kind::brightness, 0.5, false, {}, {}, {});
        EXPECT_EQ(IslandFaces::actionAt(flashed, buttons[0].center()), std::nullopt);
        IslandScene important = scene;
        important.alert->priority = brind::ActivityPriority::important;
        EXPECT_EQ(IslandFaces::actionAt(important, buttons[0].center()), std::nullopt);
    }
}

TEST(IslandFaces, HUDLightsTheSegmentsOfItsLevel) {
    using Kind = brind::HUDEvent::Kind;
    // How a level rounds to segments is HUDSteps' own, tested with it; the face lights that many.
    const std::tuple<Kind, std::optional<double>, bool, int> cases[] = {
        {Kind::volume, 0.5, false, 8},
        {Kind::brightness, 1.0, false, 16},
        {Kind::volume, 0.8, true, 0},
        {Kind::custom, std::nullopt, true, 0},
        {Kind::keyboardBacklight, 0.69, false, brind::HUDSteps::segments(0.69)},
    };
    for (const auto& input : {housingInput(), floatingInput()}) {
        for (const auto& [kind, value, muted, expected] : cases) {
            IslandScene scene;
            scene.hud = brind::HUDEvent::make(kind, value, muted, std::nullopt, std::nullopt, std::nullopt);
            scene = settledScene(IslandState::peek, input, scene);
            const QImage image = render(scene, 2);
            const FaceLayout::HUD layout = FaceLayout::hud(scene, *scene.hud);
            int litSegments = 0;
            for (const QRectF& segment : layout.segments) {
                const QRgb centre = image.pixel((segment.center() * 2).toPoint());
                // Lit segments are the full colour, unlit ones a dim grey.
                if (qGray(centre) > 160)
                    ++litSegments;
                else
                    EXPECT_GT(qGray(centre), 20);
            }
            EXPECT_EQ(litSegments, expected) << brind::name(kind) << " " << value.value_or(-1);
            EXPECT_GT(litPixels(image, layout.symbol), 20);
            EXPECT_GT(litPixels(image, layout.percent), 20);
        }
    }
}

TEST(IslandFaces, AnimatesOnlyWhileASpinnerOrVisualiserIsVisible) {
    const auto input = housingInput();
    const auto spinning = activity(ActivityGlyph::spinner(), ActivityGlyph::none());
    const auto playing = activity(ActivityGlyph::symbol("music.note"), ActivityGlyph::visualiser());
    const auto still = activity(ActivityGlyph::ring(0.5), ActivityGlyph::text("42s"));
    const auto with = [&](IslandState state, const brind::LiveActivity& top, bool asAlert, bool hud) {
        IslandScene scene;
        scene.top = top;
        if (asAlert)
            scene.alert = top;
        if (hud)
            scene.hud = brind::HUDEvent::make(brind::HUDEvent::Kind::volume, 0.3, false, {}, {}, {});
        return settledScene(state, input, scene);
    };
    const std::tuple<const char*, IslandScene, bool> cases[] = {
        {"compact spinner", with(IslandState::compact, spinning, false, false), true},
        {"compact visualiser", with(IslandState::compact, playing, false, false), true},
        {"compact still", with(IslandState::compact, still, false, false), false},
        {"closed over a spinner", with(IslandState::closed, spinning, false, false), false},
        {"alert with a spinner", with(IslandState::peek, spinning, true, false), true},
        {"still alert", with(IslandState::peek, still, true, false), false},
        {"HUD over a spinner", with(IslandState::peek, spinning, true, true), false},
        {"expanded header with a visualiser", with(IslandState::expanded, playing, false, false), true},
    };
    for (const auto& [name, scene, expected] : cases) {
        EXPECT_EQ(IslandFaces::animates(scene), expected) << name;
        // What animates really changes with time, and what does not, does not.
        IslandScene later = scene;
        later.time = scene.time + 0.37;
        EXPECT_EQ(render(scene) != render(later), expected) << name;
    }
}

TEST(IslandFaces, FadesInWithFaceProgress) {
    IslandScene scene;
    scene.top = activity(ActivityGlyph::dot(brind::RGBA{1, 1, 1, 1}), ActivityGlyph::text("4:05"));
    scene = settledScene(IslandState::compact, housingInput(), scene);
    const auto light = [&](double progress) {
        scene.faceProgress = progress;
        const QImage image = render(scene);
        long total = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                total += qGray(image.pixel(x, y));
        }
        return static_cast<double>(total);
    };
    const double full = light(1);
    EXPECT_GT(full, 0);
    EXPECT_EQ(light(0), 0);
    // Half way it is fainter (and a little smaller) but there.
    EXPECT_GT(light(0.5) / full, 0.2);
    EXPECT_LT(light(0.5) / full, 0.7);
}
