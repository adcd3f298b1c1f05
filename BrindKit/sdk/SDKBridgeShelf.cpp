#include "BrindKit/sdk/SDKBridge.hpp"

#include "BrindKit/sdk/SDKAwait.hpp"
#include "BrindKit/sdk/SDKBridgeRoute.hpp"

#include <chrono>
#include <filesystem>

namespace brind {

using namespace SDKBridgeRoute;

namespace {

// The island answers a shelf drop at once; this only bounds a delegate that never answers.
constexpr auto shelfAnswerTimeout = std::chrono::seconds(10);

} // namespace

SDKBridge::Result SDKBridge::postShelf(const SDKHTTPRequest& request) {
    const auto body = jsonObject(request.body);
    if (!body)
        co_return respond(jsonBodyRequired());
    std::vector<std::string> candidates;
    if (const JSON* list = JSONRead::member(*body, "paths"); list && list->is_array()) {
        for (const auto& item : *list) {
            if (item.is_string())
                candidates.push_back(item.get<std::string>());
        }
    } else if (const auto single = JSONRead::string(*body, "path")) {
        candidates.push_back(*single);
    }
    std::vector<std::string> paths;
    for (auto& candidate : candidates) {
        std::error_code error;
        const std::filesystem::path path(candidate);
        if (path.is_absolute() && std::filesystem::exists(path, error))
            paths.push_back(std::move(candidate));
    }
    if (paths.empty())
        co_return respond(SDKHTTPResponse::error(400, "no_files", "paths: existing absolute file paths."));
    const auto target = delegateOrNull();
    if (!target)
        co_return respond(unavailable());
    const auto added = co_await SDKAwait::answer<std::size_t>(
        shelfAnswerTimeout, [&](auto done) { target->addToShelf(std::move(paths), std::move(done)); });
    co_return respond(SDKHTTPResponse::json(200, JSON{{"ok", true}, {"added", added.value_or(0)}}));
}

} // namespace brind
