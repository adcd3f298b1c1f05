#pragma once

#include "BrindKit/agents/AgentJSON.hpp"

#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Edits the text of a JSON settings file one top-level member at a time, keeping every byte outside
/// that member: the user's comments, layout, key order and other tools' settings stay exactly as
/// they were. The member's new value is written in `AgentJSON`'s layout at the file's indentation.
namespace AgentSettingsText {

/// `text` (a JSON object, comments allowed) with the top-level member `key` replaced in place by
/// `value`, appended at the end of the object when absent, or removed when `value` is nothing.
/// Blank text counts as an empty object. Fails as `AgentJSON::parse` does on text that is not an
/// object.
std::expected<std::string, AgentJSON::ParseError> withMember(std::string_view text, std::string_view key,
                                                             const std::optional<AgentJSON>& value);

} // namespace AgentSettingsText

} // namespace brind
