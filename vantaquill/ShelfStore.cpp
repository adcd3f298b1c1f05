#include "vantaquill/ShelfStore.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

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
        save();
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
    save();
    return added.front();
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
