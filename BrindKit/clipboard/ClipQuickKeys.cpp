#include "BrindKit/clipboard/ClipQuickKeys.hpp"

#include <algorithm>
#include <climits>

namespace brind::ClipQuickKeys {

namespace {

constexpr std::int64_t quickRows = 9;

} // namespace

std::optional<std::size_t> index(std::int64_t digit) {
    if (digit < 1 || digit > quickRows)
        return std::nullopt;
    return static_cast<std::size_t>(digit - 1);
}

std::optional<ClipItem> item(std::int64_t digit, std::span<const ClipItem> items) {
    const auto row = index(digit);
    if (!row || *row >= items.size())
        return std::nullopt;
    return items[*row];
}

std::optional<std::string> label(std::int64_t row) {
    if (row < 0 || row >= quickRows)
        return std::nullopt;
    return "\u2318" + std::to_string(row + 1);
}

std::int64_t move(std::int64_t current, std::int64_t step, std::int64_t count) {
    if (count < 1)
        return 0;
    // Saturating, so that no pair of arguments can overflow.
    const std::int64_t target = step > 0 ? (current > INT64_MAX - step ? INT64_MAX : current + step)
                                         : (current < INT64_MIN - step ? INT64_MIN : current + step);
    return std::clamp<std::int64_t>(target, 0, count - 1);
}

} // namespace brind::ClipQuickKeys
