#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// The `notify` line of Codex's config.toml, edited as a line: Codex runs one notify program per
/// finished turn, so ours takes the place of the user's and runs theirs after "--" with the same
/// arguments. Nothing else in the file is read or rewritten, so comments and layout stay as they are.
namespace AgentCodexNotify {

/// A top-level `notify = [...]` (possibly spread over several lines) and where it stands.
struct Notify {
    std::vector<std::string> program;
    std::size_t begin = 0; ///< start of its first line
    std::size_t end = 0;   ///< just past its last line break (or the end of the text)
    friend bool operator==(const Notify&, const Notify&) = default;
};

/// The top-level notify setting, nothing when there is none; an error naming the problem when its
/// value is not an array of strings we can read back.
std::expected<std::optional<Notify>, std::string> find(std::string_view toml);

/// The program a notify setting of ours chains to (what follows "--"); empty when none.
std::vector<std::string> chained(const std::vector<std::string>& program);

/// True when the program is `vantaquill hook ...`.
bool isOurs(const std::vector<std::string>& program);

/// The text with our notify (`ours`, which ends with "--") in place of any earlier one, keeping a
/// user's own program chained after ours.
std::expected<std::string, std::string> installed(std::string_view toml, const std::vector<std::string>& ours);

/// The text without our notify, giving back the user's own program where ours chained one.
std::expected<std::string, std::string> removed(std::string_view toml);

/// `notify = [...]` with TOML basic strings, ending with a line break.
std::string line(const std::vector<std::string>& program);

} // namespace AgentCodexNotify

} // namespace brind
