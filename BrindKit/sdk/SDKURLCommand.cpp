#include "BrindKit/sdk/SDKURLCommand.hpp"

#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace brind {

namespace {

constexpr std::string_view scheme = "vantaquill";

// Shells and other programs pass URLs with spaces or non-ASCII text unescaped; such bytes are
// escaped first so that the strict parser sees the URL the sender meant. Every other printable
// ASCII character, the delimiters included, is kept as it is.
std::string escapeLoosely(std::string_view text) {
    return URL::percentEncode(text, "!#$%&'()*+,/:;=?@[]");
}

// A number as a script would write it ("0.4", "1", "-3"), read the same in every locale; anything
// else, infinities and NaN included, is no number.
std::optional<double> number(const std::string& text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

class Query {
public:
    explicit Query(std::vector<URL::QueryItem> items) : items_(std::move(items)) {}

    /// The first item with this name whose value is present and non-empty.
    std::optional<std::string> operator()(std::string_view name) const {
        for (const auto& [key, value] : items_) {
            if (key == name && !value.empty())
                return value;
        }
        return std::nullopt;
    }

    std::vector<std::string> all(std::string_view name) const {
        std::vector<std::string> values;
        for (const auto& [key, value] : items_) {
            if (key == name && !value.empty())
                values.push_back(value);
        }
        return values;
    }

private:
    std::vector<URL::QueryItem> items_;
};

} // namespace

std::string SDKURLCommand::ParseError::toString() const {
    switch (kind) {
    case Kind::unknown:
        return "unknown command";
    case Kind::missing:
        return "missing " + name;
    case Kind::wrongScheme:
        return "not a vantaquill:// URL";
    }
    std::unreachable();
}

std::expected<SDKURLCommand, SDKURLCommand::ParseError> SDKURLCommand::parse(std::string_view text) {
    const auto url = URL::parse(escapeLoosely(text));
    if (!url || url->lowercasedScheme() != scheme)
        return std::unexpected(ParseError::wrongScheme());

    const std::string host = Text::lowercased(url->host.value_or(""));
    const std::string path = Text::lowercased(url->path);
    const Query q(url->queryItems());

    if (host == "open") {
        std::optional<std::string> tab = q("tab");
        if (!tab) {
            const auto segments = url->pathSegments();
            if (!segments.empty())
                tab = Text::lowercased(segments.front());
        }
        return SDKURLCommand{Open{tab}};
    }
    if (host == "settings")
        return SDKURLCommand{Settings{q("pane")}};
    if (host == "clipboard")
        return SDKURLCommand{Clipboard{}};
    if (host == "notify") {
        const auto title = q("title");
        if (!title)
            return std::unexpected(ParseError::missing("title"));
        Notify notify;
        notify.title = Text::graphemePrefix(*title, titleLimit);
        if (const auto subtitle = q("subtitle"))
            notify.subtitle = Text::graphemePrefix(*subtitle, subtitleLimit);
        notify.symbol = q("symbol");
        notify.token = q("token");
        if (const auto progress = q("progress")) {
            if (const auto value = number(*progress))
                notify.progress = std::clamp(*value, 0.0, 1.0);
        }
        return SDKURLCommand{notify};
    }
    if (host == "end") {
        const auto id = q("id");
        if (!id)
            return std::unexpected(ParseError::missing("id"));
        const auto token = q("token");
        if (!token)
            return std::unexpected(ParseError::missing("token"));
        return SDKURLCommand{End{*id, *token}};
    }
    if (host == "shelf" && path == "/add") {
        auto paths = q.all("path");
        if (paths.empty())
            return std::unexpected(ParseError::missing("path"));
        const auto token = q("token");
        if (!token)
            return std::unexpected(ParseError::missing("token"));
        return SDKURLCommand{ShelfAdd{std::move(paths), *token}};
    }
    return std::unexpected(ParseError::unknown());
}

} // namespace brind
