#include "vantaquill/providers/MirroredNotification.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace vq {

namespace {

constexpr std::array<std::pair<std::string_view, char>, 5> entities{
    {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}}};

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// A file URI names an image as well as a path does.
std::optional<std::string> imageFile(std::string_view icon) {
    if (icon.starts_with("file://"))
        return std::string(icon.substr(7));
    if (icon.starts_with('/'))
        return std::string(icon);
    return std::nullopt;
}

} // namespace

std::string MirroredNotification::plainBody(std::string_view body) {
    std::string text;
    bool pendingSpace = false;
    const auto put = [&](char c) {
        if (isSpace(c)) {
            pendingSpace = !text.empty();
            return;
        }
        if (pendingSpace)
            text.push_back(' ');
        pendingSpace = false;
        text.push_back(c);
    };
    for (std::size_t i = 0; i < body.size();) {
        // A tag opens with a letter or a slash; any other '<' is a plain-text body's own.
        const bool tag = body[i] == '<' && i + 1 < body.size() &&
                         (body[i + 1] == '/' || std::isalpha(static_cast<unsigned char>(body[i + 1])));
        if (tag) {
            const auto close = body.find('>', i);
            if (close == std::string_view::npos) {
                put(body[i++]);
                continue;
            }
            // A line break in markup separates words as a newline does.
            put(' ');
            i = close + 1;
            continue;
        }
        if (body[i] == '&') {
            const auto entity = std::ranges::find_if(entities, [&](const auto& e) { return body.substr(i).starts_with(e.first); });
            if (entity != entities.end()) {
                put(entity->second);
                i += entity->first.size();
                continue;
            }
        }
        put(body[i++]);
    }
    return text;
}

std::string MirroredNotification::activityID(std::string_view appName) {
    std::string id(source);
    id += '.';
    if (appName.empty())
        return id + "unnamed";
    for (const char c : appName) {
        const char lower = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
        const bool kept = (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9') || lower == '-' || lower == '_';
        id.push_back(kept ? lower : '-');
    }
    return id;
}

brind::LiveActivity MirroredNotification::activity(brind::Date now, const ReadImage& readImage) const {
    brind::LiveActivity made;
    made.id = activityID(appName);
    made.source = std::string(source);
    made.priority = urgency == 0   ? brind::ActivityPriority::ambient
                    : urgency >= 2 ? brind::ActivityPriority::critical
                                   : brind::ActivityPriority::normal;
    made.title = summary.empty() ? (appName.empty() ? std::string("Notification") : appName) : summary;
    if (auto text = brind::Text::graphemePrefix(plainBody(body), bodyCharacters); !text.empty())
        made.subtitle = std::move(text);
    if (!appName.empty())
        made.trailing = brind::ActivityGlyph::text(appName);

    std::optional<std::string> image = !imagePath.empty() ? imageFile(imagePath).value_or(imagePath) : imageFile(appIcon);
    std::optional<std::string> bytes = image && readImage ? readImage(*image) : std::nullopt;
    if (bytes)
        made.leading = brind::ActivityGlyph::image(std::move(*bytes));
    else if (!appIcon.empty() && !imageFile(appIcon))
        made.leading = brind::ActivityGlyph::symbol(appIcon);
    else if (!desktopEntry.empty())
        made.leading = brind::ActivityGlyph::appIcon(desktopEntry);
    else
        made.leading = brind::ActivityGlyph::symbol("dialog-information");

    const double usual = made.priority == brind::ActivityPriority::critical ? criticalSeconds : usualSeconds;
    const double seconds = expireTimeout > 0 ? std::min(expireTimeout / 1000.0, longestSeconds) : usual;
    made.expiresAt = now + seconds;
    made.alert = true;
    return made;
}

} // namespace vq
