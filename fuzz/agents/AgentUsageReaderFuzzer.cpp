#include "BrindKit/agents/AgentUsageReader.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// A transcript read in one piece and the same transcript read in pieces cut anywhere give the same
// usage, and no count read is ever negative.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const std::size_t step = 1 + data[0] % 64;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    brind::AgentUsageReader whole;
    whole.feed(text);
    brind::AgentUsageReader pieces;
    for (std::size_t at = 0; at < text.size(); at += step)
        pieces.feed(text.substr(at, step));
    if (whole.usage() != pieces.usage())
        std::abort();
    if (const auto& usage = whole.usage(); usage && (usage->inputTokens < 0 || usage->outputTokens < 0 ||
                                                     usage->cacheReadTokens < 0 || usage->cacheWrittenTokens < 0))
        std::abort();
    if (const auto conversation = brind::AgentUsageReader::readConversation(text);
        conversation && (conversation->inputTokens < 0 || conversation->outputTokens < 0))
        std::abort();
    return 0;
}
