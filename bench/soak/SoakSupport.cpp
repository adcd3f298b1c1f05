#include "bench/soak/SoakSupport.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKClient.hpp"

#include <cstdio>
#include <fstream>

namespace vq::soak {

std::string clientToken(std::size_t index) { return "vq_soak_client_" + std::to_string(index); }

void registerClients(const std::filesystem::path& dataFolder, std::size_t count) {
    std::vector<brind::SDKClient> clients;
    for (std::size_t i = 0; i < count; ++i) {
        brind::SDKClient client;
        client.appID = "soak-" + std::to_string(i);
        client.name = "Soak client " + std::to_string(i);
        client.scopes = {brind::SDKScopes::all.begin(), brind::SDKScopes::all.end()};
        client.tokenHash = brind::SDKAuthorizer::hash(clientToken(i));
        clients.push_back(client);
    }
    std::filesystem::create_directories(dataFolder);
    std::filesystem::permissions(dataFolder, std::filesystem::perms::owner_all);
    std::ofstream(dataFolder / "sdk-clients.json") << brind::JSONText::pretty(brind::SDKClient::listToJSON(clients));
}

bool check(bool holds, const std::string& what) {
    std::printf("%s %s\n", holds ? "ok  " : "FAIL", what.c_str());
    std::fflush(stdout);
    return holds;
}

} // namespace vq::soak
