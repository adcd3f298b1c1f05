#include "BrindKit/widgets/WidgetJSONRead.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

namespace brind::WidgetJSONRead {

std::optional<int> integer(const JSON& value) {
    constexpr auto lowest = std::numeric_limits<int>::min();
    constexpr auto highest = std::numeric_limits<int>::max();
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        return number <= static_cast<std::uint64_t>(highest) ? std::optional<int>(static_cast<int>(number))
                                                             : std::nullopt;
    }
    if (value.is_number_integer()) {
        const auto number = value.get<std::int64_t>();
        return number >= lowest && number <= highest ? std::optional<int>(static_cast<int>(number)) : std::nullopt;
    }
    if (value.is_number_float()) {
        const double number = value.get<double>();
        if (std::trunc(number) != number || number < lowest || number > highest)
            return std::nullopt;
        return static_cast<int>(number);
    }
    return std::nullopt;
}

std::optional<int> integer(const JSON& object, std::string_view key) {
    const JSON* value = JSONRead::member(object, key);
    if (!value)
        return std::nullopt;
    return integer(*value);
}

} // namespace brind::WidgetJSONRead
