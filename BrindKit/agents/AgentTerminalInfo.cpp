#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <algorithm>

namespace brind {

namespace {

constexpr std::string_view devPrefix = "/dev/";
constexpr std::string_view ptsPrefix = "pts/";
constexpr std::size_t maxTTYNameLength = 20;
constexpr std::size_t maxPTSNumberLength = 10;
constexpr std::size_t maxSocketLength = 200;
constexpr std::size_t minPaneLength = 2;
constexpr std::size_t maxPaneLength = 8;
constexpr std::size_t maxSessionIDLength = 80;
constexpr std::size_t maxNumberLength = 10;

} // namespace

bool AgentTerminalInfo::isEmpty() const {
    return !tty && !tmuxPane && !sessionID && !processID && !kittyWindow && !weztermPane;
}

AgentTerminalInfo AgentTerminalInfo::merged(const std::optional<AgentTerminalInfo>& other) const {
    if (!other)
        return *this;
    AgentTerminalInfo result = *this;
    if (other->tty)
        result.tty = other->tty;
    if (other->tmuxSocket)
        result.tmuxSocket = other->tmuxSocket;
    if (other->tmuxPane)
        result.tmuxPane = other->tmuxPane;
    if (other->sessionID)
        result.sessionID = other->sessionID;
    if (other->processID)
        result.processID = other->processID;
    if (other->kittyWindow)
        result.kittyWindow = other->kittyWindow;
    if (other->weztermPane)
        result.weztermPane = other->weztermPane;
    return result;
}

JSON AgentTerminalInfo::toJSON() const {
    JSON json = JSON::object();
    if (tty)
        json["tty"] = *tty;
    if (tmuxSocket)
        json["tmuxSocket"] = *tmuxSocket;
    if (tmuxPane)
        json["tmuxPane"] = *tmuxPane;
    if (sessionID)
        json["sessionID"] = *sessionID;
    if (processID)
        json["processID"] = *processID;
    if (kittyWindow)
        json["kittyWindow"] = *kittyWindow;
    if (weztermPane)
        json["weztermPane"] = *weztermPane;
    return json;
}

AgentTerminalInfo AgentTerminalInfo::fromJSON(const JSON& json) {
    AgentTerminalInfo info;
    if (const auto value = JSONRead::string(json, "tty"))
        info.tty = validTTY(*value);
    if (const auto value = JSONRead::string(json, "tmuxSocket"))
        info.tmuxSocket = validSocket(*value);
    if (const auto value = JSONRead::string(json, "tmuxPane"))
        info.tmuxPane = validPane(*value);
    if (const auto value = JSONRead::string(json, "sessionID"))
        info.sessionID = validSessionID(*value);
    if (const auto value = JSONRead::string(json, "processID"))
        info.processID = validNumber(*value);
    if (const auto value = JSONRead::string(json, "kittyWindow"))
        info.kittyWindow = validNumber(*value);
    if (const auto value = JSONRead::string(json, "weztermPane"))
        info.weztermPane = validNumber(*value);
    return info;
}

std::optional<std::string> AgentTerminalInfo::validTTY(std::string_view text) {
    const std::string_view value = ASCII::trimmed(text);
    if (value.empty() || value == "??")
        return std::nullopt;
    const std::string_view name = value.starts_with(devPrefix) ? value.substr(devPrefix.size()) : value;
    if (name.starts_with(ptsPrefix)) {
        const std::string_view number = name.substr(ptsPrefix.size());
        if (number.empty() || number.size() > maxPTSNumberLength ||
            !std::ranges::all_of(number, ASCII::isDigit))
            return std::nullopt;
        return std::string(devPrefix) + std::string(name);
    }
    if (name.empty() || name.size() > maxTTYNameLength || !std::ranges::all_of(name, ASCII::isAlphanumeric))
        return std::nullopt;
    return std::string(devPrefix) + std::string(name);
}

std::optional<std::string> AgentTerminalInfo::validSocket(std::string_view text) {
    const std::string_view value = ASCII::trimmed(text);
    if (value.empty() || value.front() != '/' || value.size() > maxSocketLength ||
        value.find("..") != std::string_view::npos)
        return std::nullopt;
    const auto allowed = [](char c) {
        return ASCII::isAlphanumeric(c) || c == '/' || c == '.' || c == '_' || c == '-';
    };
    if (!std::ranges::all_of(value, allowed))
        return std::nullopt;
    return std::string(value);
}

std::optional<std::string> AgentTerminalInfo::validPane(std::string_view text) {
    const std::string_view value = ASCII::trimmed(text);
    if (value.size() < minPaneLength || value.size() > maxPaneLength || value.front() != '%' ||
        !std::ranges::all_of(value.substr(1), ASCII::isDigit))
        return std::nullopt;
    return std::string(value);
}

std::optional<std::string> AgentTerminalInfo::validNumber(std::string_view text) {
    const std::string_view value = ASCII::trimmed(text);
    if (value.empty() || value.size() > maxNumberLength || !std::ranges::all_of(value, ASCII::isDigit))
        return std::nullopt;
    return std::string(value);
}

std::optional<std::string> AgentTerminalInfo::validSessionID(std::string_view text) {
    const std::string_view value = ASCII::trimmed(text);
    const auto allowed = [](char c) { return ASCII::isAlphanumeric(c) || c == ':' || c == '-'; };
    if (value.empty() || value.size() > maxSessionIDLength || !std::ranges::all_of(value, allowed))
        return std::nullopt;
    return std::string(value);
}

} // namespace brind
