#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/foundation/UUID.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"
#include "BrindKit/sdk/SDKSSE.hpp"

namespace brind {

using namespace SDKBridgeRoute;

SDKBridge::Result SDKBridge::openStream(const SDKClient& client, std::shared_ptr<SDKConnection> connection) {
    connection->send(SDKHTTPResponse::sseHead());
    const std::string subscription = UUID::random().string();
    {
        std::lock_guard guard(lock);
        subscribers[subscription] = Subscriber{client.appID, connection};
    }
    connection->send(SDKSSE::event("hello", JSONText::compact(JSON{{"app", client.appID}})));

    auto executor = co_await asio::this_coro::executor;
    auto timer = std::make_shared<asio::steady_timer>(executor);
    connection->onClose([this, subscription, timer, executor] {
        {
            std::lock_guard guard(lock);
            subscribers.erase(subscription);
        }
        asio::post(executor, [timer] { timer->cancel(); });
    });
    asio::co_spawn(
        executor,
        [timer, connection]() -> asio::awaitable<void> {
            while (!connection->isClosed()) {
                timer->expires_after(seconds(keepAliveInterval));
                asio::error_code error;
                co_await timer->async_wait(asio::redirect_error(asio::use_awaitable, error));
                if (connection->isClosed())
                    break;
                if (!error)
                    connection->send(SDKSSE::comment("keep-alive"));
            }
        },
        asio::detached);
    co_return SDKRouteResult::stream();
}

void SDKBridge::publishAction(const std::string& id, const std::string& actionID) {
    const auto owner = auth.owner(id);
    if (!owner)
        return;
    const std::string localID = id.substr(activityID(owner->appID, "").size());
    const std::string data =
        JSONText::compact(JSON{{"id", id}, {"activity", localID}, {"action", actionID}});
    for (const auto& connection : streamsOf(owner->appID))
        connection->send(SDKSSE::event("action", data));
}

std::vector<std::shared_ptr<SDKConnection>> SDKBridge::streamsOf(const std::string& appID) const {
    std::vector<std::shared_ptr<SDKConnection>> streams;
    std::lock_guard guard(lock);
    for (const auto& [key, subscriber] : subscribers) {
        if (subscriber.appID == appID)
            streams.push_back(subscriber.connection);
    }
    return streams;
}

std::size_t SDKBridge::subscriberCount() const {
    std::lock_guard guard(lock);
    return subscribers.size();
}

} // namespace brind
