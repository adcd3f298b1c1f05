#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace brind {

/// The answer to a held hook call, which `AgentDecisionEncoder` turns into the agent's own JSON.
struct AgentDecision {
    /// Allow, replacing the tool input with this JSON object (answers to questions).
    struct AllowUpdating {
        JSON input;
        friend bool operator==(const AllowUpdating&, const AllowUpdating&) = default;
    };
    /// Refuse, with an optional reason shown to the agent.
    struct Deny {
        std::optional<std::string> reason;
        friend bool operator==(const Deny&, const Deny&) = default;
    };
    /// Allow as asked.
    struct Allow {
        friend bool operator==(const Allow&, const Allow&) = default;
    };
    /// Let the agent ask in its own terminal.
    struct Ask {
        friend bool operator==(const Ask&, const Ask&) = default;
    };
    /// No opinion: the agent carries on as if no hook had answered.
    struct None {
        friend bool operator==(const None&, const None&) = default;
    };

    std::variant<AllowUpdating, Deny, Allow, Ask, None> value = None{};

    static AgentDecision allowUpdating(JSON input) { return {AllowUpdating{std::move(input)}}; }
    static AgentDecision deny(std::optional<std::string> reason = std::nullopt) { return {Deny{std::move(reason)}}; }
    static AgentDecision allow() { return {Allow{}}; }
    static AgentDecision ask() { return {Ask{}}; }
    static AgentDecision none() { return {None{}}; }

    /// "allow" (also for `allowUpdating`), "deny", "ask" or "none".
    std::string_view label() const;

    /// A label from a script or the SDK, case ignored: "allow", "approve" and "yes" allow; "deny"
    /// and "block" deny with `reason`; "ask"; "none". Nothing for any other label.
    static std::optional<AgentDecision> parse(std::string_view label, std::optional<std::string> reason = std::nullopt);

    friend bool operator==(const AgentDecision&, const AgentDecision&) = default;
};

} // namespace brind
