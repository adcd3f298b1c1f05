#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace brind {

/// Changes an agent's settings file on disk without ever losing a byte the user wrote: a backup
/// goes next to the file before our first change, the new text replaces the file atomically, and
/// the replacement happens only if the file still holds the bytes the change was computed from
/// (otherwise the change is computed again from the new bytes), so an edit the user saves
/// meanwhile is kept. A symbolic link is followed, so dotfile managers keep their link.
namespace AgentSettingsFile {

/// The new contents for the current ones (nothing: the file does not exist); nothing as a result
/// means the file should not exist. An error leaves the file alone.
using Change = std::function<std::expected<std::optional<std::string>, std::string>(
    const std::optional<std::string>& current)>;

enum class Outcome {
    unchanged, ///< the change gave back the same bytes: nothing was written
    written,   ///< the file was created or replaced
    removed,   ///< the file was deleted
};

/// How often a change is computed again when the file keeps changing under us.
inline constexpr int maxAttempts = 5;

std::expected<Outcome, std::string> edit(const std::filesystem::path& path, const Change& change);

/// The copy of the file as it was before our first change: "<file>.vantaquill-backup".
std::filesystem::path backupPath(const std::filesystem::path& path);
/// The marker saying the file did not exist before our first change: "<file>.vantaquill-absent".
std::filesystem::path absentMarkerPath(const std::filesystem::path& path);

/// What the file held before our first change: the backup's bytes, nothing for "did not exist";
/// no value at all when there is no backup.
std::optional<std::optional<std::string>> original(const std::filesystem::path& path);

/// Removes the backup and the marker (after an uninstall has given the file back).
void forgetOriginal(const std::filesystem::path& path);

/// The contents uninstalling should leave: the original bytes when `current` without our entries
/// is what installing into the original gives without them (so nothing else changed since), else
/// `remove(current)`.
std::expected<std::optional<std::string>, std::string>
uninstalled(const std::optional<std::string>& current, const std::optional<std::optional<std::string>>& original,
            const Change& install, const Change& remove);

} // namespace AgentSettingsFile

} // namespace brind
