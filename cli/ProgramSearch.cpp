#include "cli/ProgramSearch.hpp"

#include <cstdlib>
#include <sstream>
#include <string>
#include <unistd.h>

namespace vq::ProgramSearch {

std::optional<std::filesystem::path> find(std::string_view program) {
    const char* path = std::getenv("PATH");
    if (!path)
        return std::nullopt;
    std::stringstream folders(path);
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        if (folder.empty())
            continue;
        auto candidate = std::filesystem::path(folder) / program;
        if (::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return std::nullopt;
}

} // namespace vq::ProgramSearch
