#include "bench/soak/SoakSupport.hpp"

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/sdk/SDKAuthorizer.hpp"
#include "BrindKit/sdk/SDKClient.hpp"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

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

std::size_t killRounds() {
    const char* rounds = std::getenv("SOAK_KILLS");
    return rounds ? std::strtoul(rounds, nullptr, 10) : 200;
}

std::optional<brind::JSON> readJSON(const std::filesystem::path& path) {
    std::ifstream file(path);
    if (!file)
        return std::nullopt;
    std::stringstream text;
    text << file.rdbuf();
    auto parsed = brind::JSONText::parse(text.str());
    return parsed ? std::optional(*parsed) : std::nullopt;
}

bool check(bool holds, const std::string& what) {
    std::printf("%s %s\n", holds ? "ok  " : "FAIL", what.c_str());
    std::fflush(stdout);
    return holds;
}

} // namespace vq::soak
