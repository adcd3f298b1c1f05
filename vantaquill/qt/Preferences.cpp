#include "vantaquill/qt/Preferences.hpp"

namespace vq {

Preferences::Preferences(const std::filesystem::path& file)
    : settings(QString::fromStdString(file.string()), QSettings::IniFormat) {}

double Preferences::number(const char* key, double fallback) const {
    bool ok = false;
    const double value = settings.value(key, fallback).toDouble(&ok);
    return ok && value >= 0 ? value : fallback;
}

bool Preferences::flag(const char* key, bool fallback) const {
    return settings.value(key, fallback).toBool();
}

brind::SDKBridge::Config Preferences::bridgeConfig() const {
    brind::SDKBridge::Config config;
    config.approvalTimeout = number("agents.approvalTimeout", config.approvalTimeout);
    config.approveEveryTool = flag("agents.approveEveryTool", config.approveEveryTool);
    config.approvalsEnabled = flag("agents.approvalsEnabled", config.approvalsEnabled);
    config.answerQuestions = flag("agents.answerQuestions", config.answerQuestions);
    config.consentTimeout = number("sdk.consentTimeout", config.consentTimeout);
    config.registrationsEnabled = flag("sdk.registrationsEnabled", config.registrationsEnabled);
    return config;
}

double Preferences::agentPruneInterval() const {
    return number("agents.pruneInterval", 60);
}

} // namespace vq
