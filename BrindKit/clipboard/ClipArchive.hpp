#pragma once

#include "BrindKit/clipboard/ClipHistory.hpp"
#include "BrindKit/clipboard/ClipItem.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brind {

/// The clipboard history on disk: "index.json" listing every item, and one side file per RTF or
/// image payload, all in one private folder (0700, files 0600). Every file is written to a
/// temporary name and renamed into place, so a crash leaves the old file or the new one, never a
/// torn one. Errors are sentences for the log; the history in memory never depends on them.
struct ClipArchive {
    std::filesystem::path folder;

    static constexpr std::string_view indexName = "index.json";

    /// The "Clipboard" folder inside the application's data folder.
    static std::filesystem::path defaultFolder();

    std::filesystem::path url(std::string_view sideFile) const { return folder / sideFile; }

    /// Creates the folder and missing parents, or narrows an existing folder to 0700.
    std::expected<void, std::string> ensureFolder() const;

    /// The stored history; empty when the index is missing or damaged. Items whose side files are
    /// gone, or that name files the archive could not have written, are left out.
    ClipHistory load() const;

    std::expected<void, std::string> save(const ClipHistory& history) const;

    /// Writes a payload under "<UUID>.<ext>" and returns that name; `ext` must be one of the
    /// side-file extensions.
    std::expected<std::string, std::string> writeSideFile(std::string_view data, const UUID& id,
                                                          std::string_view ext) const;

    /// A side file's bytes; nothing when it cannot be read or the name is not a side-file name.
    std::optional<std::string> readSideFile(std::string_view name) const;

    /// Removes the items' side files; failures are ignored, and names that are not side-file names
    /// are never touched.
    void deleteSideFiles(std::span<const ClipItem> items) const;

    /// Removes side files no item refers to; the index and files with other names stay. Returns the
    /// number removed.
    std::size_t removeOrphans(const ClipHistory& keeping) const;

    /// The size of every file in the folder, in bytes.
    std::uintmax_t totalBytes() const;

    /// "<UUID>.<one of png, tiff, jpg, heic, gif, rtf>".
    static bool isSafeName(std::string_view name);

    /// The side-file extension for an image's clipboard type; "tiff" for any other type.
    static std::string_view imageExtension(std::optional<std::string_view> type);
};

} // namespace brind
