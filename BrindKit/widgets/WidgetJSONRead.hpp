#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string_view>

namespace brind::WidgetJSONRead {

/// A whole number that fits an `int`: JSON integers, and numbers written with a fraction of zero
/// ("4.0"), which some writers produce for integers. Anything else is nothing.
std::optional<int> integer(const JSON& value);

/// The member `key` of an object read as by `integer(value)`; nothing when it is missing.
std::optional<int> integer(const JSON& object, std::string_view key);

} // namespace brind::WidgetJSONRead
