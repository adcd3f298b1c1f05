#pragma once

#include "BrindKit/agents/AgentAllowRule.hpp"
#include "BrindKit/agents/AgentHookEvent.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// The user's standing allow rules, in the order they were added, without duplicates. Stored as
/// JSON with the single key `rules`, in "agent-rules.json" in the application's data folder.
struct AgentRuleBook {
    static constexpr std::string_view fileName = "agent-rules.json";

    std::vector<AgentAllowRule> rules;

    /// The first rule in order that covers `event`.
    std::optional<AgentAllowRule> match(const AgentHookEvent& event) const;

    /// Adds `rule` at the end unless a rule with the same id is already there; true when added.
    bool add(const AgentAllowRule& rule);

    /// Removes the rule with this id; true when one was removed.
    bool remove(std::string_view id);

    /// The rules whose project is exactly `project`.
    std::vector<AgentAllowRule> rulesForProject(std::string_view project) const;

    JSON toJSON() const;
    /// Rules that cannot be read are skipped; repeated ids keep their first occurrence.
    static AgentRuleBook fromJSON(const JSON& json);

    /// Reads the book from `path`. A missing file is an empty book; a file that is not a JSON
    /// object is an error, and the caller keeps what it has rather than overwrite the file.
    static std::expected<AgentRuleBook, std::string> load(const std::filesystem::path& path);
    /// Writes the book atomically (mode 0600).
    std::expected<void, std::string> save(const std::filesystem::path& path) const;

    friend bool operator==(const AgentRuleBook&, const AgentRuleBook&) = default;
};

} // namespace brind
