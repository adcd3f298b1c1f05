#include "BrindKit/widgets/WidgetJSONRead.hpp"

#include <limits>

namespace brind::WidgetJSONRead {

std::optional<int> integer(const JSON& value) {
    const auto number = JSONRead::wholeNumber(value);
    if (!number || *number < std::numeric_limits<int>::min() || *number > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(*number);
}

std::optional<int> integer(const JSON& object, std::string_view key) {
    const JSON* value = JSONRead::member(object, key);
    if (!value)
        return std::nullopt;
    return integer(*value);
}

} // namespace brind::WidgetJSONRead
