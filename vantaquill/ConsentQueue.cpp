#include "vantaquill/ConsentQueue.hpp"

#include <algorithm>
#include <utility>

namespace vq {

ConsentQueue::ConsentQueue(Scheduler& scheduler, std::function<double()> timeout)
    : scheduler(scheduler), timeout(std::move(timeout)) {}

ConsentQueue::~ConsentQueue() {
    denyAll();
}

void ConsentQueue::denyAll() {
    for (auto& entry : std::exchange(entries, {}))
        entry.answer(false);
}

void ConsentQueue::ask(std::string appID, std::string name, std::vector<brind::SDKScope> scopes, Answer answer) {
    const auto earlier = std::ranges::find(entries, appID, [](const Entry& entry) { return entry.request.appID; });
    if (earlier != entries.end())
        settle(earlier->request.serial, Outcome::replaced);

    const double seconds = timeout();
    const std::uint64_t serial = nextSerial++;
    Entry entry{.request = {.serial = serial,
                            .appID = std::move(appID),
                            .name = std::move(name),
                            .scopes = std::move(scopes),
                            .deadline = scheduler.now() + seconds},
                .answer = std::move(answer),
                .timer = nullptr};
    entry.timer = scheduler.schedule(seconds, [this, serial] { settle(serial, Outcome::timedOut); });
    entries.push_back(std::move(entry));
    if (onChange)
        onChange();
}

bool ConsentQueue::answer(std::uint64_t serial, bool allowed) {
    const bool waiting = std::ranges::any_of(entries, [serial](const Entry& entry) { return entry.request.serial == serial; });
    if (!waiting)
        return false;
    settle(serial, allowed ? Outcome::allowed : Outcome::deniedByUser);
    return true;
}

std::vector<ConsentQueue::Request> ConsentQueue::pending() const {
    std::vector<Request> requests;
    requests.reserve(entries.size());
    for (const auto& entry : entries)
        requests.push_back(entry.request);
    return requests;
}

// The entry leaves the queue before anyone hears of it, so a click and the time-out racing for the
// same question find it gone the second time; the timer's handle is destroyed last, which is allowed
// from inside its own action.
void ConsentQueue::settle(std::uint64_t serial, Outcome outcome) {
    const auto found = std::ranges::find(entries, serial, [](const Entry& entry) { return entry.request.serial; });
    if (found == entries.end())
        return;
    Entry entry = std::move(*found);
    entries.erase(found);
    entry.answer(outcome == Outcome::allowed);
    if (onSettled)
        onSettled(entry.request, outcome);
    if (onChange)
        onChange();
}

} // namespace vq
