#pragma once

#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/HUDKey.hpp"
#include "BrindKit/island/HUDStepFailure.hpp"
#include "BrindKit/island/HUDSteps.hpp"
#include "BrindKit/island/LiveActivity.hpp"
#include "BrindKit/sdk/SDKScope.hpp"

#include <cstddef>
#include <expected>
#include <functional>
#include <string>
#include <vector>

namespace brind {

/// How the SDK bridge reaches the application. The bridge calls it from the SDK thread; the
/// application's implementation hops to its main thread. Answers may come back on any thread.
class SDKBridgeDelegate {
public:
    virtual ~SDKBridgeDelegate() = default;

    /// Shows a live activity, or updates the one with the same id.
    virtual void showActivity(LiveActivity activity) = 0;

    /// Ends one live activity.
    virtual void endActivity(std::string id) = 0;

    /// Ends every live activity whose id begins with `prefix` (a disconnected client's).
    virtual void endActivities(std::string prefix) = 0;

    /// Flashes a HUD in the island.
    virtual void showHUD(HUDEvent event) = 0;

    /// Performs one press of a volume, brightness or keyboard-light key as the island's own key
    /// would: the level changes on the grid and the new level is flashed. `done` receives the event
    /// flashed, or why nothing changed.
    virtual void stepHUD(HUDKey key, HUDSteps::Grid grid,
                         std::function<void(std::expected<HUDEvent, HUDStepFailure>)> done) = 0;

    /// Adds existing absolute paths to the shelf; `done` receives how many were added.
    virtual void addToShelf(std::vector<std::string> paths, std::function<void(std::size_t added)> done) = 0;

    /// Asks the user whether a new client may connect with these scopes; `answer` receives the
    /// choice (true to allow). An answer that never comes counts as a denial after the time-out.
    virtual void askConsent(std::string appID, std::string name, std::vector<SDKScope> scopes,
                            std::function<void(bool allowed)> answer) = 0;

    /// An agent event, decoded, for the session tracker.
    virtual void agentEvent(AgentHookEvent event) = 0;
};

} // namespace brind
