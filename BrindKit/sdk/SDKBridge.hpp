#pragma once

#include "BrindKit/agents/AgentApprovalBroker.hpp"
#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKBridgeDelegate.hpp"
#include "BrindKit/sdk/SDKConnection.hpp"
#include "BrindKit/sdk/SDKHTTPRequest.hpp"
#include "BrindKit/sdk/SDKRateLimiter.hpp"
#include "BrindKit/sdk/SDKRouteResult.hpp"

#include <asio.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace brind {

/// The router behind the local HTTP server: checks every request (guard, route, token, scope, rate),
/// turns bodies into live activities, HUD flashes, shelf files and agent events for its delegate,
/// holds agent hook calls open while the approval broker waits, and keeps the clients' event streams.
///
/// Each family of routes is written in a file of its own (SDKBridgeRegistration.cpp for status,
/// registration and disconnecting, SDKBridgeActivities.cpp, SDKBridgeHUD.cpp, SDKBridgeShelf.cpp,
/// SDKBridgeEvents.cpp, SDKBridgeAgents.cpp); SDKBridge.cpp holds the guard, the route table and the
/// token, scope and rate checks every request goes through.
///
/// `handle` runs on the server's thread. The lock guards the configuration, both rate limiters, the
/// pending consent prompts and the subscribers; it is never held across a `co_await`.
class SDKBridge {
public:
    struct Config {
        double approvalTimeout = 60;       ///< seconds an agent approval waits for the user
        bool approveEveryTool = false;     ///< ask also for tools that only read
        bool approvalsEnabled = true;      ///< agent approvals are shown in the island
        bool answerQuestions = true;       ///< agent questions can be answered in the island
        double consentTimeout = 120;       ///< seconds a consent prompt waits
        bool registrationsEnabled = true;  ///< new clients may register
        std::string version = "1.0";       ///< reported by GET /v1/status
        /// How the island is shown ("x11", "layer-shell" or "headless") and why; GET /v1/status
        /// reports them when the application has set them.
        std::string surface;
        std::string surfaceReason;

        friend bool operator==(const Config&, const Config&) = default;
    };

    static constexpr std::uint16_t defaultPort = 47829;
    static constexpr double keepAliveInterval = 25;

    /// Tools that only read: their permission requests are not held for the user unless
    /// `approveEveryTool` is set.
    static const std::set<std::string, std::less<>> readOnlyTools;

    SDKBridge(SDKAuthorizer& auth, AgentApprovalBroker& broker, std::string hookToken,
              std::uint16_t port = defaultPort);

    void setDelegate(std::weak_ptr<SDKBridgeDelegate> delegate);

    Config config() const;
    void setConfig(Config config);

    /// The port the server is bound to; the Host header is checked against it.
    void setPort(std::uint16_t port);
    std::uint16_t port() const;

    /// The moment used for tokens, limits and decoded activities; tests replace it.
    void setClock(std::function<Date()> clock);

    /// The server's handler.
    asio::awaitable<SDKRouteResult> handle(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection);

    /// The answer to a request that needs no waiting (the guard's and the authoriser's refusals,
    /// unknown paths, the status, posting and ending activities), or nothing when the request must
    /// go to `handle`. Runs on the server's thread as `SDKHTTPServer`'s immediate handler, so those
    /// requests cost no coroutine; `handle` gives the same answers for them.
    std::optional<SDKRouteResult> answerNow(const SDKHTTPRequest& request);

    /// Whether a hook event waits for the user: a permission request for a tool that does more than
    /// read (every tool with `approveEveryTool`), while approvals are enabled; or, while questions are
    /// answered in the island, a question or plan tool call whose input reads as one.
    bool needsDecision(const AgentHookEvent& event) const;

    /// Tells the client that created `activityID` that the user pressed `actionID` on it: an "action"
    /// event on each of the client's event streams. Callable from any thread.
    void publishAction(const std::string& activityID, const std::string& actionID);

    /// Revokes a client's token, ends what it shows and closes its event streams.
    void disconnect(const std::string& appID);

    std::size_t subscriberCount() const;

    /// "sdk." + appID + "." + the client's own id.
    static std::string activityID(std::string_view appID, std::string_view localID);

private:
    struct Subscriber {
        std::string appID;
        std::shared_ptr<SDKConnection> connection;
    };

    using Result = asio::awaitable<SDKRouteResult>;

    Result route(SDKHTTPRequest request, std::shared_ptr<SDKConnection> connection);
    /// Checks the bearer token (and `scope`, when one is required), then charges the client's rate.
    std::optional<SDKHTTPResponse> authorize(const SDKHTTPRequest& request, std::optional<SDKScope> scope,
                                             SDKClient& client);
    std::optional<SDKHTTPResponse> charge(const std::string& appID, Date moment);

    SDKRouteResult status() const;
    Result registerClient(const SDKHTTPRequest& request);
    SDKRouteResult postActivity(const SDKHTTPRequest& request, const SDKClient& client);
    SDKRouteResult deleteActivity(const std::string& localID, const SDKClient& client);
    Result postHUD(const SDKHTTPRequest& request);
    Result stepHUD(const JSON& body);
    Result postShelf(const SDKHTTPRequest& request);
    Result openStream(const SDKClient& client, std::shared_ptr<SDKConnection> connection);
    Result agentHook(const SDKHTTPRequest& request);
    Result agentEvent(const SDKHTTPRequest& request);
    asio::awaitable<AgentDecision> decide(const AgentHookEvent& event);

    /// The open event streams of one client.
    std::vector<std::shared_ptr<SDKConnection>> streamsOf(const std::string& appID) const;

    std::shared_ptr<SDKBridgeDelegate> delegateOrNull() const;
    Date now() const;

    SDKAuthorizer& auth;
    AgentApprovalBroker& broker;
    std::weak_ptr<SDKBridgeDelegate> delegate;
    std::string hookToken;
    mutable std::mutex lock;
    Config _config;
    SDKRateLimiter limiter;
    SDKRateLimiter registerLimiter;
    std::set<std::string> pendingConsents;
    std::map<std::string, Subscriber> subscribers;
    std::uint16_t _port;
    // The status reply's body, written once for the current configuration and port (under `lock`;
    // emptied when either changes).
    mutable std::string statusBody;
    std::function<Date()> clock;
};

} // namespace brind
