#include "vantaquill/HeadlessConsole.hpp"

#include "BrindKit/agents/AgentAllowRule.hpp"

#include <algorithm>
#include <sstream>

namespace vq {

void HeadlessConsole::handle(std::string_view line) {
    std::istringstream words{std::string(line)};
    std::string command, first, second;
    words >> command >> first >> second;
    if (command.empty())
        return;
    if (command == "press" && !first.empty() && !second.empty()) {
        if (!center.queue().activity(first)) {
            display.line("console refused " + HeadlessDisplay::field("reason", "no activity " + first));
            return;
        }
        center.perform(first, second);
        display.line("console pressed id=" + first + " action=" + second);
        return;
    }
    if (command == "dismiss" && !first.empty()) {
        const bool dismissed = center.dismiss(first);
        display.line(dismissed ? "console dismissed id=" + first
                               : "console refused " + HeadlessDisplay::field("reason", first + " can't be dismissed"));
        return;
    }
    if (command == "answer" && !first.empty() && !second.empty()) {
        const auto decision = brind::AgentDecision::parse(second);
        if (!decision) {
            display.line("console refused " + HeadlessDisplay::field("reason", "answer allow, deny or ask"));
            return;
        }
        const bool resumed = agents.broker().answer(first, *decision, scheduler.now());
        display.line(resumed ? "console answered id=" + first + " decision=" + std::string(decision->label())
                             : "console refused " + HeadlessDisplay::field("reason", "no open request " + first));
        return;
    }
    if (command == "always" && !first.empty()) {
        alwaysAllow(first);
        return;
    }
    display.line("console refused " +
                 HeadlessDisplay::field("reason", "commands: press ACTIVITY ACTION, dismiss ACTIVITY, "
                                                  "answer REQUEST DECISION, always REQUEST"));
}

void HeadlessConsole::alwaysAllow(const std::string& id) {
    const auto open = agents.broker().openRequests();
    const auto request = std::ranges::find(open, id, &brind::AgentApprovalRequest::id);
    if (request == open.end()) {
        display.line("console refused " + HeadlessDisplay::field("reason", "no open request " + id));
        return;
    }
    const auto rule = brind::AgentAllowRule::suggested(request->event);
    if (!rule) {
        display.line("console refused " + HeadlessDisplay::field("reason", "no rule covers request " + id));
        return;
    }
    const auto outcome = agents.alwaysAllow(id, *rule);
    if (!outcome.saved)
        display.error(outcome.saved.error());
    display.line(outcome.resumed ? "console answered id=" + id + " decision=allow " +
                                       HeadlessDisplay::field("rule", rule->display())
                                 : "console refused " + HeadlessDisplay::field("reason", "no open request " + id));
}

} // namespace vq
