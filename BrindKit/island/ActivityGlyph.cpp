#include "BrindKit/island/ActivityGlyph.hpp"

#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/Overloaded.hpp"
#include "BrindKit/foundation/UnitInterval.hpp"

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

    const auto decodedTint = RGBA::fromJSONMember(value, "tint");
    if (!decodedTint)
        return std::unexpected(decodedTint.error());
    const std::optional<RGBA> tint = *decodedTint;

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
    const auto colour = RGBA::fromJSONMember(value, "dot");
    if (!colour)
        return std::unexpected(colour.error());
    return *colour ? dot(**colour) : none();
}

JSON ActivityGlyph::toJSON() const {
    JSON object = JSON::object();
    std::visit(Overloaded{
                   [&](const Symbol& glyph) {
                       object["symbol"] = glyph.name;
                       writeTint(object, glyph.tint);
                   },
                   [&](const Image& glyph) { object["image"] = Base64::encode(glyph.bytes); },
                   [&](const AppIcon& glyph) { object["app"] = glyph.bundleIdentifier; },
                   [&](const Ring& glyph) {
                       object["ring"] = glyph.progress;
                       writeTint(object, glyph.tint);
                   },
                   [&](const Text& glyph) {
                       object["text"] = glyph.text;
                       writeTint(object, glyph.tint);
                   },
                   [&](const Visualiser&) { object["visualiser"] = true; },
                   [&](const Spinner&) { object["spinner"] = true; },
                   [&](const Dot& glyph) { object["dot"] = glyph.colour.toJSON(); },
                   [](const None&) {},
               },
               value);
    return object;
}

} // namespace brind
