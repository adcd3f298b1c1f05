#include "vantaquill/island/IslandManager.hpp"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace vq {

namespace {

constexpr auto deviceTree = "/proc/device-tree";

} // namespace

IslandManager::IslandManager(LiveActivityCenter& center, Scheduler& scheduler, const Preferences::Island& preferences,
                             SurfaceFactory makeSurface, brind::IslandLayout::TextMeasure measure)
    : center_(center), scheduler_(scheduler), preferences_(preferences), makeSurface_(std::move(makeSurface)),
      measure_(std::move(measure)) {
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen*) { rebuild(); });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](QScreen*) { rebuild(); });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, [this](QScreen*) { rebuild(); });
    rebuild();
}

IslandManager::~IslandManager() = default;

bool IslandManager::selects(const std::string& displayModes, QScreen* screen, bool hasHousing) {
    if (displayModes == "all")
        return true;
    if (displayModes == "housing")
        return hasHousing;
    return screen == QGuiApplication::primaryScreen();
}

IslandPlacement::Screen IslandManager::describe(QScreen* screen) const {
    IslandPlacement::Screen description{screen->geometry(), screen->availableGeometry(), std::nullopt};
    if (auto declared = IslandPlacement::parseHousing(preferences_.housing))
        description.housing = declared;
    else if (screen == QGuiApplication::primaryScreen())
        // The firmware's housing belongs to the built-in panel, which is the primary screen.
        description.housing = IslandPlacement::firmwareHousing(deviceTree, screen->devicePixelRatio());
    return description;
}

void IslandManager::rebuild() {
    const auto screens = QGuiApplication::screens();
    std::vector<QScreen*> chosen;
    for (QScreen* screen : screens) {
        if (selects(preferences_.displayModes, screen, describe(screen).housing.has_value()))
            chosen.push_back(screen);
    }
    // A display mode that selects no screen (no housing anywhere) still shows one island.
    if (chosen.empty() && QGuiApplication::primaryScreen())
        chosen.push_back(QGuiApplication::primaryScreen());

    std::erase_if(entries_, [&](const Entry& entry) { return std::ranges::find(chosen, entry.screen) == chosen.end(); });
    for (QScreen* screen : chosen) {
        if (std::ranges::any_of(entries_, [screen](const Entry& entry) { return entry.screen == screen; }))
            continue;
        Entry entry;
        entry.screen = screen;
        entry.surface = makeSurface_(screen);
        if (!entry.surface)
            continue;
        entry.controller = std::make_unique<IslandController>(
            center_, scheduler_, *entry.surface, measure_, controllerSettings());
        entry.controller->setContent(content_);
        entry.controller->onDrop = dropHandler_;
        entry.controller->onShelfGesture = shelfGestureHandler_;
        entry.controller->setIdleWings(idleWings_);
        connect(screen, &QScreen::geometryChanged, this, [this, screen] {
            for (auto& each : entries_)
                if (each.screen == screen)
                    place(each);
        });
        connect(screen, &QScreen::availableGeometryChanged, this, [this, screen] {
            for (auto& each : entries_)
                if (each.screen == screen)
                    place(each);
        });
        entries_.push_back(std::move(entry));
        place(entries_.back());
        applyHidden(entries_.back());
    }
}

IslandController::Settings IslandManager::controllerSettings() const {
    return {.hoverToOpen = preferences_.hoverToOpen,
            .hoverDelay = preferences_.hoverDelay,
            .clickToOpen = preferences_.clickToOpen,
            .cornerRadius = preferences_.cornerRadius,
            .reduceMotion = reduceMotion_,
            .shakeSensitivity = preferences_.shakeSensitivity};
}

void IslandManager::setPreferences(const Preferences::Island& preferences) {
    if (preferences == preferences_)
        return;
    preferences_ = preferences;
    // The display mode may take islands away or add some; the ones that stay get the new values.
    rebuild();
    for (auto& entry : entries_) {
        entry.controller->setSettings(controllerSettings());
        place(entry);
        applyHidden(entry);
    }
}

void IslandManager::place(Entry& entry) {
    const auto screen = describe(entry.screen);
    const auto input = IslandPlacement::input(screen, {preferences_.size, preferences_.widthOffset,
                                                       preferences_.heightOffset});
    const QRect frame = IslandPlacement::windowFrame(screen, input);
    entry.controller->setLayout(input, QSizeF(frame.size()));
    if (frame == entry.frame)
        return;
    entry.frame = frame;
    entry.surface->place(entry.screen, frame);
}

void IslandManager::applyHidden(Entry& entry) {
    const bool underFullScreen = preferences_.hideInFullScreen && fullScreenCentre_ &&
                                 entry.screen->geometry().contains(*fullScreenCentre_);
    const bool hidden = underFullScreen || (preferences_.hideWhenSharing && screenShared_);
    entry.controller->setHidden(hidden);
    entry.surface->setVisible(!hidden);
}

void IslandManager::setIdleWings(std::optional<brind::LiveActivity> wings) {
    idleWings_ = std::move(wings);
    for (auto& entry : entries_)
        entry.controller->setIdleWings(idleWings_);
}

void IslandManager::refresh() {
    for (auto& entry : entries_)
        entry.controller->refresh();
}

void IslandManager::setReduceMotion(bool reduceMotion) {
    reduceMotion_ = reduceMotion;
    for (auto& entry : entries_)
        entry.controller->setReduceMotion(reduceMotion);
}

void IslandManager::open() {
    if (!entries_.empty())
        entries_.front().controller->open();
}

void IslandManager::close() {
    for (auto& entry : entries_)
        entry.controller->close();
}

void IslandManager::setContent(IslandContent* content) {
    content_ = content;
    if (content_) {
        content_->onRepaint = [this] {
            for (auto& entry : entries_)
                entry.controller->contentChanged();
        };
        content_->onResize = [this] {
            for (auto& entry : entries_)
                entry.controller->contentResized();
        };
        content_->onOpenRequested = [this] { open(); };
        content_->onCloseRequested = [this] { close(); };
    }
    for (auto& entry : entries_)
        entry.controller->setContent(content_);
}

void IslandManager::setDropHandler(std::function<bool(const IslandSurface::DropEvent&)> handler) {
    dropHandler_ = std::move(handler);
    for (auto& entry : entries_)
        entry.controller->onDrop = dropHandler_;
}

void IslandManager::setShelfGestureHandler(std::function<void(ShelfDragGestures::Gesture)> handler) {
    shelfGestureHandler_ = std::move(handler);
    for (auto& entry : entries_)
        entry.controller->onShelfGesture = shelfGestureHandler_;
}

void IslandManager::setScreenShared(bool shared) {
    screenShared_ = shared;
    for (auto& entry : entries_)
        applyHidden(entry);
}

bool IslandManager::startDrag(const ClipFlavours& flavours, std::function<void()> finished) {
    // Only the surface that holds the press can start the drag: the others say no.
    for (auto& entry : entries_)
        if (entry.surface->startDrag(flavours, finished))
            return true;
    return false;
}

void IslandManager::setFullScreenWindow(std::optional<QPoint> centre) {
    fullScreenCentre_ = centre;
    for (auto& entry : entries_)
        applyHidden(entry);
}

} // namespace vq
