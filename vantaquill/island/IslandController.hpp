#pragma once

#include "BrindKit/island/IslandLayout.hpp"
#include "BrindKit/island/IslandPath.hpp"
#include "BrindKit/island/IslandState.hpp"
#include "BrindKit/island/Motion.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/island/IslandContent.hpp"
#include "vantaquill/island/IslandScene.hpp"
#include "vantaquill/island/IslandSurface.hpp"
#include "vantaquill/island/ShelfDragGestures.hpp"

#include <QSizeF>

#include <functional>
#include <memory>
#include <optional>

namespace vq {

/// Owns the island on one screen: derives its state from the activity centre and the user's
/// hovering and clicking, sizes it with the layout, animates the outline between states, fills the
/// scene the view paints and asks the surface for frames only while something moves.
class IslandController {
public:
    struct Settings {
        bool hoverToOpen = true;
        double hoverDelay = 0.2;
        bool clickToOpen = true;
        double cornerRadius = brind::IslandPath::defaultCornerRadius;
        bool reduceMotion = false;
        /// "shelf.shakeSensitivity": how wide a shake over the island must be to bring up the shelf.
        int shakeSensitivity = 1;
        friend bool operator==(const Settings&, const Settings&) = default;
    };

    /// After the pointer leaves an open island it stays open this long, so a pointer that slips
    /// off the edge for a moment does not close it.
    static constexpr double closeDelay = 0.32;
    /// After a drop the island stays open a little longer, so the user sees the item land.
    static constexpr double dropLinger = 1.5;

    IslandController(LiveActivityCenter& center, Scheduler& scheduler, IslandSurface& surface,
                     brind::IslandLayout::TextMeasure measure, Settings settings);
    ~IslandController();
    IslandController(const IslandController&) = delete;
    IslandController& operator=(const IslandController&) = delete;

    /// The screen's layout input and the window's size; re-lays out only when they changed.
    void setLayout(const brind::IslandLayout::Input& input, QSizeF window);
    /// While hidden (a full-screen window in front) the island is closed.
    void setHidden(bool hidden);
    void setReduceMotion(bool reduceMotion);
    /// New pointer and outline preferences; the reduce-motion flag is kept (it has its own setter).
    /// A hover already timing runs with the delay it started with.
    void setSettings(Settings settings);
    /// The expanded content's height once it knows it.
    void setContentHeight(std::optional<double> height);
    /// The panel shown below the header while expanded (none: the header alone). Not owned.
    void setContent(IslandContent* content);
    /// The content's wanted height may have changed.
    void contentResized();
    /// The content changed on screen: an open island draws it again.
    void contentChanged();

    /// Re-reads the activity centre after it published a change.
    void refresh();

    /// Opens the island as a click would (a `vantaquill://open` link, the status menu), keyboard included.
    void open();
    /// Closes an island the user opened, as Escape would.
    void close();

    void pointer(const IslandSurface::PointerEvent& event);
    /// A drag from another program over the island: it opens when something it can take comes near
    /// the notch or is shaken over it, and what is dropped goes to `onDrop`.
    bool drop(const IslandSurface::DropEvent& event);
    /// Takes what is dragged over the island (the shelf); true when it can take it.
    std::function<bool(const IslandSurface::DropEvent&)> onDrop;
    /// A drag the island can take came near the notch or was shaken over the island: the island
    /// opens and the shelf should be shown.
    std::function<void(ShelfDragGestures::Gesture)> onShelfGesture;
    void key(const IslandSurface::KeyEvent& event);
    /// A click or switch to another window took the keyboard: an island opened by a click closes.
    void keyboardLost();
    /// Advances the animation to `time` (seconds, monotonic) and asks for the next frame while moving.
    void frame(double time);

    brind::IslandState state() const { return state_; }
    bool userOpened() const { return userOpened_; }
    /// What the view paints now.
    const IslandScene& scene() const { return scene_; }
    /// Whether the outline is still moving towards the current state's shape.
    bool isAnimating() const { return animation_.has_value(); }

private:
    struct Shape {
        QRectF rect;
        brind::IslandPath::Corners corners;
        friend bool operator==(const Shape&, const Shape&) = default;
    };
    struct Animation {
        Shape from;
        brind::Motion::Animation curve;
        std::optional<double> start; ///< the first frame's time
    };

    void update();
    Shape target() const;
    brind::SizeF targetSize() const;
    enum class Keyboard { take, leave };
    void setUserOpened(bool opened, Keyboard keyboard);
    void setKeyboard(bool interactive);
    /// Closes an opened island after `delay` unless the pointer comes back inside before.
    void closeUnlessPointerReturns(double delay);
    /// Copies the current shape into the scene and the surface's input region.
    void showShape();
    void applyInputRegion();
    void fillContent();
    bool insideOutline(QPointF position) const;
    /// The content's area in surface coordinates for `rect` (an outline's rectangle).
    QRectF contentArea(const QRectF& rect) const;
    /// The tallest content the window can hold below the header.
    double maximumContentHeight() const;
    /// Paints the open panel into a painter the view has clipped to the outline.
    void paintContent(QPainter& painter);
    /// Whether pointer events go to the content: the panel is open and has settled enough to use.
    bool contentTakesPointer() const;

    LiveActivityCenter& center_;
    Scheduler& scheduler_;
    IslandSurface& surface_;
    brind::IslandLayout::TextMeasure measure_;
    Settings settings_;

    brind::IslandLayout::Input input_;
    QSizeF window_;
    bool hidden_ = false;
    bool userOpened_ = false;
    bool pointerInside_ = false;
    bool keyboard_ = false;
    /// Whether a shape was laid out in a real window, which later changes animate from.
    bool shownOnce_ = false;
    std::optional<double> contentHeight_;
    IslandContent* content_ = nullptr;
    /// The pointer pressed inside the content: its moves and release go there, wherever they are.
    bool contentPressed_ = false;
    brind::IslandState state_ = brind::IslandState::closed;
    Shape shape_;     ///< as painted now
    Shape settled_;   ///< where the animation is going
    std::optional<Animation> animation_;
    IslandScene scene_;
    std::unique_ptr<Scheduler::Timer> hoverTimer_;
    std::unique_ptr<Scheduler::Timer> closeTimer_;
    ShelfDragGestures gestures_;
};

} // namespace vq
