#include "BrindKit/agents/AgentRuleBook.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <algorithm>
#include <system_error>

namespace brind {

std::optional<AgentAllowRule> AgentRuleBook::match(const AgentHookEvent& event) const {
    const auto found = std::ranges::find_if(rules, [&](const AgentAllowRule& rule) { return rule.matches(event); });
    if (found == rules.end())
        return std::nullopt;
    return *found;
}

bool AgentRuleBook::add(const AgentAllowRule& rule) {
    const std::string id = rule.id();
    if (std::ranges::any_of(rules, [&](const AgentAllowRule& existing) { return existing.id() == id; }))
        return false;
    rules.push_back(rule);
    return true;
}

bool AgentRuleBook::remove(std::string_view id) {
    const auto removed = std::erase_if(rules, [&](const AgentAllowRule& rule) { return rule.id() == id; });
    return removed > 0;
}

std::vector<AgentAllowRule> AgentRuleBook::rulesForProject(std::string_view project) const {
    std::vector<AgentAllowRule> result;
    std::ranges::copy_if(rules, std::back_inserter(result),
                         [&](const AgentAllowRule& rule) { return rule.project == project; });
    return result;
}

JSON AgentRuleBook::toJSON() const {
    JSON list = JSON::array();
    for (const AgentAllowRule& rule : rules)
        list.push_back(rule.toJSON());
    return {{"rules", std::move(list)}};
}

AgentRuleBook AgentRuleBook::fromJSON(const JSON& json) {
    AgentRuleBook book;
    const JSON* list = JSONRead::member(json, "rules");
    if (!list || !list->is_array())
        return book;
    for (const JSON& element : *list) {
        if (const auto rule = AgentAllowRule::fromJSON(element))
            book.add(*rule);
    }
    return book;
}

std::expected<AgentRuleBook, std::string> AgentRuleBook::load(const std::filesystem::path& path) {
    std::error_code error;
    const bool exists = std::filesystem::exists(path, error);
    if (error)
        return std::unexpected("Could not look for " + path.string() + ": " + error.message() + ".");
    if (!exists)
        return AgentRuleBook{};
    const auto text = AtomicFile::read(path);
    if (!text)
        return std::unexpected(text.error());
    const JSON json = JSON::parse(*text, nullptr, false);
    if (!json.is_object())
        return std::unexpected("The rules file " + path.string() + " is not a JSON object.");
    return fromJSON(json);
}

std::expected<void, std::string> AgentRuleBook::save(const std::filesystem::path& path) const {
    return AtomicFile::write(path, JSONText::pretty(toJSON()) + "\n");
}

} // namespace brind
