#include "BrindKit/clipboard/ClipSettings.hpp"

namespace brind {

namespace {

// A value of another type, or a whole number past the signed range (which would otherwise wrap to a
// negative limit: a history of one item, no image small enough), keeps the default.
void readInteger(const JSON& object, std::string_view key, std::int64_t& field) {
    if (const auto value = JSONRead::integer(object, key))
        field = *value;
}

void readBoolean(const JSON& object, std::string_view key, bool& field) {
    if (const auto value = JSONRead::boolean(object, key))
        field = *value;
}

} // namespace

JSON ClipSettings::toJSON() const {
    JSON object = JSON::object();
    object["enabled"] = enabled;
    object["maxItems"] = maxItems;
    object["maxDays"] = maxDays;
    object["captureImages"] = captureImages;
    object["captureFiles"] = captureFiles;
    object["captureRichText"] = captureRichText;
    object["maxImageBytes"] = maxImageBytes;
    object["excludedBundleIDs"] = excludedBundleIDs;
    object["hotkeyEnabled"] = hotkeyEnabled;
    object["pasteDirectly"] = pasteDirectly;
    if (pausedUntil)
        object["pausedUntil"] = pausedUntil->secondsSince1970;
    return object;
}

ClipSettings ClipSettings::fromJSON(const JSON& value) {
    ClipSettings settings;
    readBoolean(value, "enabled", settings.enabled);
    readInteger(value, "maxItems", settings.maxItems);
    readInteger(value, "maxDays", settings.maxDays);
    readBoolean(value, "captureImages", settings.captureImages);
    readBoolean(value, "captureFiles", settings.captureFiles);
    readBoolean(value, "captureRichText", settings.captureRichText);
    readInteger(value, "maxImageBytes", settings.maxImageBytes);
    if (const JSON* excluded = JSONRead::member(value, "excludedBundleIDs"); excluded && excluded->is_array()) {
        // A list with a stray non-string keeps its strings: dropping the whole list would start
        // recording applications the user excluded.
        for (const JSON& entry : *excluded) {
            if (entry.is_string())
                settings.excludedBundleIDs.push_back(entry.get<std::string>());
        }
    }
    readBoolean(value, "hotkeyEnabled", settings.hotkeyEnabled);
    readBoolean(value, "pasteDirectly", settings.pasteDirectly);
    if (const auto until = JSONRead::number(value, "pausedUntil"))
        settings.pausedUntil = Date{*until};
    return settings;
}

} // namespace brind
