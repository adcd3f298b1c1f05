#include "BrindKit/agents/AgentDecision.hpp"

#include "BrindKit/foundation/Overloaded.hpp"
#include "BrindKit/foundation/Text.hpp"

namespace brind {

std::string_view AgentDecision::label() const {
    return std::visit(Overloaded{
                          [](const AllowUpdating&) { return std::string_view("allow"); },
                          [](const Deny&) { return std::string_view("deny"); },
                          [](const Allow&) { return std::string_view("allow"); },
                          [](const Ask&) { return std::string_view("ask"); },
                          [](const None&) { return std::string_view("none"); },
                      },
                      value);
}

std::optional<AgentDecision> AgentDecision::parse(std::string_view label, std::optional<std::string> reason) {
    const std::string lowered = Text::lowercased(label);
    if (lowered == "allow" || lowered == "approve" || lowered == "yes")
        return allow();
    if (lowered == "deny" || lowered == "block")
        return deny(std::move(reason));
    if (lowered == "ask")
        return ask();
    if (lowered == "none")
        return none();
    return std::nullopt;
}

} // namespace brind
