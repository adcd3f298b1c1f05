#include "vantaquill/ShelfStore.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <algorithm>
#include <system_error>
#include <utility>

namespace vq {

ShelfStore::ShelfStore(std::filesystem::path folder) : folder(std::move(folder)) {
    const auto text = brind::AtomicFile::read(this->folder / fileName);
    if (!text)
        return;
    auto read = brind::ShelfLibrary::read(*text);
    if (read) {
        library_ = std::move(*read);
        return;
    }
    // Never overwrite a library this version cannot read: it may be a newer version's.
    writable = read.error() != brind::ShelfLibrary::DecodeError::newerVersion;
}

std::vector<brind::ShelfEntry> ShelfStore::addFiles(const std::vector<std::string>& paths, brind::Date now) {
    std::vector<brind::ShelfEntry> entries;
    for (const auto& path : paths) {
        brind::ShelfEntry entry;
        entry.id = brind::UUID::random();
        entry.kind = brind::ShelfEntry::Kind::file;
        entry.path = brind::ShelfEntry::standardisedPath(path);
        entry.title = std::filesystem::path(*entry.path).filename().string();
        entry.addedAt = now;
        entries.push_back(std::move(entry));
    }
    auto added = library_.insert(entries);
    if (!added.empty())
        changed();
    return added;
}

std::optional<brind::ShelfEntry> ShelfStore::addText(const std::string& text, brind::Date now) {
    brind::ShelfEntry entry;
    entry.id = brind::UUID::random();
    const bool link = text.starts_with("https://") || text.starts_with("http://");
    entry.kind = link ? brind::ShelfEntry::Kind::link : brind::ShelfEntry::Kind::text;
    entry.text = text;
    entry.title = link ? brind::ShelfEntry::titleForLink(text) : brind::ShelfEntry::titleForText(text);
    entry.addedAt = now;
    auto added = library_.insert({entry});
    if (added.empty())
        return std::nullopt;
    changed();
    return added.front();
}

std::optional<brind::ShelfEntry> ShelfStore::remove(const brind::UUID& id) {
    auto& entries = library_.entries;
    const auto found = std::ranges::find(entries, id, &brind::ShelfEntry::id);
    if (found == entries.end())
        return std::nullopt;
    brind::ShelfEntry removed = std::move(*found);
    entries.erase(found);
    deleteOwnedFile(removed);
    changed();
    return removed;
}

std::vector<brind::ShelfEntry> ShelfStore::expire(double hours, brind::Date now) {
    auto expired = library_.expire(hours, now);
    for (const auto& entry : expired)
        deleteOwnedFile(entry);
    if (!expired.empty())
        changed();
    return expired;
}

void ShelfStore::deleteOwnedFile(const brind::ShelfEntry& entry) const {
    if (entry.owned && entry.path && isInsideFolder(*entry.path)) {
        std::error_code ignored;
        std::filesystem::remove(*entry.path, ignored);
    }
}

std::optional<std::string> ShelfStore::openURL(const brind::UUID& id) const {
    const auto& entries = library_.entries;
    const auto found = std::ranges::find(entries, id, &brind::ShelfEntry::id);
    if (found == entries.end())
        return std::nullopt;
    switch (found->kind) {
    case brind::ShelfEntry::Kind::file:
        return found->fileURL();
    case brind::ShelfEntry::Kind::link:
        return found->text;
    case brind::ShelfEntry::Kind::text:
        return std::nullopt;
    }
    std::unreachable();
}

// The library is read from a file a user may edit: "owned" alone must never let it delete a file
// elsewhere on the disk.
bool ShelfStore::isInsideFolder(const std::string& path) const {
    const auto standardised = std::filesystem::path(brind::ShelfEntry::standardisedPath(path));
    const auto relative = standardised.lexically_relative(folder.lexically_normal());
    return !relative.empty() && *relative.begin() != ".." && relative != ".";
}

void ShelfStore::changed() {
    save();
    if (onChange)
        onChange();
}

void ShelfStore::save() {
    lastError_.clear();
    if (!writable)
        return;
    if (auto made = brind::AtomicFile::ensureFolder(folder); !made) {
        lastError_ = fileName;
        return;
    }
    if (auto written = brind::AtomicFile::write(folder / fileName, library_.encoded()); !written)
        lastError_ = fileName;
}

} // namespace vq
