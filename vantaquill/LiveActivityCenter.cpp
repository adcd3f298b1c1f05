#include "vantaquill/LiveActivityCenter.hpp"

#include <algorithm>
#include <utility>

namespace vq {

using brind::ActivityPriority;
using brind::ActivityQueue;
using brind::LiveActivity;

LiveActivityCenter::LiveActivityCenter(Scheduler& scheduler) : scheduler_(scheduler) {}

// Timers die with the center (their handles are members), so no callback outlives it.
LiveActivityCenter::~LiveActivityCenter() {
    // Providers end their activities as they stop: they do it now, while the timers they reach
    // still exist, and with nobody outside left to tell.
    onChange = nullptr;
    stopAll();
    providers_.clear();
}

ActivityQueue::PostResult LiveActivityCenter::post(LiveActivity activity) {
    const std::string id = activity.id;
    const bool alert = activity.alert;
    const ActivityPriority priority = activity.priority;
    const auto result = queue_.post(std::move(activity), scheduler_.now());

    switch (result) {
    case ActivityQueue::PostResult::inserted:
        if (alert && mayInterrupt(priority))
            showAlert(*queue_.activity(id));
        break;
    case ActivityQueue::PostResult::updated: {
        const LiveActivity& stored = *queue_.activity(id);
        const bool alertingThis = alerting_ && alerting_->id == id;
        // An update pops the island open again only at raised importance.
        if (alert && !alertingThis && priority >= ActivityPriority::important && mayInterrupt(priority)) {
            showAlert(stored);
        } else if (alertingThis) {
            alerting_ = stored; // keeps the running alert timer
            notify(Change::alerting);
        }
        break;
    }
    case ActivityQueue::PostResult::unchanged:
        return result;
    case ActivityQueue::PostResult::suppressed:
        if (queue_.activity(id))
            return result;
        break;
    }
    settle();
    return result;
}

bool LiveActivityCenter::end(std::string_view id) {
    if (!queue_.end(id))
        return false;
    settle();
    return true;
}

bool LiveActivityCenter::dismiss(std::string_view id) {
    if (!queue_.dismiss(id))
        return false;
    settle();
    return true;
}

std::vector<std::string> LiveActivityCenter::endAll(std::string_view source) {
    auto removed = queue_.endAll(source);
    if (!removed.empty())
        settle();
    return removed;
}

void LiveActivityCenter::flash(brind::HUDEvent event) {
    hud_ = std::move(event);
    ++hudSerial_;
    hudTimer_ = scheduler_.schedule(hudDuration, [this] {
        hud_.reset();
        notify(Change::hud);
        hudTimer_.reset();
    });
    notify(Change::hud);
}

void LiveActivityCenter::setFocus(brind::ActivityInterruption::Focus focus) {
    focus_ = focus;
    if (alerting_ && !mayInterrupt(alerting_->priority))
        clearAlert();
}

void LiveActivityCenter::perform(std::string_view activityID, std::string_view actionID) {
    const std::string activity(activityID);
    const std::string action(actionID);
    // A handler may register others; walk a copy so the list can change underneath.
    const auto handlers = handlers_;
    for (const auto& [prefix, handler] : handlers) {
        if (activity.starts_with(prefix))
            handler(activity, action);
    }
    if (onAction)
        onAction(activity, action);
}

void LiveActivityCenter::handleActions(std::string prefix, ActionHandler handler) {
    std::erase_if(handlers_, [&prefix](const auto& entry) { return entry.first == prefix; });
    handlers_.emplace_back(std::move(prefix), std::move(handler));
}

void LiveActivityCenter::registerProvider(std::unique_ptr<Provider> provider) {
    if (!provider)
        return;
    std::string id = provider->id();
    if (providers_.contains(id))
        stop(id);
    providers_.insert_or_assign(std::move(id), std::move(provider));
}

LiveActivityCenter::Provider* LiveActivityCenter::provider(std::string_view id) const {
    const auto found = providers_.find(id);
    return found == providers_.end() ? nullptr : found->second.get();
}

bool LiveActivityCenter::isStarted(std::string_view id) const {
    return startedProviders_.contains(id);
}

void LiveActivityCenter::start(std::string_view id) {
    Provider* found = provider(id);
    if (!found || isStarted(id))
        return;
    startedProviders_.emplace(id);
    found->start(*this);
}

void LiveActivityCenter::stop(std::string_view id) {
    Provider* found = provider(id);
    const auto started = startedProviders_.find(id);
    if (!found || started == startedProviders_.end())
        return;
    startedProviders_.erase(started);
    found->stop();
    endAll(id);
}

void LiveActivityCenter::stopAll() {
    const std::vector<std::string> running(startedProviders_.begin(), startedProviders_.end());
    for (const std::string& id : running)
        stop(id);
}

void LiveActivityCenter::showAlert(const LiveActivity& activity) {
    alerting_ = activity;
    alertTimer_.reset();
    // A critical alert stays open until it is ended, dismissed or replaced.
    if (activity.priority != ActivityPriority::critical)
        alertTimer_ = scheduler_.schedule(alertDuration, [this] {
            alertTimer_.reset();
            alerting_.reset();
            notify(Change::alerting);
        });
    notify(Change::alerting);
}

void LiveActivityCenter::clearAlert() {
    alertTimer_.reset();
    alerting_.reset();
    notify(Change::alerting);
}

void LiveActivityCenter::settle() {
    if (batchDepth_ > 0) {
        settleHeld_ = true;
        return;
    }
    if (alerting_ && !queue_.activity(alerting_->id))
        clearAlert();
    publish();
    armExpiry();
}

void LiveActivityCenter::publish() {
    // Compared in place and copied only where the list differs: with hundreds of activities a full
    // copy on every post was most of the main thread's work for an SDK request.
    const auto order = queue_.orderedPointers();
    bool changed = order.size() != activities_.size();
    for (std::size_t i = 0; !changed && i < order.size(); ++i)
        changed = !(*order[i] == activities_[i]);
    if (!changed)
        return;
    activities_.resize(order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (!(*order[i] == activities_[i]))
            activities_[i] = *order[i];
    }
    notify(Change::activities);
}

void LiveActivityCenter::armExpiry() {
    expiryTimer_.reset();
    const auto next = queue_.nextExpiry();
    if (!next)
        return;
    const double delay = std::max(*next - scheduler_.now(), expiryFloor);
    expiryTimer_ = scheduler_.schedule(delay, [this] { expiryFired(); });
}

void LiveActivityCenter::expiryFired() {
    expiryTimer_.reset();
    queue_.purgeExpired(scheduler_.now());
    settle();
}

void LiveActivityCenter::notify(Change change) {
    if (onChange)
        onChange(change);
}

} // namespace vq
