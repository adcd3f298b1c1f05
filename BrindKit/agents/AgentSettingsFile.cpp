#include "BrindKit/agents/AgentSettingsFile.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"

#include <system_error>

namespace brind::AgentSettingsFile {

namespace {

namespace fs = std::filesystem;

constexpr fs::perms newFileMode = fs::perms::owner_read | fs::perms::owner_write;

std::optional<std::string> contentsOf(const fs::path& path) {
    auto text = AtomicFile::read(path);
    if (!text)
        return std::nullopt;
    return *text;
}

fs::path resolved(const fs::path& path) {
    std::error_code error;
    if (!fs::is_symlink(path, error))
        return path;
    const fs::path target = fs::read_symlink(path, error);
    if (error)
        return path;
    return target.is_absolute() ? target : path.parent_path() / target;
}

std::expected<void, std::string> keepOriginal(const fs::path& path, const std::optional<std::string>& current) {
    if (original(path))
        return {};
    if (!current)
        return AtomicFile::write(absentMarkerPath(path), "");
    std::error_code error;
    const fs::perms mode = fs::status(path, error).permissions();
    return AtomicFile::write(backupPath(path), *current, error ? newFileMode : mode & fs::perms::mask);
}

} // namespace

fs::path backupPath(const fs::path& path) { return path.string() + ".vantaquill-backup"; }

fs::path absentMarkerPath(const fs::path& path) { return path.string() + ".vantaquill-absent"; }

std::optional<std::optional<std::string>> original(const fs::path& path) {
    if (auto backup = contentsOf(backupPath(path)))
        return std::optional<std::string>(std::move(*backup));
    std::error_code error;
    if (fs::exists(absentMarkerPath(path), error))
        return std::optional<std::string>();
    return std::nullopt;
}

void forgetOriginal(const fs::path& path) {
    std::error_code ignored;
    fs::remove(backupPath(path), ignored);
    fs::remove(absentMarkerPath(path), ignored);
}

std::expected<Outcome, std::string> edit(const fs::path& given, const Change& change) {
    const fs::path path = resolved(given);
    for (int attempt = 0; attempt < maxAttempts; ++attempt) {
        std::error_code error;
        const bool exists = fs::exists(path, error);
        const std::optional<std::string> current = contentsOf(path);
        if (exists && !current)
            return std::unexpected("couldn't read " + path.string());
        auto next = change(current);
        if (!next)
            return std::unexpected(next.error());
        if (*next == current)
            return Outcome::unchanged;
        if (auto folder = AtomicFile::ensureFolder(path.parent_path()); !folder)
            return std::unexpected(folder.error());
        if (auto kept = keepOriginal(path, current); !kept)
            return std::unexpected(kept.error());
        // The user may have saved the file while we worked: start again from their bytes.
        if (contentsOf(path) != current)
            continue;
        if (!*next) {
            fs::remove(path, error);
            if (error)
                return std::unexpected("couldn't remove " + path.string() + ": " + error.message());
            return Outcome::removed;
        }
        const fs::perms mode = current ? fs::status(path, error).permissions() & fs::perms::mask : newFileMode;
        if (auto written = AtomicFile::write(path, **next, mode); !written)
            return std::unexpected(written.error());
        return Outcome::written;
    }
    return std::unexpected(path.string() + " kept changing while we edited it; try again");
}

std::expected<std::optional<std::string>, std::string>
uninstalled(const std::optional<std::string>& current, const std::optional<std::optional<std::string>>& original,
            const Change& install, const Change& remove) {
    auto removed = remove(current);
    if (!removed || !original)
        return removed;
    // Compared without our entries, so that entries written with other options (an HTTP hook,
    // another time-out, an older path) still count as "nothing else changed".
    const auto reinstalled = install(*original);
    if (!reinstalled)
        return removed;
    const auto expected = remove(*reinstalled);
    if (expected && *expected == *removed)
        return *original;
    return removed;
}

} // namespace brind::AgentSettingsFile
