#include "BrindKit/agents/AgentUsageReader.hpp"

#include "BrindKit/foundation/JSON.hpp"

#include <algorithm>

namespace brind {

namespace {

// No session comes near a trillion tokens: a larger count is held there, so that adding counts up
// stays far from overflowing.
constexpr std::int64_t largestCount = 1'000'000'000'000;

// A count that is missing, negative or not a whole number counts as zero.
std::int64_t count(const JSON& object, std::string_view key) {
    const auto value = JSONRead::integer(object, key);
    return value && *value > 0 ? std::min(*value, largestCount) : 0;
}

// Only lines naming a usage field are parsed: most of a transcript is prompts, tool results and
// replies, and building a tree for each would cost more than the rest of the read.
bool mayCarryUsage(std::string_view line) {
    return line.find("\"usage\"") != std::string_view::npos ||
           line.find("\"token_count\"") != std::string_view::npos;
}

} // namespace

void AgentUsageReader::feed(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const std::string_view piece = bytes.substr(0, end);
        if (skipping) {
            // The rest of an over-long line: nothing in it is read.
        } else if (partial.size() + piece.size() > maxLine) {
            partial.clear();
            skipping = true;
        } else if (end == std::string_view::npos || !partial.empty()) {
            partial.append(piece);
        }
        if (end == std::string_view::npos)
            return;
        if (!skipping) {
            if (partial.empty())
                readLine(piece);
            else
                readLine(partial);
        }
        partial.clear();
        skipping = false;
        bytes.remove_prefix(end + 1);
    }
}

void AgentUsageReader::readLine(std::string_view line) {
    if (!mayCarryUsage(line))
        return;
    const auto parsed = JSONText::parse(line);
    if (!parsed || !parsed->is_object())
        return;
    const JSON& entry = *parsed;
    const auto type = JSONRead::string(entry, "type");
    if (type == "assistant") {
        const JSON* message = JSONRead::present(entry, "message");
        const JSON* usage = message && message->is_object() ? JSONRead::present(*message, "usage") : nullptr;
        if (!usage || !usage->is_object())
            return;
        // Entries without an id (older or hand-made transcripts) fall back on the request id; with
        // neither, each line is a reply of its own.
        auto id = JSONRead::string(*message, "id");
        if (!id || id->empty())
            id = JSONRead::string(entry, "requestId");
        if (!id || id->empty())
            id = "#" + std::to_string(replies.size());
        readClaude(*id, Counts{.input = count(*usage, "input_tokens"),
                               .output = count(*usage, "output_tokens"),
                               .cacheRead = count(*usage, "cache_read_input_tokens"),
                               .cacheWritten = count(*usage, "cache_creation_input_tokens")});
    } else if (type == "event_msg") {
        const JSON* payload = JSONRead::present(entry, "payload");
        if (!payload || !payload->is_object() || JSONRead::string(*payload, "type") != "token_count")
            return;
        const JSON* info = JSONRead::present(*payload, "info");
        const JSON* total =
            info && info->is_object() ? JSONRead::present(*info, "total_token_usage") : nullptr;
        if (!total || !total->is_object())
            return;
        // Codex counts cached prompt tokens inside input_tokens, and reasoning inside output_tokens.
        const std::int64_t input = count(*total, "input_tokens");
        const std::int64_t cached = std::min(count(*total, "cached_input_tokens"), input);
        AgentUsage next{.inputTokens = input - cached,
                        .outputTokens = count(*total, "output_tokens"),
                        .cacheReadTokens = cached,
                        .cacheWrittenTokens = 0,
                        .contextTokens = std::nullopt};
        if (const JSON* last = JSONRead::present(*info, "last_token_usage"); last && last->is_object())
            next.contextTokens = count(*last, "input_tokens");
        else if (usage_)
            next.contextTokens = usage_->contextTokens;
        usage_ = next;
    }
}

void AgentUsageReader::readClaude(const std::string& id, const Counts& counts) {
    Counts& previous = replies.try_emplace(id).first->second;
    claudeTotal.input += counts.input - previous.input;
    claudeTotal.output += counts.output - previous.output;
    claudeTotal.cacheRead += counts.cacheRead - previous.cacheRead;
    claudeTotal.cacheWritten += counts.cacheWritten - previous.cacheWritten;
    previous = counts;
    usage_ = AgentUsage{.inputTokens = claudeTotal.input,
                        .outputTokens = claudeTotal.output,
                        .cacheReadTokens = claudeTotal.cacheRead,
                        .cacheWrittenTokens = claudeTotal.cacheWritten,
                        .contextTokens = counts.input + counts.cacheRead + counts.cacheWritten};
}

std::optional<AgentUsage> AgentUsageReader::readConversation(std::string_view document) {
    const auto parsed = JSONText::parse(document);
    const JSON* messages = parsed && parsed->is_object() ? JSONRead::present(*parsed, "messages") : nullptr;
    if (!messages || !messages->is_array())
        return std::nullopt;
    std::optional<AgentUsage> usage;
    for (const JSON& message : *messages) {
        const JSON* tokens = message.is_object() ? JSONRead::present(message, "tokens") : nullptr;
        if (!tokens || !tokens->is_object())
            continue;
        // Like Codex, Gemini counts cached prompt tokens inside `input`; its thoughts are output.
        const std::int64_t input = count(*tokens, "input");
        const std::int64_t cached = std::min(count(*tokens, "cached"), input);
        if (!usage)
            usage.emplace();
        usage->inputTokens += input - cached;
        usage->cacheReadTokens += cached;
        usage->outputTokens += count(*tokens, "output") + count(*tokens, "thoughts");
        usage->contextTokens = input;
    }
    return usage;
}

} // namespace brind
