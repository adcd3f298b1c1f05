#pragma once

#include <expected>
#include <filesystem>
#include <string>

namespace vq::TokenFiles {

/// The secret the installed agent hook scripts send: "hook-token" in the data folder, created once
/// (mode 0600, in a 0700 folder, both made so again when found wider) and kept across launches so
/// that installed hooks keep working.
std::expected<std::string, std::string> loadOrCreateHookToken(const std::filesystem::path& dataFolder);

/// Writes the `vantaquill` command's token (mode 0600, folders created) where the command reads it.
std::expected<void, std::string> writeCLIToken(const std::filesystem::path& file, const std::string& token);

} // namespace vq::TokenFiles
