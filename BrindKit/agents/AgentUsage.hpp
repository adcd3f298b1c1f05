#pragma once

#include <cstdint>
#include <optional>

namespace brind {

/// The tokens one agent session has used, as read from its transcript by `AgentUsageReader`.
struct AgentUsage {
    /// Prompt tokens sent without the cache.
    std::int64_t inputTokens = 0;
    std::int64_t outputTokens = 0;
    /// Prompt tokens served from the cache; they are counted again on every call that reuses them.
    std::int64_t cacheReadTokens = 0;
    /// Prompt tokens written to the cache (Claude Code only; Codex does not report them).
    std::int64_t cacheWrittenTokens = 0;
    /// The prompt size of the latest model call, cache included: how full the context window is.
    std::optional<std::int64_t> contextTokens;

    /// The total shown beside a session: the tokens the session has spent, that is input, output and
    /// cache-written. Cache reads are left out: the same cached prompt is read again on every turn,
    /// so adding them up would count one conversation many times over.
    std::int64_t spent() const { return inputTokens + outputTokens + cacheWrittenTokens; }

    friend bool operator==(const AgentUsage&, const AgentUsage&) = default;
};

} // namespace brind
