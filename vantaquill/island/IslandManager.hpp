#pragma once

#include "BrindKit/island/IslandLayout.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/island/IslandController.hpp"
#include "vantaquill/island/IslandPlacement.hpp"
#include "vantaquill/island/IslandSurface.hpp"
#include "vantaquill/qt/Preferences.hpp"

#include <QObject>
#include <QPoint>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QScreen;

namespace vq {

/// Puts an island on each screen that "island.displayModes" selects and keeps it there as screens
/// come, go and change size.
class IslandManager final : public QObject {
public:
    using SurfaceFactory = std::function<std::unique_ptr<IslandSurface>(QScreen* screen)>;

    IslandManager(LiveActivityCenter& center, Scheduler& scheduler, const Preferences::Island& preferences,
                  SurfaceFactory makeSurface, brind::IslandLayout::TextMeasure measure);
    ~IslandManager() override;

    /// The activity centre published a change.
    void refresh();
    void setReduceMotion(bool reduceMotion);
    /// The user changed the island's preferences: screens, placement, pointer and outline follow.
    void setPreferences(const Preferences::Island& preferences);
    /// Opens the first island (the primary screen's, unless the display mode chose others).
    void open();
    /// Closes every island the user opened.
    void close();
    /// The panel every island shows below its header when expanded. Not owned; outlives the manager.
    void setContent(IslandContent* content);
    /// Takes what is dragged onto any island (the shelf); true when it can take it.
    void setDropHandler(std::function<bool(const IslandSurface::DropEvent&)> handler);
    /// Called when a drag over an island comes near its notch or is shaken there.
    void setShelfGestureHandler(std::function<void(ShelfDragGestures::Gesture)> handler);
    /// What every island's wings show while no activity does (see `IslandController::setIdleWings`).
    void setIdleWings(std::optional<brind::LiveActivity> wings);
    /// Drags `flavours` out of the island the user presses on, where its surface starts drags itself
    /// (`IslandSurface::startDrag`); false leaves the drag to Qt.
    bool startDrag(const ClipFlavours& flavours, std::function<void()> finished);
    /// The active window is full screen with its centre here (global coordinates), or none is.
    void setFullScreenWindow(std::optional<QPoint> centre);
    /// The screen is being shared or recorded (whichever screen: a capture may take them all).
    void setScreenShared(bool shared);

    /// Whether `screen` gets an island under the display mode, given every screen there is.
    static bool selects(const std::string& displayModes, QScreen* screen, bool hasHousing);

private:
    struct Entry {
        QScreen* screen = nullptr;
        std::unique_ptr<IslandSurface> surface;
        std::unique_ptr<IslandController> controller;
        QRect frame;
    };

    void rebuild();
    void place(Entry& entry);
    IslandPlacement::Screen describe(QScreen* screen) const;
    void applyHidden(Entry& entry);
    IslandController::Settings controllerSettings() const;

    LiveActivityCenter& center_;
    Scheduler& scheduler_;
    Preferences::Island preferences_;
    SurfaceFactory makeSurface_;
    brind::IslandLayout::TextMeasure measure_;
    bool reduceMotion_ = false;
    std::optional<QPoint> fullScreenCentre_;
    bool screenShared_ = false;
    IslandContent* content_ = nullptr;
    std::function<bool(const IslandSurface::DropEvent&)> dropHandler_;
    std::function<void(ShelfDragGestures::Gesture)> shelfGestureHandler_;
    std::optional<brind::LiveActivity> idleWings_;
    std::vector<Entry> entries_;
};

} // namespace vq
