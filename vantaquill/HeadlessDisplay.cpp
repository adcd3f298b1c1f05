#include "vantaquill/HeadlessDisplay.hpp"

#include "BrindKit/foundation/JSON.hpp"

#include <cstdio>

namespace vq {

std::string HeadlessDisplay::field(std::string_view name, std::string_view value) {
    return std::string(name) + "=" + brind::JSONText::compact(brind::JSON(std::string(value)));
}

std::string HeadlessDisplay::number(std::string_view name, double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", value);
    return std::string(name) + "=" + buffer;
}

std::string HeadlessDisplay::describe(const brind::LiveActivity& activity) {
    std::string text = "id=" + activity.id + " source=" + activity.source +
                       " priority=" + std::string(brind::name(activity.priority)) + " " + field("title", activity.title);
    if (activity.subtitle)
        text += " " + field("subtitle", *activity.subtitle);
    if (activity.progress)
        text += " " + number("progress", *activity.progress);
    if (activity.expiresAt)
        text += " expiresAt=" + activity.expiresAt->iso8601();
    for (const auto& action : activity.actions)
        text += " " + field("action", action.id);
    return text;
}

std::string HeadlessDisplay::describe(const brind::HUDEvent& hud) {
    std::string text = "kind=" + std::string(brind::name(hud.kind));
    if (hud.value)
        text += " " + number("value", *hud.value);
    text += std::string(" muted=") + (hud.muted ? "true" : "false");
    text += " symbol=" + hud.resolvedSymbol();
    if (hud.label)
        text += " " + field("label", *hud.label);
    return text;
}

void HeadlessDisplay::activitiesChanged(const std::vector<brind::LiveActivity>& activities) {
    // Only activities that are new or changed are copied: with hundreds of SDK clients' activities,
    // copying the whole list on every change was most of the main thread's work per request.
    const std::uint64_t pass = ++passes;
    for (const auto& activity : activities) {
        if (const auto found = shown.find(activity.id); found != shown.end())
            found->second.seen = pass;
    }
    for (auto entry = shown.begin(); entry != shown.end();) {
        if (entry->second.seen == pass) {
            ++entry;
            continue;
        }
        write("activity ended id=" + entry->first);
        entry = shown.erase(entry);
    }
    // In the island's order, so that the first line names the activity the compact island shows.
    for (const auto& activity : activities) {
        const auto before = shown.find(activity.id);
        if (before == shown.end()) {
            write("activity shown " + describe(activity));
            shown.emplace(activity.id, Shown{activity, pass});
        } else if (!before->second.activity.sameContent(activity)) {
            write("activity updated " + describe(activity));
            before->second.activity = activity;
        }
    }
}

void HeadlessDisplay::alertChanged(const std::optional<brind::LiveActivity>& alerting) {
    if (alerting) {
        if (alertID != alerting->id)
            write("alert shown id=" + alerting->id + " " + field("title", alerting->title));
        alertID = alerting->id;
        return;
    }
    if (alertID)
        write("alert cleared id=" + *alertID);
    alertID.reset();
}

void HeadlessDisplay::hudChanged(const std::optional<brind::HUDEvent>& hud) {
    write(hud ? "hud shown " + describe(*hud) : std::string("hud cleared"));
}

void HeadlessDisplay::stateChanged(brind::IslandState state) {
    if (lastState == state)
        return;
    lastState = state;
    write("island state=" + std::string(brind::name(state)));
}

} // namespace vq
