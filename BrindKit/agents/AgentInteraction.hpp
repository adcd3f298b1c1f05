#pragma once

#include "BrindKit/agents/AgentQuestion.hpp"

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brind {

/// An interactive tool call the user answers from the island: questions to pick answers for, or a
/// plan to approve or send back.
struct AgentInteraction {
    struct Questions {
        std::vector<AgentQuestion> questions;
        friend bool operator==(const Questions&, const Questions&) = default;
    };
    struct Plan {
        std::string text;
        std::optional<std::string> filePath;
        friend bool operator==(const Plan&, const Plan&) = default;
    };

    static constexpr std::string_view questionTool = "AskUserQuestion";
    static constexpr std::string_view planTool = "ExitPlanMode";
    static constexpr std::array<std::string_view, 2> tools{questionTool, planTool};

    std::variant<Questions, Plan> value;

    static bool isInteractiveTool(std::string_view tool);

    /// The interaction behind a call of `tool` with the JSON text `inputJSON`; nothing for other
    /// tools, an input that is not a JSON object, or questions without one usable question.
    static std::optional<AgentInteraction> parse(std::string_view tool, std::string_view inputJSON);

    bool isPlan() const { return std::holds_alternative<Plan>(value); }

    friend bool operator==(const AgentInteraction&, const AgentInteraction&) = default;
};

} // namespace brind
