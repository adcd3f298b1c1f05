#pragma once

#include "BrindKit/agents/AgentHookEntries.hpp"
#include "BrindKit/agents/AgentKind.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vq {

/// Connects one coding agent to the island by writing hook entries into its configuration files
/// under a home folder, and undoes it. Every edit goes through `AgentSettingsFile` (backup,
/// atomic replace against the bytes read), JSON through `AgentSettingsText` (only the "hooks"
/// member is rewritten) and Codex's config.toml through a one-line edit.
class HookInstaller {
public:
    HookInstaller(brind::AgentKind agent, std::filesystem::path home);

    /// The agents the installer knows, in display order.
    static std::vector<brind::AgentKind> agents();

    brind::AgentKind agent() const { return agent_; }

    /// True when the agent seems to be used here: its folder exists or its program is on PATH.
    bool found() const;

    /// What was done to each file, one line each ("wrote ~/.claude/settings.json", ...).
    using Report = std::vector<std::string>;

    std::expected<Report, std::string> install(const brind::AgentHookTarget& target) const;
    std::expected<Report, std::string> uninstall(const brind::AgentHookTarget& target) const;

    /// One configuration file as it stands.
    struct FileState {
        std::filesystem::path path;
        bool exists = false;
        std::optional<std::string> problem; ///< why the file cannot be read, when it cannot
        std::vector<std::string> events;    ///< events with our entries
        std::size_t eventCount = 0;         ///< events we install there
        std::vector<std::string> programs;  ///< programs our entries run
        bool http = false;
    };
    struct Status {
        bool found = false;
        std::vector<FileState> files;
        std::vector<std::string> notes; ///< things the user should know (a switch that is off, ...)
    };
    Status status() const;

private:
    enum class Direction { install, uninstall };

    struct JSONFile {
        brind::AgentHookFile format;
        std::filesystem::path path;
    };

    std::vector<JSONFile> jsonFiles() const;
    std::optional<std::filesystem::path> tomlFile() const;
    std::filesystem::path folder() const;
    std::expected<Report, std::string> apply(Direction direction, const brind::AgentHookTarget& target) const;
    std::expected<std::string, std::string> edit(const std::filesystem::path& path, Direction direction,
                                                 const brind::AgentHookTarget& target,
                                                 const std::optional<brind::AgentHookFile>& format) const;

    brind::AgentKind agent_;
    std::filesystem::path home_;
};

} // namespace vq
