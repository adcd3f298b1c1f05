#pragma once

#include "BrindKit/foundation/JSON.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// Where an agent runs: its tty, tmux socket and pane, and the terminal's own session identifier.
/// The hook route fills it from request headers after validating each one; a header that fails
/// validation is dropped. Every field that reaches a tmux argument or an automation script has
/// passed one of the validators below, which is what keeps those texts safe to embed.
struct AgentTerminalInfo {
    std::optional<std::string> tty;
    std::optional<std::string> tmuxSocket;
    std::optional<std::string> tmuxPane;
    std::optional<std::string> sessionID;
    /// The agent's process id, from which the terminal emulator is found by walking up the process
    /// tree (header x-vantaquill-pid).
    std::optional<std::string> processID = std::nullopt;
    /// kitty's window id ($KITTY_WINDOW_ID, header x-vantaquill-kitty-window).
    std::optional<std::string> kittyWindow = std::nullopt;
    /// WezTerm's pane id ($WEZTERM_PANE, header x-vantaquill-wezterm-pane).
    std::optional<std::string> weztermPane = std::nullopt;

    /// True when there is neither tty, pane nor session identifier (a socket alone says nothing
    /// about where to go).
    bool isEmpty() const;

    /// Field by field, `other`'s value where it has one, else this one's.
    AgentTerminalInfo merged(const std::optional<AgentTerminalInfo>& other) const;

    /// The fields under their own names; absent fields are left out.
    JSON toJSON() const;
    /// Reads the fields leniently (a field of another type is absent) and passes each through its
    /// validator, so a stored record can never smuggle an unchecked value into a script.
    static AgentTerminalInfo fromJSON(const JSON& json);

    // Validators: each trims blanks at both ends, returns the cleaned value or nothing.

    /// A device path. "??" (no terminal) gives nothing; a bare name gets "/dev/" prefixed; the name
    /// after "/dev/" has 1 to 20 ASCII letters or digits. Linux pseudo-terminals live at
    /// /dev/pts/N, so "pts/" followed by 1 to 10 digits is accepted too, with or without "/dev/".
    static std::optional<std::string> validTTY(std::string_view text);
    /// A tmux socket path: absolute, at most 200 characters, no "..", only ASCII letters, digits
    /// and "/._-".
    static std::optional<std::string> validSocket(std::string_view text);
    /// A tmux pane identifier: "%" and 1 to 7 digits.
    static std::optional<std::string> validPane(std::string_view text);
    /// A process, window or pane number: 1 to 10 ASCII digits.
    static std::optional<std::string> validNumber(std::string_view text);
    /// A terminal session identifier: 1 to 80 ASCII letters, digits, ":" or "-".
    static std::optional<std::string> validSessionID(std::string_view text);

    friend bool operator==(const AgentTerminalInfo&, const AgentTerminalInfo&) = default;
};

} // namespace brind
