#include "BrindKit/shelf/ShelfEntry.hpp"

#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/EnumTable.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"
#include "BrindKit/shelf/ShelfNaming.hpp"

#include <utility>
#include <vector>

namespace brind {

namespace {

constexpr auto kindRows = std::to_array<EnumTable::NameRow<ShelfEntry::Kind>>({
    {ShelfEntry::Kind::file, "file"},
    {ShelfEntry::Kind::text, "text"},
    {ShelfEntry::Kind::link, "link"},
});
static_assert(EnumTable::coversEveryCase(kindRows));

} // namespace

std::string_view name(ShelfEntry::Kind kind) {
    return EnumTable::row(kindRows, kind).name;
}

std::optional<ShelfEntry::Kind> shelfEntryKindNamed(std::string_view text) {
    return EnumTable::named(kindRows, text);
}

std::optional<std::string> ShelfEntry::fileURL() const {
    if (!path)
        return std::nullopt;
    return URL::fileURL(*path);
}

std::string ShelfEntry::fileExtension() const {
    if (kind != Kind::file || !path)
        return {};
    const std::string_view full = *path;
    const auto slash = full.rfind('/');
    const std::string_view name = slash == std::string_view::npos ? full : full.substr(slash + 1);
    return Text::lowercased(ShelfNaming::split(name).extension);
}

std::string ShelfEntry::titleForText(std::string_view text, std::size_t limit) {
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find_first_of("\r\n", start);
        if (end == std::string_view::npos)
            end = text.size();
        const std::string line = Text::trimmed(text.substr(start, end - start));
        if (!line.empty())
            return Text::graphemePrefix(line, limit);
        start = end + 1;
    }
    return "Text";
}

std::string ShelfEntry::titleForLink(std::string_view link) {
    const auto url = URL::parse(link);
    if (!url || !url->host || url->host->empty())
        return std::string(link);
    std::string_view host = *url->host;
    if (host.starts_with("www."))
        host.remove_prefix(4);
    return std::string(host);
}

std::string ShelfEntry::standardisedPath(std::string_view path) {
    const bool absolute = path.starts_with('/');
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto end = path.find('/', start);
        if (end == std::string_view::npos)
            end = path.size();
        const auto part = path.substr(start, end - start);
        start = end + 1;
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            if (!parts.empty() && parts.back() != "..") {
                parts.pop_back();
                continue;
            }
            // ".." above the root is the root itself; above a relative start it must be kept.
            if (absolute)
                continue;
        }
        parts.push_back(part);
    }
    if (parts.empty())
        return std::string(absolute ? "/" : ".");
    std::string result;
    for (const auto part : parts) {
        if (absolute || !result.empty())
            result.push_back('/');
        result.append(part);
    }
    return result;
}

namespace {

/// True when `standardisedPath` would return the path unchanged, so that the common case compares
/// without building new strings.
bool isStandardised(std::string_view path) {
    if (path.empty() || (path.size() > 1 && path.ends_with('/')))
        return false;
    std::size_t start = path.starts_with('/') ? 1 : 0;
    while (start <= path.size()) {
        auto end = path.find('/', start);
        if (end == std::string_view::npos)
            end = path.size();
        const auto part = path.substr(start, end - start);
        if ((part.empty() && path != "/") || part == "." || part == "..")
            return false;
        start = end + 1;
    }
    return true;
}

} // namespace

bool ShelfEntry::sameContent(const ShelfEntry& other) const {
    if (kind != other.kind)
        return false;
    switch (kind) {
    case Kind::text:
    case Kind::link:
        return text == other.text;
    case Kind::file:
        if (!path || !other.path)
            return false;
        if (isStandardised(*path) && isStandardised(*other.path))
            return *path == *other.path;
        return standardisedPath(*path) == standardisedPath(*other.path);
    }
    std::unreachable();
}

JSON ShelfEntry::json() const {
    JSON object = JSON::object();
    object["id"] = id.string();
    object["kind"] = name(kind);
    if (path)
        object["path"] = *path;
    if (bookmark)
        object["bookmark"] = Base64::encode(*bookmark);
    if (text)
        object["text"] = *text;
    object["title"] = title;
    object["addedAt"] = addedAt.iso8601();
    object["owned"] = owned;
    object["pinned"] = pinned;
    return object;
}

std::optional<ShelfEntry> ShelfEntry::fromJSON(const JSON& value) {
    const auto idText = JSONRead::string(value, "id");
    const auto kindText = JSONRead::string(value, "kind");
    const auto addedText = JSONRead::string(value, "addedAt");
    if (!idText || !kindText || !addedText)
        return std::nullopt;
    const auto id = UUID::parse(*idText);
    const auto kind = shelfEntryKindNamed(*kindText);
    const auto addedAt = Date::parseISO8601(*addedText);
    if (!id || !kind || !addedAt)
        return std::nullopt;

    ShelfEntry entry;
    entry.id = *id;
    entry.kind = *kind;
    entry.addedAt = *addedAt;
    entry.path = JSONRead::string(value, "path");
    entry.text = JSONRead::string(value, "text");
    if (const auto bookmark = JSONRead::string(value, "bookmark"))
        entry.bookmark = Base64::decode(*bookmark);
    entry.title = JSONRead::string(value, "title").value_or("");
    entry.owned = JSONRead::boolean(value, "owned").value_or(false);
    entry.pinned = JSONRead::boolean(value, "pinned").value_or(false);
    return entry;
}

} // namespace brind
