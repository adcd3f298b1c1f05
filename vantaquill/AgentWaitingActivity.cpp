#include "vantaquill/AgentWaitingActivity.hpp"

#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentKind.hpp"
#include "BrindKit/foundation/RGBA.hpp"

#include <string>

namespace vq::AgentWaitingActivity {

namespace {

// The agents' orange: distinct from the panel's blue accent, so a waiting agent stands out in the
// compact island beside a timer or a download.
const brind::RGBA waitingTint{1.0, 0x9F / 255.0, 0x0A / 255.0, 1.0};

std::string headline(const brind::AgentHookEvent& event) {
    const std::string agent(brind::displayName(event.agent));
    const auto interaction = event.toolName ? brind::AgentInteraction::parse(*event.toolName, event.toolInputJSON.value_or(""))
                                            : std::nullopt;
    if (!interaction)
        return agent + " needs approval";
    if (interaction->isPlan())
        return agent + " has a plan to review";
    return agent + " has a question";
}

} // namespace

std::optional<brind::LiveActivity> make(const std::vector<brind::AgentApprovalRequest>& open) {
    if (open.empty())
        return std::nullopt;
    const brind::AgentHookEvent& first = open.front().event;
    brind::LiveActivity activity;
    activity.id = std::string(activityID);
    activity.source = std::string(source);
    activity.priority = brind::ActivityPriority::important;
    activity.leading = brind::ActivityGlyph::symbol("terminal", waitingTint);
    activity.trailing = open.size() > 1 ? brind::ActivityGlyph::text(std::to_string(open.size()), waitingTint)
                                        : brind::ActivityGlyph::symbol("questionmark.circle", waitingTint);
    activity.title = headline(first);
    std::string subtitle = first.projectName();
    if (const auto& what = first.toolSummary ? first.toolSummary : first.toolName)
        subtitle += " · " + *what;
    if (open.size() > 1)
        subtitle += " · " + std::to_string(open.size() - 1) + " more waiting";
    activity.subtitle = std::move(subtitle);
    activity.tint = waitingTint;
    activity.alert = true;
    activity.dismissible = false;
    return activity;
}

} // namespace vq::AgentWaitingActivity
