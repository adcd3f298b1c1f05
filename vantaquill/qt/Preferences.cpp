#include "vantaquill/qt/Preferences.hpp"

#include <algorithm>

namespace vq {

Preferences::Preferences(const std::filesystem::path& file)
    : settings(QString::fromStdString(file.string()), QSettings::IniFormat) {}

double Preferences::number(const char* key, double fallback) const {
    bool ok = false;
    const double value = settings.value(key, fallback).toDouble(&ok);
    return ok && value >= 0 ? value : fallback;
}

double Preferences::signedNumber(const char* key, double fallback) const {
    bool ok = false;
    const double value = settings.value(key, fallback).toDouble(&ok);
    return ok ? value : fallback;
}

std::string Preferences::text(const char* key, const std::string& fallback) const {
    return settings.value(key, QString::fromStdString(fallback)).toString().trimmed().toStdString();
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

Preferences::Island Preferences::island() const {
    Island island;
    island.size = brind::islandLayoutSizeNamed(text("island.size", "medium")).value_or(island.size);
    island.widthOffset = signedNumber("island.notchWidthOffset", island.widthOffset);
    island.heightOffset = signedNumber("island.notchHeightOffset", island.heightOffset);
    island.housing = text("island.housing", island.housing);
    island.displayModes = text("island.displayModes", island.displayModes);
    island.hoverToOpen = flag("island.hoverToOpen", island.hoverToOpen);
    island.hoverDelay = std::max(number("island.hoverDelay", island.hoverDelay), minimumHoverDelay);
    island.clickToOpen = flag("island.clickToOpen", island.clickToOpen);
    island.cornerRadius = number("island.cornerRadius", island.cornerRadius);
    island.hideInFullScreen = flag("island.hideInFullScreen", island.hideInFullScreen);
    island.reduceMotion = text("island.reduceMotion", island.reduceMotion);
    return island;
}

} // namespace vq
