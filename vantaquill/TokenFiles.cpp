#include "vantaquill/TokenFiles.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"

namespace vq::TokenFiles {

std::expected<std::string, std::string> loadOrCreateHookToken(const std::filesystem::path& dataFolder) {
    const auto file = dataFolder / "hook-token";
    if (const auto existing = brind::AtomicFile::read(file)) {
        // Trimmed as the hook command trims it, so that both ends agree on the same secret.
        const std::string token(brind::ASCII::trimmed(*existing));
        if (!token.empty()) {
            // A token file copied or restored with a wider mode is made the user's alone again.
            std::error_code ignored;
            std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                         ignored);
            return token;
        }
    }
    if (auto folder = brind::AtomicFile::ensureFolder(dataFolder); !folder)
        return std::unexpected(folder.error());
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
