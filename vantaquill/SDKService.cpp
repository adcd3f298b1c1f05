#include "vantaquill/SDKService.hpp"

namespace vq {

SDKService::SDKService(MainThread mainThread, LiveActivityCenter& center, ShelfStore& shelf, Scheduler& scheduler,
                       HeadlessDisplay& display, AgentEventHandler agentEvents)
    : onMain(std::move(mainThread)), center(center), shelf(shelf), scheduler(scheduler), display(display),
      agentEvents(std::move(agentEvents)) {}

void SDKService::showActivity(brind::LiveActivity activity) {
    if (quiet_)
        activity.alert = false;
    onMain([this, activity = std::move(activity)]() mutable { center.post(std::move(activity)); });
}

void SDKService::endActivity(std::string id) {
    onMain([this, id = std::move(id)] { center.end(id); });
}

void SDKService::endActivities(std::string prefix) {
    onMain([this, prefix = std::move(prefix)] {
        std::vector<std::string> ids;
        for (const auto& activity : center.activities()) {
            if (activity.id.starts_with(prefix))
                ids.push_back(activity.id);
        }
        for (const auto& id : ids)
            center.end(id);
    });
}

void SDKService::showHUD(brind::HUDEvent event) {
    onMain([this, event = std::move(event)]() mutable { center.flash(std::move(event)); });
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

void SDKService::askConsent(std::string appID, std::string name, std::vector<brind::SDKScope>,
                            std::function<void(bool)> answer) {
    onMain([this, appID = std::move(appID), name = std::move(name), answer = std::move(answer)] {
        display.line("consent denied app=" + appID + " " + HeadlessDisplay::field("name", name) +
                     " reason=headless");
        answer(false);
    });
}

void SDKService::agentEvent(brind::AgentHookEvent event) {
    onMain([this, event = std::move(event)] { agentEvents(event); });
}

} // namespace vq
