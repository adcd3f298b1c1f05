#include "cli/ProcessTable.hpp"

#include <fstream>
#include <iterator>
#include <sstream>

namespace vq::ProcessTable {

std::optional<Entry> entry(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    const std::string stat((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    // The name (field 2) may hold spaces and parentheses; the fields resume after the last ")".
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(')');
    if (open == std::string::npos || close == std::string::npos || close < open)
        return std::nullopt;
    std::istringstream fields(stat.substr(close + 1));
    std::string state;
    Entry result{stat.substr(open + 1, close - open - 1), 0};
    if (!(fields >> state >> result.parent))
        return std::nullopt;
    return result;
}

} // namespace vq::ProcessTable
