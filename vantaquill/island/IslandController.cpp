#include "vantaquill/island/IslandController.hpp"

#include "BrindKit/island/IslandStateResolver.hpp"
#include "vantaquill/island/IslandFaces.hpp"
#include "vantaquill/island/IslandView.hpp"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vq {

namespace {

double lerp(double from, double to, double progress) {
    return from + (to - from) * progress;
}

// Between the outline's sides and the content: clear of the ears and the bottom corners' curve.
constexpr double contentSideInset = 24;
// Room the window keeps below the tallest content for the spring's overshoot when it opens.
constexpr double overshootRoom = 24;

// The ease-in-out used with reduced motion: slow at both ends, symmetric around the middle.
double easeInOut(double x) {
    return x < 0.5 ? 4 * x * x * x : 1 - std::pow(-2 * x + 2, 3) / 2;
}

} // namespace

IslandController::IslandController(LiveActivityCenter& center, Scheduler& scheduler, IslandSurface& surface,
                                   brind::IslandLayout::TextMeasure measure, Settings settings)
    : center_(center), scheduler_(scheduler), surface_(surface), measure_(std::move(measure)),
      settings_(settings), gestures_(settings.shakeSensitivity) {
    surface_.onFrame = [this](double time) { frame(time); };
    surface_.paint = [this](QPainter& painter) {
        IslandView::paint(painter, scene_, [this](QPainter& inside) { paintContent(inside); });
    };
    surface_.onPointer = [this](const IslandSurface::PointerEvent& event) { pointer(event); };
    surface_.onKey = [this](const IslandSurface::KeyEvent& event) { key(event); };
    surface_.onKeyboardLost = [this] { keyboardLost(); };
    surface_.onDrop = [this](const IslandSurface::DropEvent& event) { return drop(event); };
}

IslandController::~IslandController() {
    surface_.onFrame = nullptr;
    surface_.paint = nullptr;
    surface_.onPointer = nullptr;
    surface_.onKey = nullptr;
    surface_.onKeyboardLost = nullptr;
    surface_.onDrop = nullptr;
}

void IslandController::setLayout(const brind::IslandLayout::Input& input, QSizeF window) {
    if (input == input_ && window == window_)
        return;
    input_ = input;
    window_ = window;
    contentResized();
    update();
}

void IslandController::setHidden(bool hidden) {
    if (hidden == hidden_)
        return;
    hidden_ = hidden;
    update();
}

void IslandController::setSettings(Settings settings) {
    settings.reduceMotion = settings_.reduceMotion;
    if (settings == settings_)
        return;
    if (settings.shakeSensitivity != settings_.shakeSensitivity)
        gestures_.setSensitivity(settings.shakeSensitivity);
    settings_ = settings;
    update();
}

void IslandController::setReduceMotion(bool reduceMotion) {
    settings_.reduceMotion = reduceMotion;
}

void IslandController::setContentHeight(std::optional<double> height) {
    if (height == contentHeight_)
        return;
    contentHeight_ = height;
    update();
}

void IslandController::setContent(IslandContent* content) {
    content_ = content;
    contentResized();
}

double IslandController::maximumContentHeight() const {
    const double top = brind::IslandLayout::islandRect({0, 0}, {window_.width(), window_.height()}, input_).y;
    return std::max(0.0, window_.height() - top - brind::IslandLayout::headerHeight(input_) -
                             brind::IslandLayout::headerGap - brind::IslandLayout::contentBottomPadding -
                             overshootRoom);
}

void IslandController::contentResized() {
    if (!content_ || window_.isEmpty())
        return;
    const double width = std::max(0.0, brind::IslandLayout::expanded(input_).width - 2 * contentSideInset);
    const double height = std::min(std::ceil(content_->height(width)), maximumContentHeight());
    content_->resize({width, height});
    setContentHeight(height);
}

void IslandController::contentChanged() {
    if (state_ == brind::IslandState::expanded)
        surface_.requestFrame();
}

QRectF IslandController::contentArea(const QRectF& rect) const {
    const double width = std::max(0.0, brind::IslandLayout::expanded(input_).width - 2 * contentSideInset);
    return {rect.center().x() - width / 2,
            rect.y() + brind::IslandLayout::headerHeight(input_) + brind::IslandLayout::headerGap, width,
            contentHeight_.value_or(0)};
}

bool IslandController::contentTakesPointer() const {
    return content_ && state_ == brind::IslandState::expanded && scene_.faceProgress >= 0.5;
}

void IslandController::paintContent(QPainter& painter) {
    if (!content_ || state_ != brind::IslandState::expanded || scene_.faceProgress <= 0)
        return;
    content_->paint(painter, contentArea(shape_.rect).topLeft(), std::clamp(scene_.faceProgress, 0.0, 1.0));
}

void IslandController::refresh() {
    update();
}

brind::SizeF IslandController::targetSize() const {
    switch (state_) {
    case brind::IslandState::closed:
        return brind::IslandLayout::closed(input_);
    case brind::IslandState::compact:
        return brind::IslandLayout::compact(input_, scene_.leadingWing, scene_.trailingWing);
    case brind::IslandState::peek:
        // A HUD flash answers a key the user just pressed, so it shows over a waiting alert.
        if (!center_.hud() && center_.alerting())
            return brind::IslandLayout::alertPeek(*center_.alerting(), input_);
        return brind::IslandLayout::peek(input_);
    case brind::IslandState::expanded:
        return brind::IslandLayout::expandedForContent(input_, contentHeight_);
    }
    std::unreachable();
}

IslandController::Shape IslandController::target() const {
    const brind::SizeF size = targetSize();
    const brind::RectF rect =
        brind::IslandLayout::islandRect(size, {window_.width(), window_.height()}, input_);
    return {QRectF(rect.x, rect.y, rect.width, rect.height),
            brind::IslandPath::corners(state_, size.height, input_.floating, settings_.cornerRadius)};
}

void IslandController::fillContent() {
    const auto& activities = center_.activities();
    scene_.state = state_;
    scene_.floating = input_.floating;
    scene_.housing = input_.metrics.hasNotch ? QSizeF(input_.metrics.size.width, input_.metrics.size.height) : QSizeF();
    scene_.top = activities.empty() ? std::nullopt : std::optional(activities.front());
    const auto [leading, trailing] =
        brind::IslandLayout::compactWings(activities.empty() ? nullptr : &activities.front(), input_, measure_);
    scene_.leadingWing = leading;
    scene_.trailingWing = trailing;
    scene_.badge = activities.size() > 1 ? std::optional(static_cast<int>(activities.size() - 1)) : std::nullopt;
    scene_.hud = center_.hud();
    scene_.alert = center_.hud() ? std::nullopt : center_.alerting();
    scene_.headerHeight = brind::IslandLayout::headerHeight(input_);
    scene_.contentHeight = contentHeight_;
}

void IslandController::update() {
    const brind::IslandState resolved = brind::IslandStateResolver::resolve(
        {.userOpened = userOpened_,
         .peeking = center_.hud().has_value() || center_.alerting().has_value(),
         .hasActivity = !center_.activities().empty(),
         .hidden = hidden_});
    const brind::IslandState previous = state_;
    const IslandScene before = scene_;
    state_ = resolved;
    fillContent();
    const Shape goal = target();
    if (!shownOnce_ || window_.isEmpty()) {
        // Nothing was on screen yet: the first shape appears as it is.
        shape_ = settled_ = goal;
        animation_.reset();
        shownOnce_ = !window_.isEmpty();
    } else if (goal != settled_ || resolved != previous) {
        brind::Motion::Animation curve = brind::Motion::transition(previous, resolved, settings_.reduceMotion);
        if (resolved == previous && !settings_.reduceMotion) {
            // A resize within one state (new wings, a longer title) bounces only when it grows.
            const bool grows = goal.rect.width() * goal.rect.height() > settled_.rect.width() * settled_.rect.height();
            curve = brind::Motion::Spring{brind::Motion::response,
                                          grows ? brind::Motion::openDamping : brind::Motion::closeDamping};
        }
        animation_ = Animation{shape_, curve, std::nullopt};
        settled_ = goal;
        if (resolved != previous)
            scene_.faceProgress = 0;
    }
    showShape();
    if (animation_ || scene_ != before)
        surface_.requestFrame();
}

void IslandController::showShape() {
    scene_.outline = shape_.rect;
    scene_.ear = shape_.corners.ear;
    scene_.topRadius = shape_.corners.top;
    scene_.bottomRadius = shape_.corners.bottom;
    applyInputRegion();
}

void IslandController::frame(double time) {
    scene_.time = time;
    if (animation_) {
        if (!animation_->start)
            animation_->start = time;
        const double elapsed = time - *animation_->start;
        double progress = 1;
        bool done = true;
        std::visit(
            [&](const auto& curve) {
                using Curve = std::decay_t<decltype(curve)>;
                if constexpr (std::is_same_v<Curve, brind::Motion::Spring>) {
                    done = curve.isSettled(elapsed);
                    progress = done ? 1 : curve.evaluate(elapsed).value;
                } else {
                    const double x = curve.duration > 0 ? std::clamp(elapsed / curve.duration, 0.0, 1.0) : 1;
                    done = x >= 1;
                    progress = easeInOut(x);
                }
            },
            animation_->curve);
        const Shape& from = animation_->from;
        shape_.rect = QRectF(lerp(from.rect.x(), settled_.rect.x(), progress),
                             lerp(from.rect.y(), settled_.rect.y(), progress),
                             std::max(0.0, lerp(from.rect.width(), settled_.rect.width(), progress)),
                             std::max(0.0, lerp(from.rect.height(), settled_.rect.height(), progress)));
        shape_.corners = {std::max(0.0, lerp(from.corners.ear, settled_.corners.ear, progress)),
                          std::max(0.0, lerp(from.corners.top, settled_.corners.top, progress)),
                          std::max(0.0, lerp(from.corners.bottom, settled_.corners.bottom, progress))};
        scene_.faceProgress = std::clamp(progress, 0.0, 1.0);
        if (done) {
            shape_ = settled_;
            animation_.reset();
            scene_.faceProgress = 1;
        }
        showShape();
    }
    if (animation_ || IslandFaces::animates(scene_))
        surface_.requestFrame();
}

void IslandController::applyInputRegion() {
    // Only the outline takes the pointer, also while open: a pointer that leaves an open island
    // closes it after the close delay, so a click beside it finds it closing already.
    surface_.setInputRegion(IslandView::outlineRegion(scene_));
}

bool IslandController::insideOutline(QPointF position) const {
    return IslandView::outlinePath(scene_).contains(position);
}

void IslandController::setUserOpened(bool opened, Keyboard keyboard) {
    hoverTimer_.reset();
    closeTimer_.reset();
    if (opened == userOpened_)
        return;
    userOpened_ = opened;
    if (content_) {
        if (opened) {
            content_->opening();
            contentResized();
        } else {
            contentPressed_ = false;
            content_->closed();
        }
    }
    // Escape reaches the island only while it holds the keyboard. It takes it only when the user
    // clicked it open: a pointer passing over the island must not steal the keys from the window
    // the user types in.
    const bool interactive = opened && keyboard == Keyboard::take;
    setKeyboard(interactive);
    update();
}

void IslandController::setKeyboard(bool interactive) {
    if (interactive == keyboard_)
        return;
    keyboard_ = interactive;
    surface_.setKeyboardInteractive(interactive);
    if (content_)
        content_->setKeyboardFocus(interactive);
}

void IslandController::open() {
    setUserOpened(true, Keyboard::take);
}

void IslandController::close() {
    setUserOpened(false, Keyboard::leave);
}

void IslandController::pointer(const IslandSurface::PointerEvent& event) {
    using Type = IslandSurface::PointerEvent::Type;
    const bool inside = event.type != Type::leave && insideOutline(event.position);
    if (inside != pointerInside_) {
        pointerInside_ = inside;
        if (inside) {
            closeTimer_.reset();
            if (settings_.hoverToOpen && !userOpened_ && !hoverTimer_) {
                hoverTimer_ = scheduler_.schedule(settings_.hoverDelay, [this] {
                    auto timer = std::move(hoverTimer_);
                    if (pointerInside_)
                        setUserOpened(true, Keyboard::leave);
                });
            }
        } else {
            hoverTimer_.reset();
            // A press held in the panel that left the island is a drag of something out of it: the
            // island stays open under it, and the panel closes it when the drag is over.
            if (!closeTimer_ && !contentPressed_)
                closeUnlessPointerReturns(closeDelay);
        }
    }
    if (contentTakesPointer() && (inside || contentPressed_ || event.type == Type::leave)) {
        const QRectF area = contentArea(shape_.rect);
        const bool inArea = area.contains(event.position);
        IslandSurface::PointerEvent local = event;
        local.position = event.position - area.topLeft();
        if (event.type == Type::press && inArea) {
            contentPressed_ = true;
            // A panel opened by hovering takes the keyboard once the user clicks into it.
            setKeyboard(true);
        }
        const bool forPanel = inArea || contentPressed_;
        if (forPanel || event.type == Type::motion || event.type == Type::leave)
            content_->pointer(local);
        if (event.type == Type::release && std::exchange(contentPressed_, false) && !inside)
            closeUnlessPointerReturns(closeDelay);
        if (forPanel && event.type != Type::motion)
            return;
    }
    if (event.type != Type::press || event.button != Qt::LeftButton)
        return;
    if (!inside) {
        setUserOpened(false, Keyboard::leave);
        return;
    }
    if (state_ == brind::IslandState::peek && scene_.alert) {
        if (const auto action = IslandFaces::actionAt(scene_, event.position)) {
            center_.perform(scene_.alert->id, *action);
            return;
        }
    }
    if (settings_.clickToOpen && !userOpened_)
        setUserOpened(true, Keyboard::take);
}

void IslandController::closeUnlessPointerReturns(double delay) {
    if (!userOpened_)
        return;
    closeTimer_ = scheduler_.schedule(delay, [this] {
        auto timer = std::move(closeTimer_);
        if (!pointerInside_)
            setUserOpened(false, Keyboard::leave);
    });
}

bool IslandController::drop(const IslandSurface::DropEvent& event) {
    using Type = IslandSurface::DropEvent::Type;
    if (!onDrop || hidden_)
        return false;
    const bool taken = onDrop(event);
    // The notch a drag comes near is the island as it rests at the top, or where it rested before
    // it opened.
    const auto closed = brind::IslandLayout::islandRect(brind::IslandLayout::closed(input_),
                                                         {window_.width(), window_.height()}, input_);
    const QRectF notch = state_ == brind::IslandState::expanded
                             ? QRectF(closed.x, closed.y, closed.width, closed.height)
                             : settled_.rect;
    const auto gesture = taken ? gestures_.feed(event, notch, scheduler_.now().secondsSince1970)
                               : ShelfDragGestures::Gesture::none;
    switch (event.type) {
    case Type::enter:
    case Type::move:
        if (gesture != ShelfDragGestures::Gesture::none) {
            if (!userOpened_)
                setUserOpened(true, Keyboard::leave);
            if (onShelfGesture)
                onShelfGesture(gesture);
        }
        closeTimer_.reset();
        break;
    case Type::leave:
    case Type::drop: {
        // The pointer is over the island only as far as the drag knew; once it ends the island
        // closes unless the pointer is seen inside again.
        pointerInside_ = false;
        const double delay = event.type == Type::drop ? dropLinger : closeDelay;
        closeUnlessPointerReturns(delay);
        break;
    }
    }
    return taken;
}

void IslandController::key(const IslandSurface::KeyEvent& event) {
    if (content_ && state_ == brind::IslandState::expanded && content_->key(event))
        return;
    if (event.key == Qt::Key_Escape && userOpened_)
        setUserOpened(false, Keyboard::leave);
}

void IslandController::keyboardLost() {
    if (userOpened_ && keyboard_)
        setUserOpened(false, Keyboard::leave);
}

} // namespace vq
