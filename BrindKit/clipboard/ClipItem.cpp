#include "BrindKit/clipboard/ClipItem.hpp"

#include "BrindKit/clipboard/ClipPlainText.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <utility>

namespace brind {

namespace {

constexpr std::size_t maxTitleCharacters = 300;

// The first line holding anything at all; the line breaks are those Unicode treats as newlines.
std::string_view firstNonEmptyLine(std::string_view text) {
    std::size_t start = 0;
    std::size_t index = 0;
    while (index < text.size()) {
        std::size_t breakLength = 0;
        const auto byte = static_cast<unsigned char>(text[index]);
        if (byte == '\n' || byte == '\r' || byte == 0x0B || byte == 0x0C)
            breakLength = 1;
        else if (byte == 0xC2 && index + 1 < text.size() && static_cast<unsigned char>(text[index + 1]) == 0x85)
            breakLength = 2;
        else if (byte == 0xE2 && index + 2 < text.size() && static_cast<unsigned char>(text[index + 1]) == 0x80 &&
                 (static_cast<unsigned char>(text[index + 2]) == 0xA8 ||
                  static_cast<unsigned char>(text[index + 2]) == 0xA9))
            breakLength = 3;
        if (breakLength == 0) {
            ++index;
            continue;
        }
        if (index > start)
            return text.substr(start, index - start);
        index += breakLength;
        start = index;
    }
    return text.substr(start);
}

// File URL strings that parse, with their decoded paths.
std::vector<URL> parsedFileURLs(const std::vector<std::string>& urls) {
    std::vector<URL> parsed;
    for (const std::string& text : urls) {
        if (auto url = URL::parse(text))
            parsed.push_back(std::move(*url));
    }
    return parsed;
}

std::string lastPathComponent(const URL& url) {
    const auto segments = url.pathSegments();
    if (segments.empty())
        return url.path.empty() ? std::string() : "/";
    return segments.back();
}

std::string joinedPaths(const std::vector<std::string>& urls) {
    std::string joined;
    bool first = true;
    for (const URL& url : parsedFileURLs(urls)) {
        if (!first)
            joined += '\n';
        joined += url.decodedPath();
        first = false;
    }
    return joined;
}

std::string missing(std::string_view key) {
    return "clip item: \"" + std::string(key) + "\" is missing or has the wrong type";
}

} // namespace

std::string ClipItem::displayTitle() const {
    switch (kind) {
    case ClipKind::text:
    case ClipKind::richText:
    case ClipKind::link: {
        const std::string line = Text::trimmed(firstNonEmptyLine(text.value_or("")));
        if (line.empty())
            return "Whitespace";
        return Text::graphemePrefix(line, maxTitleCharacters);
    }
    case ClipKind::image:
        if (!imageWidth || !imageHeight)
            return "Image";
        return "Image " + std::to_string(*imageWidth) + "\u00D7" + std::to_string(*imageHeight);
    case ClipKind::colour:
        if (colour)
            return colour->hex();
        return text.value_or("Colour");
    case ClipKind::file: {
        const auto urls = parsedFileURLs(fileURLs);
        if (urls.empty())
            return "File";
        std::string name = lastPathComponent(urls.front());
        if (urls.size() == 1)
            return name;
        return name + " + " + std::to_string(urls.size() - 1) + " more";
    }
    }
    std::unreachable();
}

std::optional<std::string> ClipItem::plainText() const {
    switch (kind) {
    case ClipKind::text:
    case ClipKind::richText:
    case ClipKind::link:
        if (!text)
            return std::nullopt;
        return ClipPlainText::normalize(*text);
    case ClipKind::image:
        return std::nullopt;
    case ClipKind::colour:
        if (colour)
            return colour->hex();
        return text;
    case ClipKind::file:
        return joinedPaths(fileURLs);
    }
    std::unreachable();
}

std::vector<std::string> ClipItem::sideFiles() const {
    std::vector<std::string> names;
    if (rtfFile)
        names.push_back(*rtfFile);
    if (imageFile)
        names.push_back(*imageFile);
    return names;
}

JSON ClipItem::toJSON() const {
    JSON object = JSON::object();
    object["id"] = id.string();
    object["kind"] = std::string(name(kind));
    if (text)
        object["text"] = *text;
    object["fileURLs"] = fileURLs;
    if (rtfFile)
        object["rtfFile"] = *rtfFile;
    if (imageFile)
        object["imageFile"] = *imageFile;
    if (imageWidth)
        object["imageWidth"] = *imageWidth;
    if (imageHeight)
        object["imageHeight"] = *imageHeight;
    if (colour)
        object["colour"] = colour->toJSON();
    if (sourceBundleID)
        object["sourceBundleID"] = *sourceBundleID;
    if (sourceAppName)
        object["sourceAppName"] = *sourceAppName;
    object["created"] = created.secondsSince1970;
    object["lastUsed"] = lastUsed.secondsSince1970;
    object["useCount"] = useCount;
    object["pinned"] = pinned;
    object["contentHash"] = contentHash;
    object["byteSize"] = byteSize;
    return object;
}

std::expected<ClipItem, std::string> ClipItem::fromJSON(const JSON& value) {
    if (!value.is_object())
        return std::unexpected(std::string("clip item: not a JSON object"));
    ClipItem item;

    const auto id = JSONRead::string(value, "id");
    if (!id)
        return std::unexpected(missing("id"));
    const auto uuid = UUID::parse(*id);
    if (!uuid)
        return std::unexpected("clip item: \"id\" is not a UUID: " + *id);
    item.id = *uuid;

    const auto kindName = JSONRead::string(value, "kind");
    if (!kindName)
        return std::unexpected(missing("kind"));
    const auto kind = clipKindNamed(*kindName);
    if (!kind)
        return std::unexpected("clip item: unknown kind: " + *kindName);
    item.kind = *kind;

    const JSON* urls = JSONRead::member(value, "fileURLs");
    if (!urls || !urls->is_array())
        return std::unexpected(missing("fileURLs"));
    for (const JSON& url : *urls) {
        if (!url.is_string())
            return std::unexpected(std::string("clip item: \"fileURLs\" holds a value that is not a string"));
        item.fileURLs.push_back(url.get<std::string>());
    }

    const auto created = JSONRead::number(value, "created");
    if (!created)
        return std::unexpected(missing("created"));
    item.created = Date{*created};
    const auto lastUsed = JSONRead::number(value, "lastUsed");
    if (!lastUsed)
        return std::unexpected(missing("lastUsed"));
    item.lastUsed = Date{*lastUsed};

    const auto useCount = JSONRead::integer(value, "useCount");
    if (!useCount)
        return std::unexpected(missing("useCount"));
    item.useCount = *useCount;
    const auto pinned = JSONRead::boolean(value, "pinned");
    if (!pinned)
        return std::unexpected(missing("pinned"));
    item.pinned = *pinned;
    const auto contentHash = JSONRead::string(value, "contentHash");
    if (!contentHash)
        return std::unexpected(missing("contentHash"));
    item.contentHash = *contentHash;
    const auto byteSize = JSONRead::integer(value, "byteSize");
    if (!byteSize)
        return std::unexpected(missing("byteSize"));
    item.byteSize = *byteSize;

    item.text = JSONRead::string(value, "text");
    item.rtfFile = JSONRead::string(value, "rtfFile");
    item.imageFile = JSONRead::string(value, "imageFile");
    item.imageWidth = JSONRead::integer(value, "imageWidth");
    item.imageHeight = JSONRead::integer(value, "imageHeight");
    if (const JSON* colour = JSONRead::member(value, "colour")) {
        if (auto decoded = RGBA::fromJSON(*colour))
            item.colour = *decoded;
    }
    item.sourceBundleID = JSONRead::string(value, "sourceBundleID");
    item.sourceAppName = JSONRead::string(value, "sourceAppName");
    return item;
}

} // namespace brind
