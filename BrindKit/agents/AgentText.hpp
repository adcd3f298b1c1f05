#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Small text helpers shared by the agent decoders and summaries.
namespace brind::AgentText {

/// The number of bytes of the line break starting at `offset`, or 0 when there is none there.
/// Line breaks are "\r\n" (one break), "\n", "\r", U+0085, U+2028 and U+2029.
std::size_t lineBreakLength(std::string_view text, std::size_t offset);

/// The text split at line breaks (empty lines kept).
std::vector<std::string_view> lines(std::string_view text);

/// `text` when it has fewer than `limit` characters; otherwise its first `keep` characters
/// followed by "…". Characters are user-perceived characters.
std::string truncated(std::string_view text, std::size_t limit, std::size_t keep);

} // namespace brind::AgentText
