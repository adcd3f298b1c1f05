#pragma once

#include <expected>
#include <filesystem>
#include <string>

namespace vq {

/// "Launch at login": the user's XDG autostart entry, $XDG_CONFIG_HOME/autostart/vantaquill.desktop,
/// which every desktop that follows the autostart convention starts with the session.
class AutostartEntry {
public:
    /// `program` is what the entry runs (the island's own path).
    AutostartEntry(std::filesystem::path file, std::string program)
        : file(std::move(file)), program(std::move(program)) {}

    /// The entry in the user's configuration folder ($XDG_CONFIG_HOME, default ~/.config).
    static std::filesystem::path userFile();

    /// Whether the entry exists and is not switched off with "Hidden=true".
    bool enabled() const;

    /// Writes the entry, or removes it; the error says what failed.
    std::expected<void, std::string> setEnabled(bool on) const;

    /// The entry's text.
    std::string contents() const;

private:
    std::filesystem::path file;
    std::string program;
};

} // namespace vq
