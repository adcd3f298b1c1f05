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
