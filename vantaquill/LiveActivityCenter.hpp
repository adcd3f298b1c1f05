#pragma once

#include "BrindKit/island/ActivityInterruption.hpp"
#include "BrindKit/island/ActivityQueue.hpp"
#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "vantaquill/Scheduler.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vq {

/// The application's single owner of the activity queue, used on the main thread only. Every
/// producer of activities talks to it: it stamps the time, publishes the ordered list to the views,
/// keeps the one expiry timer, pops the island open for alerting activities, flashes HUD events,
/// routes button presses back to whoever posted, and starts and stops the activity providers.
class LiveActivityCenter {
  public:
    /// A system source of activities. Its id is the `source` of everything it posts.
    class Provider {
      public:
        virtual ~Provider() = default;
        virtual std::string id() const = 0;
        virtual void start(LiveActivityCenter& center) = 0;
        virtual void stop() = 0;
    };

    /// Which published value changed, for the views to redraw.
    enum class Change { activities, hud, alerting };

    using ActionHandler = std::function<void(const std::string& activityID, const std::string& actionID)>;

    static constexpr double defaultHUDDuration = 1.6;
    static constexpr double defaultAlertDuration = 4.0;
    /// An expiry that is already due fires this much later instead of at once, so it cannot spin.
    static constexpr double expiryFloor = 0.05;

    explicit LiveActivityCenter(Scheduler& scheduler);
    ~LiveActivityCenter();
    LiveActivityCenter(const LiveActivityCenter&) = delete;
    LiveActivityCenter& operator=(const LiveActivityCenter&) = delete;

    /// The queue's ordered list as last published.
    const std::vector<brind::LiveActivity>& activities() const { return activities_; }
    /// The HUD flash being shown.
    const std::optional<brind::HUDEvent>& hud() const { return hud_; }
    /// The activity popped open as an alert.
    const std::optional<brind::LiveActivity>& alerting() const { return alerting_; }
    /// Bumped on every flash so a view restarts its animation even for a repeated event.
    std::uint64_t hudSerial() const { return hudSerial_; }
    const brind::ActivityQueue& queue() const { return queue_; }

    /// Told after a published value changed.
    std::function<void(Change)> onChange;
    /// Hears every press after the prefix handlers.
    ActionHandler onAction;
    double hudDuration = defaultHUDDuration;
    double alertDuration = defaultAlertDuration;

    /// While one lives, posts and ends change the queue at once but the list is republished (and
    /// the listeners told) only when the last one ends: a burst of SDK requests handled in one turn of
    /// the main loop costs one republish instead of one per request. Alerts are not held back.
    class Batch {
      public:
        explicit Batch(LiveActivityCenter& center) : center(center) { ++center.batchDepth_; }
        ~Batch() {
            if (--center.batchDepth_ == 0 && std::exchange(center.settleHeld_, false))
                center.settle();
        }
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

      private:
        LiveActivityCenter& center;
    };

    /// Posts at the current time; the result is what the queue did (the SDK reports it).
    brind::ActivityQueue::PostResult post(brind::LiveActivity activity);
    bool end(std::string_view id);
    bool dismiss(std::string_view id);
    /// Ends every activity of one source (a provider, or an SDK client being disconnected).
    std::vector<std::string> endAll(std::string_view source);

    void flash(brind::HUDEvent event);

    /// The user's focus: while focused only `important` and `critical` activities pop the island
    /// open. Turning focus on closes an alert that could not break through it.
    void setFocus(brind::ActivityInterruption::Focus focus);
    const brind::ActivityInterruption::Focus& focus() const { return focus_; }
    /// Whether an activity of this priority may interrupt now (pop open, play its sound).
    bool mayInterrupt(brind::ActivityPriority priority) const {
        return brind::ActivityInterruption::allows(priority, focus_);
    }

    /// A button, or the island body with the activity's `tapAction`, was pressed.
    void perform(std::string_view activityID, std::string_view actionID);
    /// Routes presses on activities whose id starts with `prefix`; registering the same prefix
    /// again replaces the earlier handler.
    void handleActions(std::string prefix, ActionHandler handler);

    /// Takes the provider; a provider with the same id replaces the earlier one, which is stopped
    /// first if it was running.
    void registerProvider(std::unique_ptr<Provider> provider);
    Provider* provider(std::string_view id) const;
    bool isStarted(std::string_view id) const;
    void start(std::string_view id);
    void stop(std::string_view id);
    void stopAll();

  private:
    void showAlert(const brind::LiveActivity& activity);
    void clearAlert();
    /// After the queue changed: drops an alert whose activity is gone, republishes and re-arms expiry.
    void settle();
    void publish();
    void armExpiry();
    void expiryFired();
    void notify(Change change);

    Scheduler& scheduler_;
    std::vector<brind::LiveActivity> activities_;
    std::optional<brind::HUDEvent> hud_;
    std::optional<brind::LiveActivity> alerting_;
    std::uint64_t hudSerial_ = 0;
    brind::ActivityQueue queue_;
    std::vector<std::pair<std::string, ActionHandler>> handlers_;
    std::map<std::string, std::unique_ptr<Provider>, std::less<>> providers_;
    std::unique_ptr<Scheduler::Timer> expiryTimer_;
    std::unique_ptr<Scheduler::Timer> hudTimer_;
    std::unique_ptr<Scheduler::Timer> alertTimer_;
    std::set<std::string, std::less<>> startedProviders_;
    brind::ActivityInterruption::Focus focus_;
    int batchDepth_ = 0;
    bool settleHeld_ = false;
};

} // namespace vq
