#include "vantaquill/TokenFiles.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"

namespace vq::TokenFiles {

std::expected<std::string, std::string> loadOrCreateHookToken(const std::filesystem::path& dataFolder) {
    namespace fs = std::filesystem;
    if (auto folder = brind::AtomicFile::ensureFolder(dataFolder); !folder)
        return std::unexpected(folder.error());
    // The folder and the file hold a secret: they are the user's alone, even when something else
    // made them first with a wider mode (a folder made by hand, a file restored from a backup).
    // Another user's stay as they are.
    std::error_code notOurs;
    fs::permissions(dataFolder, fs::perms::owner_all, notOurs);
    const auto file = dataFolder / "hook-token";
    if (const auto existing = brind::AtomicFile::read(file)) {
        // Trimmed as the hook command trims it, so that both ends agree on the same secret.
        const std::string token(brind::ASCII::trimmed(*existing));
        if (!token.empty()) {
            fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write, notOurs);
            return token;
        }
    }
    std::string token = brind::SDKAuthorizer::newToken();
    if (auto written = brind::AtomicFile::write(file, token + "\n"); !written)
        return std::unexpected(written.error());
    return token;
}

std::expected<void, std::string> writeCLIToken(const std::filesystem::path& file, const std::string& token) {
    if (auto folder = brind::AtomicFile::ensureFolder(file.parent_path()); !folder)
        return folder;
    return brind::AtomicFile::write(file, token + "\n");
}

} // namespace vq::TokenFiles
