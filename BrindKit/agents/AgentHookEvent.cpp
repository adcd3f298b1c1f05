#include "BrindKit/agents/AgentHookEvent.hpp"

namespace brind {

std::string AgentHookEvent::projectName() const {
    if (cwd && !cwd->empty()) {
        // Trailing separators do not hide the folder's name ("/work/app/" is "app").
        std::string_view path = *cwd;
        while (path.size() > 1 && path.back() == '/')
            path.remove_suffix(1);
        const std::size_t slash = path.rfind('/');
        const std::string_view last = slash == std::string_view::npos ? path : path.substr(slash + 1);
        if (!last.empty())
            return std::string(last);
    }
    return std::string(displayName(agent));
}

} // namespace brind
