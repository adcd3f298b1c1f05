#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>

namespace brind::AtomicFile {

/// Writes `contents` to `path` so that a reader (or a crash) only ever sees the old file or the new
/// one: a temporary file beside it is written, flushed to disk, given `mode`, then renamed over it.
/// The error is a sentence naming what failed.
std::expected<void, std::string> write(const std::filesystem::path& path, std::string_view contents,
                                       std::filesystem::perms mode = std::filesystem::perms::owner_read |
                                                                     std::filesystem::perms::owner_write);

/// Reads a whole file; nothing when it cannot be read.
std::expected<std::string, std::string> read(const std::filesystem::path& path);

/// Creates a folder and its parents; folders it creates get `mode` (0700 by default).
std::expected<void, std::string> ensureFolder(const std::filesystem::path& path,
                                              std::filesystem::perms mode = std::filesystem::perms::owner_all);

} // namespace brind::AtomicFile
