#pragma once

#include "BrindKit/sdk/SDKClient.hpp"

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

namespace vq {

/// The registered SDK clients on disk: "sdk-clients.json" in the data folder, mode 0600, written
/// atomically. Tokens are never stored, only their digests.
class ClientStore {
public:
    explicit ClientStore(std::filesystem::path folder) : folder(std::move(folder)) {}

    static constexpr const char* fileName = "sdk-clients.json";

    std::filesystem::path path() const { return folder / fileName; }

    /// The stored clients; an absent or unreadable file is an empty list (entries that do not
    /// identify a client are skipped).
    std::vector<brind::SDKClient> load() const;

    /// Replaces the file; the error names the file.
    std::expected<void, std::string> save(const std::vector<brind::SDKClient>& clients) const;

private:
    std::filesystem::path folder;
};

} // namespace vq
