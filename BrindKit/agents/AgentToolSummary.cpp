#include "BrindKit/agents/AgentToolSummary.hpp"

#include "BrindKit/agents/AgentText.hpp"
#include "BrindKit/foundation/ASCII.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace brind::AgentToolSummary {

namespace {

constexpr std::size_t flattenedLimit = 201;
constexpr std::size_t flattenedKeep = 197;
constexpr std::size_t shortPathParts = 3;
constexpr std::string_view returnSymbol = " \xE2\x8F\x8E ";
constexpr std::string_view ellipsisSlash = "\xE2\x80\xA6/";

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

constexpr std::array<std::string_view, 8> fileTools{"Edit",         "MultiEdit",  "Write",   "Read",
                                                    "NotebookEdit", "write_file", "replace", "read_file"};
constexpr std::array<std::string_view, 2> fetchTools{"WebFetch", "web_fetch"};
constexpr std::array<std::string_view, 2> searchTools{"WebSearch", "google_web_search"};
constexpr std::array<std::string_view, 4> patternTools{"Grep", "Glob", "search_file_content", "glob"};
constexpr std::array<std::string_view, 2> taskTools{"Task", "Agent"};

std::optional<std::string> nonEmpty(std::string text) {
    if (text.empty())
        return std::nullopt;
    return text;
}

std::optional<std::string> firstString(const JSON& input, std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (auto value = JSONRead::string(input, key))
            return value;
    }
    return std::nullopt;
}

} // namespace

std::string flattened(std::string_view text) {
    std::string joined;
    joined.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t length = AgentText::lineBreakLength(text, i)) {
            joined += returnSymbol;
            i += length;
            continue;
        }
        joined += text[i];
        ++i;
    }
    // Line breaks are replaced by now, so only spaces and tabs are left to trim.
    return AgentText::truncated(ASCII::trimmed(joined), flattenedLimit, flattenedKeep);
}

std::string shortPath(std::string_view path) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t slash = std::min(path.find('/', start), path.size());
        if (slash > start)
            parts.push_back(path.substr(start, slash - start));
        start = slash + 1;
    }
    if (parts.size() <= shortPathParts)
        return std::string(path);
    std::string result(ellipsisSlash);
    for (std::size_t i = parts.size() - shortPathParts; i < parts.size(); ++i) {
        result += parts[i];
        if (i + 1 < parts.size())
            result += '/';
    }
    return result;
}

std::optional<std::string> summary(std::string_view tool, const JSON* input) {
    if (!input || !input->is_object())
        return std::nullopt;
    if (contains(shellTools, tool)) {
        const auto command = JSONRead::string(*input, "command");
        return command ? nonEmpty(flattened(*command)) : std::nullopt;
    }
    if (contains(fileTools, tool)) {
        const auto path = firstString(*input, {"file_path", "notebook_path", "absolute_path", "path"});
        return path ? nonEmpty(shortPath(*path)) : std::nullopt;
    }
    if (contains(fetchTools, tool))
        return JSONRead::string(*input, "url").and_then(nonEmpty);
    if (contains(searchTools, tool))
        return JSONRead::string(*input, "query").and_then(nonEmpty);
    if (contains(patternTools, tool))
        return JSONRead::string(*input, "pattern").and_then(nonEmpty);
    if (contains(taskTools, tool)) {
        const auto text = firstString(*input, {"description", "prompt"});
        return text ? nonEmpty(flattened(*text)) : std::nullopt;
    }
    for (const std::string_view key : {"command", "file_path", "path", "url", "query", "description"}) {
        if (const auto value = JSONRead::string(*input, key); value && !value->empty())
            return nonEmpty(flattened(*value));
    }
    return std::nullopt;
}

} // namespace brind::AgentToolSummary
