#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/NotchMetrics.hpp"
#include "vantaquill/island/IslandController.hpp"

#include <gtest/gtest.h>

namespace vq {
namespace {

using brind::IslandLayout;
using brind::IslandState;
using Pointer = IslandSurface::PointerEvent;

/// Text as wide as the faces would draw it, near enough for the layout.
double measure(std::string_view text, double) {
    return 7.0 * text.size();
}

brind::LiveActivity teaTimer() {
    return brind::LiveActivity::make("timer", "test", brind::ActivityPriority::normal,
                                     brind::ActivityGlyph::symbol("timer"),
                                     brind::ActivityGlyph::text("4:05"), "Tea", std::nullopt, std::nullopt,
                                     std::nullopt, std::nullopt, {}, false, std::nullopt, true, {});
}

/// Records what the controller asks of its surface.
class RecordingSurface final : public IslandSurface {
  public:
    Kind kind() const override { return Kind::x11; }
    void place(QScreen*, const QRect&) override {}
    void setVisible(bool) override {}
    void setInputRegion(const QRegion&) override {}
    void setKeyboardInteractive(bool interactive) override { keyboard = interactive; }
    void requestFrame() override { framePending = true; }

    bool keyboard = false;
    bool framePending = false;
};

class IslandControllerTest : public ::testing::Test {
  protected:
    IslandControllerTest() { makeController({}); }

    void makeController(IslandController::Settings settings) {
        controller.reset();
        controller = std::make_unique<IslandController>(center, scheduler, surface, measure, settings);
        center.onChange = [this](LiveActivityCenter::Change) { controller->refresh(); };
        controller->setLayout(input, QSizeF(window.width, window.height));
    }

    /// Runs a 60 Hz display's frames until the controller stops asking for them; how many ran.
    int settle(int limit = 600) {
        int frames = 0;
        while (surface.framePending && frames < limit) {
            surface.framePending = false;
            time += 1.0 / 60;
            surface.onFrame(time);
            ++frames;
        }
        return frames;
    }

    /// The pointer entering, pressed on or leaving the island at its centre.
    void pointer(Pointer::Type type) {
        controller->pointer({type,
                             controller->scene().outline.center(),
                             type == Pointer::Type::press ? Qt::LeftButton : Qt::NoButton,
                             {}});
    }

    QRectF expectedRect(brind::SizeF size) const {
        const auto rect = IslandLayout::islandRect(size, window, input);
        return {rect.x, rect.y, rect.width, rect.height};
    }

    const IslandLayout::Input input{
        .metrics = brind::NotchMetrics::compute(1440, 0, std::nullopt, std::nullopt, 0), .floating = true};
    const brind::SizeF window = IslandLayout::window(input);
    ManualScheduler scheduler;
    LiveActivityCenter center{scheduler};
    RecordingSurface surface;
    std::unique_ptr<IslandController> controller;
    double time = 0;
};

TEST_F(IslandControllerTest, HoverOpensAfterTheDelayAndLeavingClosesAfterTheCloseDelay) {
    pointer(Pointer::Type::enter);
    scheduler.advance(0.19);
    EXPECT_EQ(controller->state(), IslandState::closed);
    scheduler.advance(0.02);
    EXPECT_EQ(controller->state(), IslandState::expanded);
    EXPECT_FALSE(surface.keyboard) << "hovering took the keyboard from the window the user types in";
    settle();

    // Slipping off the edge for less than the close delay keeps it open.
    pointer(Pointer::Type::leave);
    scheduler.advance(0.2);
    pointer(Pointer::Type::enter);
    scheduler.advance(1);
    EXPECT_EQ(controller->state(), IslandState::expanded);

    pointer(Pointer::Type::leave);
    scheduler.advance(IslandController::closeDelay - 0.01);
    EXPECT_EQ(controller->state(), IslandState::expanded);
    scheduler.advance(0.02);
    EXPECT_EQ(controller->state(), IslandState::closed);
}

// A click opens the island with the keyboard (for Escape) when the settings allow it; Escape or
// another window taking the keyboard closes it. A hovered-open island never held the keyboard, so
// another window's focus leaves it alone.
TEST_F(IslandControllerTest, AClickOpensWithTheKeyboardWhenAllowedAndLosingTheKeyboardClosesOnlyThat) {
    makeController({.hoverToOpen = false, .clickToOpen = false});
    pointer(Pointer::Type::press);
    scheduler.advance(1);
    EXPECT_EQ(controller->state(), IslandState::closed);

    makeController({});
    for (const bool escape : {true, false}) {
        pointer(Pointer::Type::press);
        EXPECT_EQ(controller->state(), IslandState::expanded);
        EXPECT_TRUE(surface.keyboard);
        if (escape)
            controller->key({Qt::Key_Escape, Qt::NoModifier, {}});
        else
            surface.onKeyboardLost();
        EXPECT_EQ(controller->state(), IslandState::closed);
        EXPECT_FALSE(surface.keyboard);
    }
    pointer(Pointer::Type::leave);
    pointer(Pointer::Type::enter);
    scheduler.advance(1);
    ASSERT_EQ(controller->state(), IslandState::expanded);
    surface.onKeyboardLost();
    EXPECT_EQ(controller->state(), IslandState::expanded);
}

TEST_F(IslandControllerTest, FramesRunOnlyUntilTheOutlineRestsAtTheLayoutsSize) {
    settle();
    center.post(teaTimer());
    EXPECT_TRUE(surface.framePending);
    const int frames = settle();
    EXPECT_GT(frames, 5);
    EXPECT_LT(frames, 600) << "the spring never came to rest";
    EXPECT_FALSE(controller->isAnimating());
    const auto [leading, trailing] = IslandLayout::compactWings(&center.activities().front(), input, measure);
    EXPECT_EQ(controller->scene().outline, expectedRect(IslandLayout::compact(input, leading, trailing)));

    // At rest, nothing that changes nothing asks for a frame.
    controller->refresh();
    controller->setLayout(input, QSizeF(window.width, window.height));
    EXPECT_FALSE(surface.framePending);
}

TEST_F(IslandControllerTest, IdleWingsKeepTheIslandCompactUntilAnActivityTakesThem) {
    brind::LiveActivity wings;
    wings.id = "widgets.wings";
    wings.leading = brind::ActivityGlyph::text("Wed 25");
    wings.trailing = brind::ActivityGlyph::text("18°");
    controller->setIdleWings(wings);
    settle();
    EXPECT_EQ(controller->state(), IslandState::compact);
    EXPECT_EQ(controller->scene().top, wings);
    const auto [leading, trailing] = IslandLayout::compactWings(&wings, input, measure);
    EXPECT_EQ(controller->scene().outline, expectedRect(IslandLayout::compact(input, leading, trailing)));

    center.post(teaTimer());
    EXPECT_EQ(controller->scene().top->id, "timer");
    EXPECT_EQ(controller->scene().badge, std::nullopt) << "the wings' widgets are not a waiting activity";
    center.end("timer");
    EXPECT_EQ(controller->scene().top, wings);
    controller->setIdleWings(std::nullopt);
    EXPECT_EQ(controller->state(), IslandState::closed);
}

TEST_F(IslandControllerTest, ReducedMotionEasesInAndOutOverItsDuration) {
    makeController({.reduceMotion = true});
    settle();
    const QRectF closed = controller->scene().outline;
    pointer(Pointer::Type::press);
    const QRectF open = expectedRect(IslandLayout::expandedForContent(input, std::nullopt));
    // The first frame starts the clock; half the duration later the ease is halfway.
    surface.framePending = false;
    surface.onFrame(time);
    surface.onFrame(time + brind::Motion::reducedMotionDuration / 2);
    EXPECT_NEAR(controller->scene().outline.width(), (closed.width() + open.width()) / 2, 0.01);
    surface.onFrame(time + brind::Motion::reducedMotionDuration);
    EXPECT_FALSE(controller->isAnimating());
    EXPECT_EQ(controller->scene().outline, open);
}

TEST_F(IslandControllerTest, ADragOpensOnTheShelfNearTheNotchOrWhenShakenOverTheIsland) {
    using Drop = IslandSurface::DropEvent;
    using Gesture = ShelfDragGestures::Gesture;
    bool takes = false;
    std::vector<Gesture> gestures;
    const auto watch = [&] {
        controller->onDrop = [&](const Drop&) { return takes; };
        controller->onShelfGesture = [&](Gesture gesture) { gestures.push_back(gesture); };
    };
    watch();
    const QRectF notch = controller->scene().outline;

    // Something the island cannot take passes over it without a trace.
    controller->drop({Drop::Type::enter, notch.center(), {}, {}});
    controller->drop({Drop::Type::leave, {}, {}, {}});
    EXPECT_EQ(controller->state(), IslandState::closed);

    takes = true;
    controller->drop({Drop::Type::enter, notch.center(), {"/tmp/report.pdf"}, {}});
    EXPECT_EQ(controller->state(), IslandState::expanded);
    controller->drop({Drop::Type::move, notch.center() + QPointF(3, 0), {"/tmp/report.pdf"}, {}});
    EXPECT_EQ(gestures, std::vector{Gesture::nearNotch}) << "the shelf is brought up once, not on every move";
    controller->drop({Drop::Type::drop, notch.center(), {"/tmp/report.pdf"}, {}});

    // Over the open panel, away from the notch, only a shake brings the shelf up; a second shake
    // inside the cooldown does not.
    gestures.clear();
    const QPointF below(notch.center().x(), notch.bottom() + 3 * brind::ShelfDragTracker::defaultReach);
    const auto shake = [&](double reach) {
        controller->drop({Drop::Type::enter, below, {"/tmp/report.pdf"}, {}});
        EXPECT_TRUE(gestures.empty());
        for (int swing = 1; swing <= 12; ++swing) {
            scheduler.advance(0.04);
            controller->drop(
                {Drop::Type::move, below + QPointF(swing % 2 ? -reach : reach, 0), {"/tmp/report.pdf"}, {}});
        }
    };
    shake(50);
    EXPECT_EQ(gestures, std::vector{Gesture::shake});

    // The widest shake is needed at the least sensitive setting: 50 points each way is not enough.
    makeController({.shakeSensitivity = 2});
    watch();
    gestures.clear();
    shake(25);
    EXPECT_TRUE(gestures.empty());
}

} // namespace
} // namespace vq
