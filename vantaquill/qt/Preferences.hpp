#pragma once

#include "BrindKit/sdk/SDKBridge.hpp"

#include <QSettings>

#include <filesystem>

namespace vq {

/// The preferences store: an INI file at $XDG_CONFIG_HOME/vantaquill/vantaquill.conf with dotted keys
/// ("agents.approvalTimeout"). Every key has a default; the file need not exist.
class Preferences {
public:
    explicit Preferences(const std::filesystem::path& file);

    /// The bridge's configuration from "agents.approvalTimeout", "agents.approveEveryTool",
    /// "agents.approvalsEnabled", "agents.answerQuestions", "sdk.consentTimeout" and
    /// "sdk.registrationsEnabled".
    brind::SDKBridge::Config bridgeConfig() const;

    /// "agents.pruneInterval": seconds between sweeps of stale agent sessions (default 60).
    double agentPruneInterval() const;

private:
    double number(const char* key, double fallback) const;
    bool flag(const char* key, bool fallback) const;

    QSettings settings;
};

} // namespace vq
