#include "vantaquill/SDKService.hpp"

#include "BrindKit/sdk/SDKHTTPServer.hpp"

#include <algorithm>
#include <memory>
#include <utility>

namespace vq {

SDKService::SDKService(MainThread mainThread, LiveActivityCenter& center, ShelfStore& shelf, Scheduler& scheduler,
                       HeadlessDisplay& display, AgentEventHandler agentEvents, ConsentQueue* consents)
    : onMain(std::move(mainThread)), center(center), shelf(shelf), scheduler(scheduler), display(display),
      agentEvents(std::move(agentEvents)), consents(consents) {
    if (consents)
        consents->onSettled = [this](const ConsentQueue::Request& request, ConsentQueue::Outcome outcome) {
            settled(request, outcome);
        };
}

void SDKService::showActivity(brind::LiveActivity activity) {
    queueActivityChange({ActivityChange::Kind::show, std::move(activity), {}});
}

void SDKService::endActivity(std::string id) {
    queueActivityChange({ActivityChange::Kind::end, {}, std::move(id)});
}

void SDKService::endActivities(std::string prefix) {
    queueActivityChange({ActivityChange::Kind::endPrefix, {}, std::move(prefix)});
}

void SDKService::queueActivityChange(ActivityChange change) {
    using Clock = std::chrono::steady_clock;
    bool wake = false;
    Clock::duration delay{};
    {
        std::lock_guard guard(pendingLock);
        wake = pending.empty();
        pending.push_back(std::move(change));
        if (wake && wakeTimer) {
            const auto moment = Clock::now();
            delay = std::max(Clock::duration::zero(), lastWake + wakeSpacing - moment);
            lastWake = moment + delay;
        }
    }
    if (!wake)
        return;
    // The change is queued already, in order; only the wake waits for the reply to be sent, or for
    // the end of the spacing after the previous wake.
    auto apply = [this] { onMain([this] { applyActivityChanges(); }); };
    if (delay > Clock::duration::zero())
        wakeTimer(delay, std::move(apply));
    else if (wakeLater)
        wakeLater(std::move(apply));
    else
        apply();
}

SDKService::Timer SDKService::timerOn(brind::SDKHTTPServer& server) {
    return [&server](std::chrono::steady_clock::duration delay, std::function<void()> work) {
        auto timer = std::make_shared<asio::steady_timer>(server.executor(), delay);
        timer->async_wait([timer, work = std::move(work)](std::error_code) { work(); });
    };
}

void SDKService::applyActivityChanges() {
    // The queues trade places, so the SDK thread queues into storage already allocated.
    std::vector<ActivityChange> changes = std::move(spare);
    {
        std::lock_guard guard(pendingLock);
        changes.swap(pending);
    }
    // Under load many requests arrive while the main thread is busy; the activity list is then
    // sorted, compared and shown once for all of them rather than once each.
    LiveActivityCenter::Batch batch(center);
    for (auto& change : changes) {
        switch (change.kind) {
        case ActivityChange::Kind::show:
            center.post(std::move(change.activity));
            break;
        case ActivityChange::Kind::end:
            center.end(change.id);
            break;
        case ActivityChange::Kind::endPrefix: {
            // The queue itself, since the published list waits for the end of the batch.
            std::vector<std::string> ids;
            for (const auto& [id, activity] : center.queue().items()) {
                if (id.starts_with(change.id))
                    ids.push_back(id);
            }
            for (const auto& id : ids)
                center.end(id);
            break;
        }
        }
    }
    changes.clear();
    spare = std::move(changes);
}

void SDKService::showHUD(brind::HUDEvent event) {
    onMain([this, event = std::move(event)]() mutable {
        // Activity changes queued before the flash, and perhaps waiting for a spaced wake, go first.
        applyActivityChanges();
        center.flash(std::move(event));
    });
}

void SDKService::stepHUD(brind::HUDKey key, brind::HUDSteps::Grid grid,
                         std::function<void(std::expected<brind::HUDEvent, brind::HUDStepFailure>)> done) {
    onMain([this, key, grid, done = std::move(done)] {
        if (!hudKeys)
            return done(std::unexpected(brind::HUDStepFailure{"This island steps no levels."}));
        done(hudKeys(key, grid));
    });
}

void SDKService::addToShelf(std::vector<std::string> paths, std::function<void(std::size_t)> done) {
    onMain([this, paths = std::move(paths), done = std::move(done)] {
        const auto added = shelf.addFiles(paths, scheduler.now());
        for (const auto& entry : added)
            display.line("shelf added " + HeadlessDisplay::field("path", entry.path.value_or("")) + " " +
                         HeadlessDisplay::field("title", entry.title));
        if (!shelf.lastError().empty())
            display.error("couldn't write " + shelf.lastError());
        done(added.size());
    });
}

void SDKService::askConsent(std::string appID, std::string name, std::vector<brind::SDKScope> scopes,
                            std::function<void(bool)> answer) {
    onMain([this, appID = std::move(appID), name = std::move(name), scopes = std::move(scopes),
            answer = std::move(answer)]() mutable {
        if (!consents) {
            display.line("consent denied app=" + appID + " " + HeadlessDisplay::field("name", name) +
                         " reason=headless");
            answer(false);
            return;
        }
        std::string scopeNames;
        for (const auto scope : scopes)
            scopeNames += (scopeNames.empty() ? "" : ",") + std::string(brind::name(scope));
        display.line("consent asked app=" + appID + " " + HeadlessDisplay::field("name", name) +
                     " scopes=" + scopeNames);
        consents->ask(std::move(appID), std::move(name), std::move(scopes), std::move(answer));
    });
}

void SDKService::settled(const ConsentQueue::Request& request, ConsentQueue::Outcome outcome) {
    const std::string app = "app=" + request.appID + " " + HeadlessDisplay::field("name", request.name);
    switch (outcome) {
    case ConsentQueue::Outcome::allowed:
        display.line("consent allowed " + app);
        return;
    case ConsentQueue::Outcome::deniedByUser:
        display.line("consent denied " + app + " reason=user");
        return;
    case ConsentQueue::Outcome::timedOut:
        display.line("consent denied " + app + " reason=timeout");
        return;
    case ConsentQueue::Outcome::replaced:
        display.line("consent denied " + app + " reason=replaced");
        return;
    }
    std::unreachable();
}

void SDKService::agentEvent(brind::AgentHookEvent event) {
    onMain([this, event = std::move(event)] {
        // The agents post activities of their own: the SDK's queued before this event go first.
        applyActivityChanges();
        agentEvents(event);
    });
}

} // namespace vq
