#include "vantaquill/ShelfStore.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/shelf/ShelfNaming.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
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
    return cleared(library_.expire(hours, now));
}

bool ShelfStore::setPinned(const brind::UUID& id, bool pinned) {
    const auto found = std::ranges::find(library_.entries, id, &brind::ShelfEntry::id);
    if (found == library_.entries.end())
        return false;
    if (found->pinned != pinned) {
        found->pinned = pinned;
        changed();
    }
    return true;
}

std::vector<brind::ShelfEntry> ShelfStore::clearUnpinned() {
    auto& entries = library_.entries;
    const auto unpinned = std::ranges::stable_partition(entries, &brind::ShelfEntry::pinned).begin();
    std::vector<brind::ShelfEntry> removed(std::make_move_iterator(unpinned),
                                           std::make_move_iterator(entries.end()));
    entries.erase(unpinned, entries.end());
    return cleared(std::move(removed));
}

std::vector<brind::ShelfEntry> ShelfStore::cleared(std::vector<brind::ShelfEntry> entries) {
    if (entries.empty())
        return entries;
    for (const auto& entry : entries)
        deleteOwnedFile(entry);
    changed();
    if (onCleared)
        onCleared(entries);
    return entries;
}

namespace {

// Renames `from` to `to` unless something is already called `to`: a file that appeared since the
// name was chosen is never replaced. False with errno set otherwise.
bool renameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system without no-replace renames: a second link fails as well when the name is taken.
    if (::link(from.c_str(), to.c_str()) != 0)
        return false;
    ::unlink(from.c_str());
    return true;
}

// Gives a file the shelf made a free name in its own folder, close to `name`; the new path, or
// nothing when the disk refused.
std::optional<std::filesystem::path> renameInFolder(const std::filesystem::path& file,
                                                    const std::string& name) {
    const auto folder = file.parent_path();
    const auto currentName = file.filename().string();
    const auto taken = [&](std::string_view candidate) {
        if (candidate == currentName)
            return false;
        std::error_code ignored;
        return std::filesystem::exists(std::filesystem::symlink_status(folder / candidate, ignored));
    };
    // Another program may take the chosen name before the rename: choose again a few times.
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto free = brind::ShelfNaming::unique(name, taken);
        if (!free)
            return std::nullopt;
        const auto target = folder / *free;
        if (*free == currentName || renameWithoutReplacing(file, target))
            return target;
        if (errno != EEXIST)
            return std::nullopt;
    }
    return std::nullopt;
}

} // namespace

std::expected<brind::ShelfEntry, ShelfStore::RenameError> ShelfStore::rename(const brind::UUID& id,
                                                                             std::string_view proposed) {
    auto& entries = library_.entries;
    const auto found = std::ranges::find(entries, id, &brind::ShelfEntry::id);
    if (found == entries.end())
        return std::unexpected(RenameError::noSuchEntry);
    const auto name = brind::ShelfNaming::sanitisedRename(proposed, found->title);
    if (!name)
        return std::unexpected(RenameError::refusedName);
    if (found->kind == brind::ShelfEntry::Kind::file && found->owned && found->path &&
        isInsideFolder(*found->path)) {
        const auto moved = renameInFolder(brind::ShelfEntry::standardisedPath(*found->path), *name);
        if (!moved)
            return std::unexpected(RenameError::fileNotRenamed);
        found->path = moved->string();
        found->title = moved->filename().string();
    } else {
        found->title = *name;
    }
    // Copied first: what follows a change (the auto-clear's sweep) may take entries off.
    brind::ShelfEntry renamed = *found;
    changed();
    return renamed;
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
