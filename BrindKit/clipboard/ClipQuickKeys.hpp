#pragma once

#include "BrindKit/clipboard/ClipItem.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace brind::ClipQuickKeys {

/// The palette row a digit key picks: 1 to 9 are rows 0 to 8; any other value picks none.
std::optional<std::size_t> index(std::int64_t digit);

/// The item at the row the digit picks, when there is one.
std::optional<ClipItem> item(std::int64_t digit, std::span<const ClipItem> items);

/// The shortcut shown on a row ("⌘1" for row 0); nothing beyond the ninth row.
std::optional<std::string> label(std::int64_t row);

/// The selected row after moving by `step` in a list of `count` rows; stops at the ends.
std::int64_t move(std::int64_t current, std::int64_t step, std::int64_t count);

} // namespace brind::ClipQuickKeys
