#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace vq::soak {

/// The token of registered soak client `index`.
std::string clientToken(std::size_t index);

/// Writes `count` registered clients with every scope into the data folder, before the island starts,
/// so that each has its own rate limit.
void registerClients(const std::filesystem::path& dataFolder, std::size_t count);

/// How many times the kill soaks kill the island: 200, or SOAK_KILLS=<n>.
std::size_t killRounds();

/// The JSON in a file, or nothing when it is missing or does not parse.
std::optional<brind::JSON> readJSON(const std::filesystem::path& path);

/// Prints "ok" or "FAIL" before `what`; whether it holds.
bool check(bool holds, const std::string& what);

/// The island's data folder inside a soak home.
inline std::filesystem::path dataFolder(const vq::e2e::TemporaryHome& home) {
    return home.path() / ".local/share/vantaquill";
}

/// The slowloris with well-behaved clients; whether every limit held.
bool slowlorisSoak();

/// A flood of every route mixed with malformed requests; whether every limit held.
bool floodSoak();

/// The island killed at random moments while it writes its files; whether every file held.
bool crashSoak();

/// The island killed at random moments while it writes the agents' rule book; whether it held.
bool ruleBookSoak();

} // namespace vq::soak
