#include "BrindKit/foundation/RGBA.hpp"

#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/UnitInterval.hpp"

#include <cmath>
#include <cstdint>

namespace brind {

namespace {

constexpr double opaqueThreshold = 0.999;
constexpr double lightBackgroundLuminance = 0.5;
constexpr double darkTextOpacity = 0.75;
constexpr double lightTextOpacity = 0.9;

int byteOf(double component) {
    return static_cast<int>(std::lround(UnitInterval::clamp(component) * 255.0));
}

double linearised(double c) {
    if (c <= 0.03928)
        return c / 12.92;
    return std::pow((c + 0.055) / 1.055, 2.4);
}

} // namespace

std::string RGBA::hex() const {
    std::string text = "#";
    for (const double component : {r, g, b})
        Hex::appendByte(text, static_cast<std::uint8_t>(byteOf(component)), Hex::Letters::upper);
    if (a < opaqueThreshold)
        Hex::appendByte(text, static_cast<std::uint8_t>(byteOf(a)), Hex::Letters::upper);
    return text;
}

double RGBA::luminance() const {
    return 0.2126 * linearised(r) + 0.7152 * linearised(g) + 0.0722 * linearised(b);
}

RGBA RGBA::contrastingText() const {
    if (luminance() > lightBackgroundLuminance)
        return RGBA{0, 0, 0, darkTextOpacity};
    return RGBA{1, 1, 1, lightTextOpacity};
}

std::optional<RGBA> RGBA::fromHex(std::string_view text) {
    std::string digits = Text::trimmed(text);
    if (!digits.empty() && digits.front() == '#')
        digits.erase(0, 1);
    if (digits.size() == 3 || digits.size() == 4) {
        std::string doubled;
        for (const char c : digits)
            doubled.append(2, c);
        digits = std::move(doubled);
    }
    if (digits.size() != 6 && digits.size() != 8)
        return std::nullopt;

    unsigned bytes[4] = {0, 0, 0, 0xFF};
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int value = Hex::byteValue(digits[i], digits[i + 1]);
        if (value < 0)
            return std::nullopt;
        bytes[i / 2] = static_cast<unsigned>(value);
    }
    return RGBA{bytes[0] / 255.0, bytes[1] / 255.0, bytes[2] / 255.0, bytes[3] / 255.0};
}

std::expected<RGBA, std::string> RGBA::fromJSON(const JSON& value) {
    if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        if (auto colour = fromHex(text))
            return *colour;
        return std::unexpected("not a hex colour: " + text);
    }
    if (!value.is_object())
        return std::unexpected(std::string("a colour must be a hex string or an object with r, g, b"));
    const auto r = JSONRead::number(value, "r");
    const auto g = JSONRead::number(value, "g");
    const auto b = JSONRead::number(value, "b");
    if (!r || !g || !b)
        return std::unexpected(std::string("a colour object needs the numbers r, g and b"));
    return RGBA{*r, *g, *b, JSONRead::number(value, "a").value_or(1.0)};
}

std::expected<std::optional<RGBA>, std::string> RGBA::fromJSONMember(const JSON& object,
                                                                     std::string_view key) {
    const JSON* value = JSONRead::present(object, key);
    if (!value)
        return std::nullopt;
    auto colour = fromJSON(*value);
    if (!colour)
        return std::unexpected(std::string(key) + ": " + colour.error());
    return *colour;
}

JSON RGBA::toJSON() const {
    return hex();
}

} // namespace brind
