#include "BrindKit/agents/AgentQuestionAnswer.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>

namespace brind::AgentQuestionAnswer {

AgentDecision updatedInput(std::string_view originalJSON, const std::vector<AgentQuestion>& questions,
                           const Picks& picks) {
    JSON input = JSON::parse(originalJSON, nullptr, false);
    if (!input.is_object())
        input = JSON::object();
    JSON answers = JSON::object();
    for (const AgentQuestion& question : questions) {
        const auto found = picks.find(question.question);
        if (found == picks.end() || found->second.empty())
            continue;
        // Labels follow the order of the options, whatever order they were clicked in.
        std::vector<std::string> ordered;
        for (const AgentQuestion::Option& option : question.options) {
            if (std::ranges::find(found->second, option.label) != found->second.end())
                ordered.push_back(option.label);
        }
        for (const std::string& label : found->second) {
            if (std::ranges::find(ordered, label) == ordered.end())
                ordered.push_back(label);
        }
        std::string joined;
        for (const std::string& label : ordered) {
            if (!joined.empty())
                joined += ", ";
            joined += label;
        }
        answers[question.question] = joined;
    }
    input["answers"] = std::move(answers);
    return AgentDecision::allowUpdating(std::move(input));
}

void toggle(std::string_view label, const AgentQuestion& question, Picks& picks) {
    std::vector<std::string>& chosen = picks[question.question];
    if (!question.multiSelect) {
        chosen.assign(1, std::string(label));
        return;
    }
    const auto found = std::ranges::find(chosen, label);
    if (found != chosen.end())
        chosen.erase(found);
    else
        chosen.emplace_back(label);
}

std::string keepPlanningReason(const std::optional<std::string>& feedback) {
    const std::string written = feedback ? Text::trimmed(*feedback) : std::string();
    if (written.empty())
        return "The user reviewed the plan in vantaquill and wants to keep planning. Ask what to change, then "
               "present a revised plan.";
    return "The user reviewed the plan in vantaquill and wants changes before you start: " + written;
}

} // namespace brind::AgentQuestionAnswer
