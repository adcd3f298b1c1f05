#include "BrindKit/widgets/WidgetPlace.hpp"

#include <algorithm>
#include <vector>

namespace brind {

std::string WidgetPlace::displayName() const {
    std::vector<std::string> parts;
    for (const auto& part : {std::optional<std::string>(name), region, country}) {
        if (!part || part->empty() || std::ranges::find(parts, *part) != parts.end())
            continue;
        parts.push_back(*part);
    }
    std::string result;
    for (const auto& part : parts) {
        if (!result.empty())
            result += ", ";
        result += part;
    }
    return result;
}

JSON WidgetPlace::json() const {
    JSON object{{"name", name}, {"latitude", latitude}, {"longitude", longitude}};
    if (region)
        object["region"] = *region;
    if (country)
        object["country"] = *country;
    return object;
}

std::optional<WidgetPlace> WidgetPlace::fromJSON(const JSON& value) {
    const auto name = JSONRead::string(value, "name");
    const auto latitude = JSONRead::number(value, "latitude");
    const auto longitude = JSONRead::number(value, "longitude");
    if (!name || !latitude || !longitude)
        return std::nullopt;
    return WidgetPlace{*name, JSONRead::string(value, "region"), JSONRead::string(value, "country"), *latitude,
                       *longitude};
}

} // namespace brind
