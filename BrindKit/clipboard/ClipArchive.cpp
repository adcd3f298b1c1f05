#include "BrindKit/clipboard/ClipArchive.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/foundation/Paths.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <set>
#include <system_error>

namespace brind {

namespace {

namespace fs = std::filesystem;

constexpr fs::perms folderMode = fs::perms::owner_all;
constexpr fs::perms fileMode = fs::perms::owner_read | fs::perms::owner_write;
constexpr std::array<std::string_view, 6> sideFileExtensions{"png", "tiff", "jpg", "heic", "gif", "rtf"};

bool isSideFileExtension(std::string_view extension) {
    return std::ranges::find(sideFileExtensions, extension) != sideFileExtensions.end();
}

// The names of the regular files in the folder; empty when it cannot be listed.
std::set<std::string, std::less<>> fileNames(const fs::path& folder) {
    std::set<std::string, std::less<>> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->is_regular_file(error))
            names.insert(entry->path().filename().string());
    }
    return names;
}

std::optional<std::vector<ClipItem>> decodeIndex(std::string_view text) {
    const auto parsed = JSONText::parse(text);
    if (!parsed || !parsed->is_object())
        return std::nullopt;
    const auto version = JSONRead::number(*parsed, "version");
    // Only the format this reader knows is read; another version is treated like damage.
    if (!version || *version != ClipArchive::indexVersion)
        return std::nullopt;
    const JSON* items = JSONRead::member(*parsed, "items");
    if (!items || !items->is_array())
        return std::nullopt;
    std::vector<ClipItem> decoded;
    decoded.reserve(items->size());
    for (const JSON& record : *items) {
        // A record that does not decode is dropped alone; its neighbours are still good.
        if (auto item = ClipItem::fromJSON(record))
            decoded.push_back(std::move(*item));
    }
    return decoded;
}

// The index is written directly rather than through a JSON tree: a history of thousands of clips
// holds megabytes of text, and building a tree first would copy all of it twice. The records are
// the same as `ClipItem::toJSON` writes (keys sorted, absent optionals left out).
void appendString(std::string& out, std::string_view text) {
    static constexpr char hex[] = "0123456789abcdef";
    const std::string repaired = Text::isValidUTF8(text) ? std::string() : Text::repairedUTF8(text);
    const std::string_view valid = repaired.empty() ? text : std::string_view(repaired);
    out.push_back('"');
    for (const char c : valid) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out.push_back('\\');
            out.push_back(c);
        } else if (byte < 0x20) {
            out += "\\u00";
            out.push_back(hex[byte >> 4]);
            out.push_back(hex[byte & 0x0F]);
        } else {
            out.push_back(c);
        }
    }
    out.push_back('"');
}

void appendNumber(std::string& out, double value) {
    // JSON has no infinities or NaN; null makes only this record unreadable, not the index.
    if (!std::isfinite(value)) {
        out += "null";
        return;
    }
    char buffer[32];
    // 17 significant digits read back as the same double.
    std::snprintf(buffer, sizeof buffer, "%.17g", value);
    out += buffer;
}

void appendInteger(std::string& out, std::int64_t value) {
    out += std::to_string(value);
}

void appendKey(std::string& out, std::string_view key, bool& first) {
    if (!first)
        out.push_back(',');
    first = false;
    out.push_back('"');
    out += key;
    out += "\":";
}

void appendOptionalString(std::string& out, std::string_view key, const std::optional<std::string>& value,
                          bool& first) {
    if (!value)
        return;
    appendKey(out, key, first);
    appendString(out, *value);
}

void appendOptionalInteger(std::string& out, std::string_view key, const std::optional<std::int64_t>& value,
                           bool& first) {
    if (!value)
        return;
    appendKey(out, key, first);
    appendInteger(out, *value);
}

// Keys in sorted order, as the JSON library writes them.
void appendItem(std::string& out, const ClipItem& item) {
    bool first = true;
    out.push_back('{');
    appendKey(out, "byteSize", first);
    appendInteger(out, item.byteSize);
    if (item.colour) {
        appendKey(out, "colour", first);
        appendString(out, item.colour->hex());
    }
    appendKey(out, "contentHash", first);
    appendString(out, item.contentHash);
    appendKey(out, "created", first);
    appendNumber(out, item.created.secondsSince1970);
    appendKey(out, "fileURLs", first);
    out.push_back('[');
    for (std::size_t index = 0; index < item.fileURLs.size(); ++index) {
        if (index > 0)
            out.push_back(',');
        appendString(out, item.fileURLs[index]);
    }
    out.push_back(']');
    appendKey(out, "id", first);
    appendString(out, item.id.string());
    appendOptionalString(out, "imageFile", item.imageFile, first);
    appendOptionalInteger(out, "imageHeight", item.imageHeight, first);
    appendOptionalInteger(out, "imageWidth", item.imageWidth, first);
    appendKey(out, "kind", first);
    appendString(out, rawValue(item.kind));
    appendKey(out, "lastUsed", first);
    appendNumber(out, item.lastUsed.secondsSince1970);
    appendKey(out, "pinned", first);
    out += item.pinned ? "true" : "false";
    appendOptionalString(out, "rtfFile", item.rtfFile, first);
    appendOptionalString(out, "sourceAppName", item.sourceAppName, first);
    appendOptionalString(out, "sourceBundleID", item.sourceBundleID, first);
    appendOptionalString(out, "text", item.text, first);
    appendKey(out, "useCount", first);
    appendInteger(out, item.useCount);
    out.push_back('}');
}

std::string encodeIndex(const ClipHistory& history) {
    std::string out = "{\"items\":[";
    bool first = true;
    for (const ClipItem& item : history.items()) {
        if (!first)
            out.push_back(',');
        first = false;
        appendItem(out, item);
    }
    out += "],\"version\":";
    out += std::to_string(ClipArchive::indexVersion);
    out.push_back('}');
    return out;
}

} // namespace

fs::path ClipArchive::defaultFolder() {
    return Paths::dataFolder() / "Clipboard";
}

std::expected<void, std::string> ClipArchive::ensureFolder() const {
    auto created = AtomicFile::ensureFolder(folder, folderMode);
    if (!created)
        return created;
    std::error_code error;
    fs::permissions(folder, folderMode, fs::perm_options::replace, error);
    if (error)
        return std::unexpected("couldn't restrict " + folder.string() + ": " + error.message());
    return {};
}

ClipHistory ClipArchive::load() const {
    const auto text = AtomicFile::read(folder / indexName);
    if (!text)
        return ClipHistory();
    auto items = decodeIndex(*text);
    if (!items)
        return ClipHistory();
    const auto present = fileNames(folder);
    std::erase_if(*items, [&](const ClipItem& item) {
        return std::ranges::any_of(item.sideFiles(), [&](const std::string& name) {
            return !isSafeName(name) || !present.contains(name);
        });
    });
    return ClipHistory(std::move(*items));
}

std::expected<void, std::string> ClipArchive::save(const ClipHistory& history) const {
    if (auto ready = ensureFolder(); !ready)
        return ready;
    return AtomicFile::write(folder / indexName, encodeIndex(history), fileMode);
}

std::expected<std::string, std::string> ClipArchive::writeSideFile(std::string_view data, const UUID& id,
                                                                   std::string_view ext) const {
    if (!isSideFileExtension(ext))
        return std::unexpected("not a side-file extension: \"" + std::string(ext) + "\"");
    if (auto ready = ensureFolder(); !ready)
        return std::unexpected(ready.error());
    std::string name = id.string() + "." + std::string(ext);
    if (auto written = AtomicFile::write(folder / name, data, fileMode); !written)
        return std::unexpected(written.error());
    return name;
}

std::optional<std::string> ClipArchive::readSideFile(std::string_view name) const {
    if (!isSafeName(name))
        return std::nullopt;
    auto contents = AtomicFile::read(folder / name);
    if (!contents)
        return std::nullopt;
    return std::move(*contents);
}

void ClipArchive::deleteSideFiles(std::span<const ClipItem> items) const {
    for (const ClipItem& item : items) {
        for (const std::string& name : item.sideFiles()) {
            if (!isSafeName(name))
                continue;
            std::error_code ignored;
            fs::remove(folder / name, ignored);
        }
    }
}

std::size_t ClipArchive::removeOrphans(const ClipHistory& keeping) const {
    std::set<std::string, std::less<>> kept;
    for (const ClipItem& item : keeping.items()) {
        for (std::string& name : item.sideFiles())
            kept.insert(std::move(name));
    }
    std::size_t removed = 0;
    for (const std::string& name : fileNames(folder)) {
        if (!isSafeName(name) || kept.contains(name))
            continue;
        std::error_code error;
        if (fs::remove(folder / name, error))
            ++removed;
    }
    return removed;
}

std::uintmax_t ClipArchive::totalBytes() const {
    std::uintmax_t total = 0;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code sizeError;
        if (!entry->is_regular_file(sizeError))
            continue;
        const auto size = entry->file_size(sizeError);
        if (!sizeError)
            total += size;
    }
    return total;
}

bool ClipArchive::isSafeName(std::string_view name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos || name.find('.', dot + 1) != std::string_view::npos)
        return false;
    return UUID::parse(name.substr(0, dot)).has_value() && isSideFileExtension(name.substr(dot + 1));
}

std::string_view ClipArchive::imageExtension(std::optional<std::string_view> type) {
    if (!type)
        return "tiff";
    if (*type == "public.png" || *type == "Apple PNG pasteboard type")
        return "png";
    if (*type == "public.jpeg")
        return "jpg";
    if (*type == "public.heic")
        return "heic";
    if (*type == "com.compuserve.gif")
        return "gif";
    return "tiff";
}

} // namespace brind
