#pragma once

#include "BrindKit/foundation/Date.hpp"
#include "BrindKit/shelf/ShelfLibrary.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
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

    /// The last save's failure, naming the file; empty when it succeeded.
    const std::string& lastError() const { return lastError_; }

private:
    void save();

    std::filesystem::path folder;
    brind::ShelfLibrary library_;
    bool writable = true;
    std::string lastError_;
};

} // namespace vq
