#include "vantaquill/ClientStore.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"

namespace vq {

std::vector<brind::SDKClient> ClientStore::load() const {
    const auto text = brind::AtomicFile::read(path());
    if (!text)
        return {};
    const auto json = brind::JSONText::parse(*text);
    if (!json)
        return {};
    return brind::SDKClient::listFromJSON(*json).value_or(std::vector<brind::SDKClient>{});
}

std::expected<void, std::string> ClientStore::save(const std::vector<brind::SDKClient>& clients) const {
    if (auto folderMade = brind::AtomicFile::ensureFolder(folder); !folderMade)
        return std::unexpected(fileName);
    if (auto written = brind::AtomicFile::write(path(), brind::JSONText::pretty(brind::SDKClient::listToJSON(clients)) + "\n");
        !written)
        return std::unexpected(fileName);
    return {};
}

} // namespace vq
