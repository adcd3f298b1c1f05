#include "BrindKit/clipboard/ClipArchive.hpp"

#include "BrindKit/clipboard/ClipIndex.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/Paths.hpp"

#include <algorithm>
#include <array>
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
    auto items = ClipIndex::decode(*text);
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
    return AtomicFile::write(folder / indexName, ClipIndex::encode(history), fileMode);
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
