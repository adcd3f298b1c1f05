#include "BrindKit/island/ActivityGlyph.hpp"

#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/island/UnitInterval.hpp"

#include <type_traits>

namespace brind {

namespace {

void writeTint(JSON& object, const std::optional<RGBA>& tint) {
    if (tint)
        object["tint"] = tint->toJSON();
}

} // namespace

ActivityGlyph ActivityGlyph::symbol(std::string name, std::optional<RGBA> tint) {
    return {Symbol{std::move(name), tint}};
}

ActivityGlyph ActivityGlyph::image(std::string bytes) {
    return {Image{std::move(bytes)}};
}

ActivityGlyph ActivityGlyph::appIcon(std::string bundleIdentifier) {
    return {AppIcon{std::move(bundleIdentifier)}};
}

ActivityGlyph ActivityGlyph::ring(double progress, std::optional<RGBA> tint) {
    return {Ring{UnitInterval::clamp(progress), tint}};
}

ActivityGlyph ActivityGlyph::text(std::string text, std::optional<RGBA> tint) {
    return {Text{std::move(text), tint}};
}

ActivityGlyph ActivityGlyph::visualiser() {
    return {Visualiser{}};
}

ActivityGlyph ActivityGlyph::spinner() {
    return {Spinner{}};
}

ActivityGlyph ActivityGlyph::dot(RGBA colour) {
    return {Dot{colour}};
}

ActivityGlyph ActivityGlyph::none() {
    return {None{}};
}

std::expected<ActivityGlyph, std::string> ActivityGlyph::fromJSON(const JSON& value) {
    if (!value.is_object())
        return none();

    std::optional<RGBA> tint;
    if (const JSON* tintValue = JSONRead::present(value, "tint")) {
        auto decoded = RGBA::fromJSON(*tintValue);
        if (!decoded)
            return std::unexpected("tint: " + decoded.error());
        tint = *decoded;
    }

    if (auto name = JSONRead::string(value, "symbol"))
        return symbol(std::move(*name), tint);
    if (auto label = JSONRead::string(value, "text"))
        return text(std::move(*label), tint);
    if (auto progress = JSONRead::number(value, "ring"))
        return ring(*progress, tint);
    if (auto encoded = JSONRead::string(value, "image")) {
        if (auto bytes = Base64::decode(*encoded))
            return image(std::move(*bytes));
    }
    if (auto bundle = JSONRead::string(value, "app"))
        return appIcon(std::move(*bundle));
    if (JSONRead::boolean(value, "visualiser") == true)
        return visualiser();
    if (JSONRead::boolean(value, "spinner") == true)
        return spinner();
    if (const JSON* dotValue = JSONRead::present(value, "dot")) {
        auto colour = RGBA::fromJSON(*dotValue);
        if (!colour)
            return std::unexpected("dot: " + colour.error());
        return dot(*colour);
    }
    return none();
}

JSON ActivityGlyph::toJSON() const {
    JSON object = JSON::object();
    std::visit(
        [&object](const auto& glyph) {
            using Kind = std::decay_t<decltype(glyph)>;
            if constexpr (std::is_same_v<Kind, Symbol>) {
                object["symbol"] = glyph.name;
                writeTint(object, glyph.tint);
            } else if constexpr (std::is_same_v<Kind, Image>) {
                object["image"] = Base64::encode(glyph.bytes);
            } else if constexpr (std::is_same_v<Kind, AppIcon>) {
                object["app"] = glyph.bundleIdentifier;
            } else if constexpr (std::is_same_v<Kind, Ring>) {
                object["ring"] = glyph.progress;
                writeTint(object, glyph.tint);
            } else if constexpr (std::is_same_v<Kind, Text>) {
                object["text"] = glyph.text;
                writeTint(object, glyph.tint);
            } else if constexpr (std::is_same_v<Kind, Visualiser>) {
                object["visualiser"] = true;
            } else if constexpr (std::is_same_v<Kind, Spinner>) {
                object["spinner"] = true;
            } else if constexpr (std::is_same_v<Kind, Dot>) {
                object["dot"] = glyph.colour.toJSON();
            } else {
                static_assert(std::is_same_v<Kind, None>);
            }
        },
        value);
    return object;
}

} // namespace brind
