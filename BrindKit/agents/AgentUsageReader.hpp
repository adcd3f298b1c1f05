#pragma once

#include "BrindKit/agents/AgentUsage.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Reads an agent's token usage from its transcript, a piece at a time: it is fed the bytes appended
/// since the last read and keeps a line cut off by the end of a read for the next one. Two JSON Lines
/// shapes are read, whatever the agent: Claude Code's assistant entries (`message.usage`, one model
/// reply written as several lines that repeat its `message.id`: each id counts once, its last line
/// wins) and Codex's rollout `token_count` events (the latest `total_token_usage` is the session's
/// total). Blank lines, lines that are not JSON and lines of any other shape are skipped; a line
/// longer than `maxLine` is skipped whole without being held in memory.
class AgentUsageReader {
  public:
    /// Longer lines are tool results or file contents, never a usage entry worth holding.
    static constexpr std::size_t maxLine = 8 * 1024 * 1024;

    /// Reads `bytes`, the next part of the transcript.
    void feed(std::string_view bytes);

    /// The usage read so far; nothing until one usage entry has been read.
    const std::optional<AgentUsage>& usage() const { return usage_; }

    /// Gemini CLI keeps its conversation as one JSON document, rewritten whole as it grows: the sum
    /// of the `tokens` its messages carry. Nothing when no message carries any, or when the text is
    /// not such a document.
    static std::optional<AgentUsage> readConversation(std::string_view document);

  private:
    struct Counts {
        std::int64_t input = 0;
        std::int64_t output = 0;
        std::int64_t cacheRead = 0;
        std::int64_t cacheWritten = 0;
    };

    void readLine(std::string_view line);
    void readClaude(const std::string& id, const Counts& counts);

    std::string partial;
    /// True while the rest of an over-long line is being passed over.
    bool skipping = false;
    /// Claude Code: the counts last seen for each reply, and their sum.
    std::map<std::string, Counts, std::less<>> replies;
    Counts claudeTotal;
    std::optional<AgentUsage> usage_;
};

} // namespace brind
