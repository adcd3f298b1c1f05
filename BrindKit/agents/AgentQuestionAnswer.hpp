#pragma once

#include "BrindKit/agents/AgentDecision.hpp"
#include "BrindKit/agents/AgentQuestion.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// Turns the user's picks for an agent's questions, or their verdict on a plan, into a decision.
namespace AgentQuestionAnswer {

/// The labels picked so far, by question text.
using Picks = std::map<std::string, std::vector<std::string>>;

/// Allows the question tool with its input as received plus `answers`: each answered question's
/// text mapped to its chosen label (several labels joined with ", " in the order of the
/// options). Questions with no pick are
/// left out. An input that is not a JSON object is answered as if it were empty.
AgentDecision updatedInput(std::string_view originalJSON, const std::vector<AgentQuestion>& questions,
                           const Picks& picks);

/// Picks or unpicks `label`: a multiple-choice question adds it or removes it when present; a
/// single-choice question replaces its pick.
void toggle(std::string_view label, const AgentQuestion& question, Picks& picks);

/// The reason sent back with "keep planning", with the user's feedback when they wrote any.
std::string keepPlanningReason(const std::optional<std::string>& feedback);

} // namespace AgentQuestionAnswer

} // namespace brind
