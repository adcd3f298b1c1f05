#include "BrindKit/agents/AgentText.hpp"

#include "BrindKit/foundation/Text.hpp"

namespace brind::AgentText {

namespace {
constexpr std::string_view ellipsis = "\xE2\x80\xA6";
} // namespace

std::size_t lineBreakLength(std::string_view text, std::size_t offset) {
    const std::string_view rest = text.substr(offset);
    if (rest.starts_with("\r\n"))
        return 2;
    if (rest.starts_with('\n') || rest.starts_with('\r'))
        return 1;
    if (rest.starts_with("\xC2\x85"))
        return 2;
    if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9"))
        return 3;
    return 0;
}

std::vector<std::string_view> lines(std::string_view text) {
    std::vector<std::string_view> result;
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = lineBreakLength(text, i);
        if (length == 0) {
            ++i;
            continue;
        }
        result.push_back(text.substr(start, i - start));
        i += length;
        start = i;
    }
    result.push_back(text.substr(start));
    return result;
}

std::string truncated(std::string_view text, std::size_t limit, std::size_t keep) {
    // Bytes bound characters from above: a short text needs no counting.
    if (text.size() < limit || Text::graphemeCount(text) < limit)
        return std::string(text);
    return Text::graphemePrefix(text, keep) + std::string(ellipsis);
}

} // namespace brind::AgentText
