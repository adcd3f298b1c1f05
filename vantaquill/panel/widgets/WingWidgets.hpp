#pragma once

#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/widgets/WidgetWingLayout.hpp"
#include "vantaquill/Scheduler.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vq {

class LiveActivityCenter;
class StatsSampler;
class StayAwake;
class WeatherProvider;

/// The widgets shown in the compact island's wings while no activity is there: one short text per
/// wing, built from the kinds the wing layout puts on each side. Statistics are sampled only while
/// a kind that needs them is shown (an activity in the wings hides them, so sampling stops).
class WingWidgets {
public:
    /// What the wings read; all outlive this. `weather` may be null (no weather provider).
    struct Sources {
        Scheduler& scheduler;
        LiveActivityCenter& center;
        StatsSampler& stats;
        StayAwake& stayAwake;
        const WeatherProvider* weather = nullptr;
        /// Where the kernel's device classes are ("/sys/class"): the battery kind reads its
        /// power-supply class.
        std::filesystem::path sysClass = "/sys/class";
        /// The disk kind shows how full the file system holding this folder is.
        std::filesystem::path diskFolder = "/";
    };

    /// The id and source of the wings' stand-in activity (never posted to the centre).
    static constexpr std::string_view activityID = "widgets.wings";

    explicit WingWidgets(Sources sources);
    ~WingWidgets();
    WingWidgets(const WingWidgets&) = delete;
    WingWidgets& operator=(const WingWidgets&) = delete;

    /// "widgets.wings.enabled" and the layout read from "widgets.wings.leading" / ".trailing".
    void apply(bool enabled, const brind::WidgetWingLayout& layout);
    /// Reads the sources again (an activity came or went, a forecast arrived).
    void refresh();

    /// What the wings show now: a stand-in activity whose leading and trailing glyphs are the two
    /// wings' texts, or nothing (switched off, nothing to show, or an activity has the wings).
    const std::optional<brind::LiveActivity>& wings() const { return wings_; }
    /// The two wings' texts as shown (empty when a wing shows nothing).
    const std::string& leadingText() const { return leadingText_; }
    const std::string& trailingText() const { return trailingText_; }
    /// Told when `wings` changed.
    std::function<void()> onChange;

    /// The layout from the two preferences: kind names separated by spaces or commas, unknown
    /// names left out, the layout's rules applied (two per wing, each kind once).
    static brind::WidgetWingLayout layoutNamed(std::string_view leading, std::string_view trailing);

    /// The text one kind shows now; empty when it has nothing to show (or no source here).
    std::string text(brind::WidgetSideKind kind) const;

private:
    bool usesStats() const;
    bool usesClock() const;
    void armClock();

    Sources sources_;
    bool enabled_ = false;
    brind::WidgetWingLayout layout_;
    std::optional<brind::LiveActivity> wings_;
    std::string leadingText_;
    std::string trailingText_;
    std::unique_ptr<Scheduler::Timer> clock_;
};

} // namespace vq
