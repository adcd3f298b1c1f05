#pragma once

#include "BrindKit/clipboard/ClipHistory.hpp"
#include "BrindKit/clipboard/ClipItem.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// The text of the archive's "index.json": `{"items": [records...], "version": 1}`, each record
/// what `ClipItem::toJSON` writes. A history of thousands of clips is megabytes of text, so both
/// directions work straight on the text instead of going through a JSON tree.
namespace ClipIndex {

inline constexpr int version = 1;

/// Compact text with sorted keys; text that is not UTF-8 is repaired, a date that is not finite is
/// written as null (which makes only that record unreadable).
std::string encode(const ClipHistory& history);

/// The items in list order, or nothing when the text is not an index this reader knows (damaged,
/// not an object, another version, "items" not an array). A record that does not decode is left
/// out alone. Gives the same answer as `decodeThroughTree`.
std::optional<std::vector<ClipItem>> decode(std::string_view text);

/// The plain reader: a whole JSON tree, then `ClipItem::fromJSON` on each record. `decode` hands
/// it whatever its fast path does not take.
std::optional<std::vector<ClipItem>> decodeThroughTree(std::string_view text);

} // namespace ClipIndex

} // namespace brind
