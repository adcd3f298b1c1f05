#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace brind {

/// A command carried by a "vantaquill://" URL, opened from a shell, a browser link or another app.
/// `notify`, `end` and `shelfAdd` change what the island shows and so carry a client's token;
/// `open`, `settings` and `clipboard` only show the application's own views.
struct SDKURLCommand {
    struct Open {
        std::optional<std::string> tab;
        friend bool operator==(const Open&, const Open&) = default;
    };
    struct Settings {
        std::optional<std::string> pane;
        friend bool operator==(const Settings&, const Settings&) = default;
    };
    struct Notify {
        std::string title;
        std::optional<std::string> subtitle;
        std::optional<std::string> symbol;
        std::optional<double> progress;
        std::optional<std::string> token;
        friend bool operator==(const Notify&, const Notify&) = default;
    };
    struct End {
        std::string id;
        std::string token;
        friend bool operator==(const End&, const End&) = default;
    };
    struct ShelfAdd {
        std::vector<std::string> paths;
        std::string token;
        friend bool operator==(const ShelfAdd&, const ShelfAdd&) = default;
    };
    struct Clipboard {
        friend bool operator==(const Clipboard&, const Clipboard&) = default;
    };

    struct ParseError {
        enum class Kind { unknown, missing, wrongScheme };
        Kind kind = Kind::unknown;
        std::string name; ///< the absent query key, for `missing`

        static ParseError unknown() { return {Kind::unknown, {}}; }
        static ParseError missing(std::string name) { return {Kind::missing, std::move(name)}; }
        static ParseError wrongScheme() { return {Kind::wrongScheme, {}}; }

        std::string toString() const;
        friend bool operator==(const ParseError&, const ParseError&) = default;
    };

    static constexpr std::size_t titleLimit = 120;    ///< characters kept of a notification title
    static constexpr std::size_t subtitleLimit = 200; ///< characters kept of its subtitle

    std::variant<Open, Settings, Notify, End, ShelfAdd, Clipboard> command;

    /// Parses a whole URL; every problem is an error, never a partial command.
    /// vantaquill://open/shelf opens the shelf tab: without a "tab" query key the first path
    /// segment names the tab.
    static std::expected<SDKURLCommand, ParseError> parse(std::string_view url);

    friend bool operator==(const SDKURLCommand&, const SDKURLCommand&) = default;
};

} // namespace brind
