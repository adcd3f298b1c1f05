#include "BrindKit/agents/AgentInteraction.hpp"

#include "BrindKit/foundation/JSON.hpp"

#include <algorithm>

namespace brind {

namespace {

std::optional<AgentQuestion> question(const JSON& element) {
    auto text = JSONRead::string(element, "question");
    if (!text)
        return std::nullopt;
    AgentQuestion result;
    result.question = std::move(*text);
    result.header = JSONRead::string(element, "header");
    result.multiSelect = JSONRead::boolean(element, "multiSelect").value_or(false);
    const JSON* options = JSONRead::member(element, "options");
    if (options && options->is_array()) {
        for (const JSON& option : *options) {
            // Options are objects with a label; a bare text is read as its own label.
            if (option.is_string()) {
                result.options.push_back({option.get<std::string>(), std::nullopt});
                continue;
            }
            if (auto label = JSONRead::string(option, "label"))
                result.options.push_back({std::move(*label), JSONRead::string(option, "description")});
        }
    }
    return result;
}

} // namespace

bool AgentInteraction::isInteractiveTool(std::string_view tool) {
    return std::ranges::find(tools, tool) != tools.end();
}

std::optional<AgentInteraction> AgentInteraction::parse(std::string_view tool, std::string_view inputJSON) {
    if (!isInteractiveTool(tool))
        return std::nullopt;
    const JSON input = JSON::parse(inputJSON, nullptr, false);
    if (!input.is_object())
        return std::nullopt;
    if (tool == planTool) {
        Plan plan;
        plan.text = JSONRead::string(input, "plan").value_or("");
        plan.filePath = JSONRead::string(input, "planFilePath").or_else([&] {
            return JSONRead::string(input, "plan_file_path");
        });
        return AgentInteraction{std::move(plan)};
    }
    Questions questions;
    const JSON* list = JSONRead::member(input, "questions");
    if (list && list->is_array()) {
        for (const JSON& element : *list) {
            if (auto parsed = question(element))
                questions.questions.push_back(std::move(*parsed));
        }
    }
    if (questions.questions.empty())
        return std::nullopt;
    return AgentInteraction{std::move(questions)};
}

} // namespace brind
