#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/shelf/ShelfLibrary.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vq {

/// The shelf's library on disk ("shelf.json" in the data folder, written atomically), owned by the
/// main thread. A file written by a newer version is left untouched: the shelf then starts empty
/// and saves nothing over it.
class ShelfStore {
public:
    explicit ShelfStore(std::filesystem::path folder);

    static constexpr const char* fileName = "shelf.json";

    const brind::ShelfLibrary& library() const { return library_; }

    /// Adds file entries for `paths` (absolute, existing) that are not on the shelf yet and saves;
    /// returns the entries added.
    std::vector<brind::ShelfEntry> addFiles(const std::vector<std::string>& paths, brind::Date now);

    /// Adds a text snippet, or a link when `text` is a web address, unless the shelf holds it already,
    /// and saves; the entry added.
    std::optional<brind::ShelfEntry> addText(const std::string& text, brind::Date now);

    /// Takes the entry off the shelf and saves; the entry removed, or nothing when no entry has that
    /// id. A file the shelf made itself inside its own folder is deleted with it; a file the user
    /// put on the shelf is never touched.
    std::optional<brind::ShelfEntry> remove(const brind::UUID& id);

    /// Takes off the shelf every unpinned entry added more than `hours` before `now` (none when
    /// `hours` is 0 or less), deleting the files the shelf made itself as `remove` does, and saves
    /// when one went; the entries removed.
    std::vector<brind::ShelfEntry> expire(double hours, brind::Date now);

    /// Takes every unpinned entry off the shelf, deleting the files the shelf made itself as `remove`
    /// does, and saves when one went; the entries removed. Pinned entries stay, in their order.
    std::vector<brind::ShelfEntry> clearUnpinned();

    /// Pins the entry (it never expires and stays through "Clear shelf") or unpins it, and saves;
    /// false when no entry has that id.
    bool setPinned(const brind::UUID& id, bool pinned);

    enum class RenameError { noSuchEntry, refusedName, fileNotRenamed };

    /// Gives the entry the name `proposed` (after `ShelfNaming::sanitisedRename`) and saves; the
    /// renamed entry. A file the shelf made itself inside its own folder is renamed on disk too,
    /// within its folder, to a name no other file there has (`ShelfNaming::unique`), and the title
    /// is that name; any other entry, a file the user put on the shelf included, only changes its
    /// title, never a file of the user's. A refused name or a failed disk rename changes nothing.
    std::expected<brind::ShelfEntry, RenameError> rename(const brind::UUID& id, std::string_view proposed);

    /// What opening the entry shows: the file's "file://" URL, or a link's URL; nothing for a text
    /// snippet, which has nothing to open, or when no entry has that id.
    std::optional<std::string> openURL(const brind::UUID& id) const;

    /// Called after every change of the entries, once they are saved.
    std::function<void()> onChange;
    /// Told of the entries a clear or an expiry took off the shelf, after `onChange`.
    std::function<void(const std::vector<brind::ShelfEntry>&)> onCleared;

    /// The last save's failure, naming the file; empty when it succeeded.
    const std::string& lastError() const { return lastError_; }

private:
    void changed();
    /// Deletes the owned files of entries just taken off, saves and tells `onCleared`.
    std::vector<brind::ShelfEntry> cleared(std::vector<brind::ShelfEntry> entries);
    void save();
    /// Deletes the file of an entry leaving the shelf when the shelf made it, inside its own folder.
    void deleteOwnedFile(const brind::ShelfEntry& entry) const;
    bool isInsideFolder(const std::string& path) const;

    std::filesystem::path folder;
    brind::ShelfLibrary library_;
    bool writable = true;
    std::string lastError_;
};

} // namespace vq
