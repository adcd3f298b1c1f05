#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brind {

/// One multiple- or single-choice question an agent asks through its question tool.
struct AgentQuestion {
    struct Option {
        std::string label;
        std::optional<std::string> description;
        friend bool operator==(const Option&, const Option&) = default;
    };

    std::string question;
    /// A short tag shown above the question.
    std::optional<std::string> header;
    std::vector<Option> options;
    bool multiSelect = false;

    friend bool operator==(const AgentQuestion&, const AgentQuestion&) = default;
};

} // namespace brind
