#include "BrindKit/clipboard/ClipColourParser.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Hex.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <vector>

namespace brind::ClipColourParser {

namespace {

constexpr double channelMaximum = 255;
constexpr double percentMaximum = 100;

std::optional<RGBA> parseHex(std::string_view text) {
    if (!text.starts_with('#'))
        return std::nullopt;
    const std::string_view digits = text.substr(1);
    const std::size_t length = digits.size();
    if (length != 3 && length != 4 && length != 6 && length != 8)
        return std::nullopt;
    // fromHex would also take blanks around the digits; a literal has none.
    if (!std::ranges::all_of(digits, [](char c) { return Hex::digitValue(c) >= 0; }))
        return std::nullopt;
    return RGBA::fromHex(text);
}

// A C-locale number that spans the whole text. from_chars never reads the locale and refuses a
// leading blank; an explicit "+" is accepted as the C library does, and infinities and NaN are not
// colours.
std::optional<double> number(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-'))
            return std::nullopt;
    }
    if (text.empty())
        return std::nullopt;
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<double> percentage(std::string_view text) {
    if (!text.ends_with('%'))
        return std::nullopt;
    const auto value = number(text.substr(0, text.size() - 1));
    if (!value || *value < 0 || *value > percentMaximum)
        return std::nullopt;
    return *value / percentMaximum;
}

// A colour channel: "50%" or a plain number in 0...255.
std::optional<double> channel(std::string_view text) {
    if (text.ends_with('%'))
        return percentage(text);
    const auto value = number(text);
    if (!value || *value < 0 || *value > channelMaximum)
        return std::nullopt;
    return *value / channelMaximum;
}

// Alpha: "50%" or a plain number in 0...1.
std::optional<double> alpha(std::string_view text) {
    if (text.ends_with('%'))
        return percentage(text);
    const auto value = number(text);
    if (!value || *value < 0 || *value > 1)
        return std::nullopt;
    return *value;
}

// The arguments of "name(...)", split at commas, slashes and blanks; nothing when the text is not
// such a call or holds no arguments.
// Function names are ASCII, and no other character lower-cases into ASCII letters or the
// characters of a number, so comparing the name without case equals lower-casing the whole text
// (which a megabyte of copied prose would pay for on every copy).
std::optional<std::vector<std::string>> callArguments(std::string_view text, std::string_view name) {
    if (text.size() < name.size() + 2 || !ASCII::equalsIgnoringCase(text.substr(0, name.size()), name) ||
        text[name.size()] != '(' || !text.ends_with(')'))
        return std::nullopt;
    const std::string_view inside = text.substr(name.size() + 1, text.size() - name.size() - 2);
    std::vector<std::string> arguments;
    std::string current;
    for (const char c : inside) {
        if (c == ',' || c == '/' || c == ' ') {
            if (!current.empty())
                arguments.push_back(std::move(current));
            current.clear();
        } else {
            current.push_back(c);
        }
    }
    if (!current.empty())
        arguments.push_back(std::move(current));
    if (arguments.empty())
        return std::nullopt;
    return arguments;
}

std::optional<std::vector<std::string>> callArguments(std::string_view text, std::string_view first,
                                                      std::string_view second) {
    if (auto arguments = callArguments(text, first))
        return arguments;
    return callArguments(text, second);
}

// The alpha of an "rgba"/"hsla" call, 1 when there are only three arguments; nothing when the fourth
// does not read.
std::optional<double> fourthAlpha(const std::vector<std::string>& arguments) {
    if (arguments.size() < 4)
        return 1.0;
    return alpha(arguments[3]);
}

std::optional<RGBA> parseRGB(const std::vector<std::string>& arguments) {
    if (arguments.size() != 3 && arguments.size() != 4)
        return std::nullopt;
    const auto r = channel(arguments[0]);
    const auto g = channel(arguments[1]);
    const auto b = channel(arguments[2]);
    if (!r || !g || !b)
        return std::nullopt;
    const auto a = fourthAlpha(arguments);
    if (!a)
        return std::nullopt;
    return RGBA{*r, *g, *b, *a};
}

std::optional<RGBA> parseHSL(const std::vector<std::string>& arguments) {
    if (arguments.size() != 3 && arguments.size() != 4)
        return std::nullopt;
    const auto h = number(arguments[0]);
    const auto s = percentage(arguments[1]);
    const auto l = percentage(arguments[2]);
    if (!h || !s || !l)
        return std::nullopt;
    const auto a = fourthAlpha(arguments);
    if (!a)
        return std::nullopt;
    RGBA colour = hslToRGB(*h, *s, *l);
    colour.a = *a;
    return colour;
}

double hueToChannel(double p, double q, double t) {
    if (t < 0)
        t += 1;
    if (t > 1)
        t -= 1;
    if (t < 1.0 / 6)
        return p + (q - p) * 6 * t;
    if (t < 1.0 / 2)
        return q;
    if (t < 2.0 / 3)
        return p + (q - p) * (2.0 / 3 - t) * 6;
    return p;
}

} // namespace

std::optional<RGBA> parse(std::string_view text) {
    if (text.empty())
        return std::nullopt;
    if (text.starts_with('#'))
        return parseHex(text);
    if (auto arguments = callArguments(text, "rgba", "rgb"))
        return parseRGB(*arguments);
    if (auto arguments = callArguments(text, "hsla", "hsl"))
        return parseHSL(*arguments);
    return std::nullopt;
}

RGBA hslToRGB(double h, double s, double l) {
    constexpr double fullTurn = 360;
    const double hue = std::fmod(std::fmod(h, fullTurn) + fullTurn, fullTurn);
    if (s == 0)
        return RGBA{l, l, l, 1};
    const double q = l < 0.5 ? l * (1 + s) : l + s - l * s;
    const double p = 2 * l - q;
    const double t = hue / fullTurn;
    return RGBA{hueToChannel(p, q, t + 1.0 / 3), hueToChannel(p, q, t), hueToChannel(p, q, t - 1.0 / 3), 1};
}

} // namespace brind::ClipColourParser
