#include "BrindKit/agents/AgentEventDecoder.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// The first byte picks the agent and whether an event name comes with the request; the rest is
// the body. Decoding must never crash, and a decoded event always has a session identifier.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const auto agent = brind::allAgentKinds[data[0] % brind::allAgentKinds.size()];
    const bool withEventName = (data[0] / brind::allAgentKinds.size()) % 2 == 1;
    const std::string_view body(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::optional<std::string_view> eventName =
        withEventName ? std::optional<std::string_view>("Notification") : std::nullopt;
    const auto event = brind::AgentEventDecoder::decode(agent, eventName, body, brind::Date{1'700'000'000});
    if (event && event->sessionID.empty())
        std::abort();
    if (event && event->progress && (*event->progress < 0 || *event->progress > 1))
        std::abort();
    return 0;
}
