#pragma once

#include "BrindKit/sdk/SDKBridgeDelegate.hpp"
#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/ShelfStore.hpp"

#include <chrono>
#include <expected>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace brind {
class SDKHTTPServer;
}

namespace vq {

/// The application's side of the SDK bridge. The bridge calls it on the SDK thread; every call hops
/// to the main thread (through `MainThread`) before touching the center, the shelf or the agents,
/// and answers go back through the callbacks the bridge passed, which may be called on any thread.
class SDKService final : public brind::SDKBridgeDelegate {
public:
    /// Runs a function on the main thread, later.
    using MainThread = std::function<void(std::function<void()>)>;
    using AgentEventHandler = std::function<void(const brind::AgentHookEvent&)>;

    /// `consents` is the island's prompt; without one (headless) every registration is denied.
    SDKService(MainThread mainThread, LiveActivityCenter& center, ShelfStore& shelf, Scheduler& scheduler,
               HeadlessDisplay& display, AgentEventHandler agentEvents, ConsentQueue* consents = nullptr);

    void showActivity(brind::LiveActivity activity) override;
    void endActivity(std::string id) override;
    void endActivities(std::string prefix) override;
    void showHUD(brind::HUDEvent event) override;
    /// Hands the press to `hudKeys` on the main thread; without one the island has no HUD keys.
    void stepHUD(brind::HUDKey key, brind::HUDSteps::Grid grid,
                 std::function<void(std::expected<brind::HUDEvent, brind::HUDStepFailure>)> done) override;
    void addToShelf(std::vector<std::string> paths, std::function<void(std::size_t added)> done) override;
    /// Hands the question to the island's prompt. Without a window there is nobody to ask: the
    /// question is answered "deny" and said on the display.
    void askConsent(std::string appID, std::string name, std::vector<brind::SDKScope> scopes,
                    std::function<void(bool allowed)> answer) override;
    void agentEvent(brind::AgentHookEvent event) override;

    /// Performs one HUD key press on the main thread (the island's HUD controller).
    using HUDKeys = std::function<std::expected<brind::HUDEvent, brind::HUDStepFailure>(brind::HUDKey,
                                                                                         brind::HUDSteps::Grid)>;
    /// Set once at start, before the server runs.
    void setHUDKeys(HUDKeys keys) { hudKeys = std::move(keys); }

    /// Runs a function later on the calling (SDK) thread, once the request in hand is answered.
    using Later = std::function<void(std::function<void()>)>;
    /// Set once at start, before the server runs: the main thread is then woken for queued activity
    /// changes only after the SDK thread has sent its reply, so the client does not wait for the wake.
    void setWakeLater(Later later) { wakeLater = std::move(later); }

    /// Runs a function on the SDK thread after a delay.
    using Timer = std::function<void(std::chrono::steady_clock::duration, std::function<void()>)>;
    /// Set once at start, before the server runs: a change that comes within `wakeSpacing` of the
    /// previous wake is then applied by a wake at the end of that spacing, with whatever else arrives
    /// meanwhile, instead of a wake of its own. Without a timer every wake is made at once.
    void setWakeTimer(Timer timer) { wakeTimer = std::move(timer); }
    /// The server's thread as the timer.
    static Timer timerOn(brind::SDKHTTPServer& server);
    /// Requests that come one after the other share the main thread's wakes: at most one per 2 ms, a
    /// delay nobody sees on the island (a frame is 16 ms), while a change after a quiet spell is
    /// applied at once.
    static constexpr std::chrono::milliseconds wakeSpacing{2};

private:
    /// An activity to show, one to end, or every activity whose id starts with a prefix to end.
    struct ActivityChange {
        enum class Kind { show, end, endPrefix } kind;
        brind::LiveActivity activity;
        std::string id; ///< the id, or the prefix
    };
    /// Queues a change for the main thread, in arrival order. Only the first change of an empty queue
    /// wakes the main thread: changes that arrive before it has run go with that wake.
    void queueActivityChange(ActivityChange change);
    /// On the main thread: applies every queued change in one batch of the center.
    void applyActivityChanges();

    /// Says on the display how a question in the island's prompt was settled.
    void settled(const ConsentQueue::Request& request, ConsentQueue::Outcome outcome);

    MainThread onMain;
    LiveActivityCenter& center;
    ShelfStore& shelf;
    Scheduler& scheduler;
    HeadlessDisplay& display;
    AgentEventHandler agentEvents;
    ConsentQueue* consents;
    HUDKeys hudKeys;
    Later wakeLater;
    Timer wakeTimer;
    std::mutex pendingLock; // guards `pending` and `lastWake`
    std::vector<ActivityChange> pending;
    std::chrono::steady_clock::time_point lastWake{};
    std::vector<ActivityChange> spare; ///< main thread only: the emptied queue, kept for its storage
};

} // namespace vq
