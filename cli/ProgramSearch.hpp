#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace vq::ProgramSearch {

/// Where the shell would find `program`: the first executable of that name in a folder of $PATH,
/// or nothing when there is none (or $PATH is unset).
std::optional<std::filesystem::path> find(std::string_view program);

} // namespace vq::ProgramSearch
