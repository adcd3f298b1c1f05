#include "BrindKit/sdk/SDKSSE.hpp"

namespace brind::SDKSSE {

std::string event(std::string_view name, std::string_view data, std::optional<std::string_view> id) {
    std::string text;
    text.reserve(name.size() + data.size() + 32);
    if (id) {
        text += "id: ";
        text += *id;
        text += '\n';
    }
    text += "event: ";
    text += name;
    text += '\n';
    std::size_t start = 0;
    while (true) {
        const std::size_t end = data.find('\n', start);
        text += "data: ";
        text += data.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
        text += '\n';
        if (end == std::string_view::npos)
            break;
        start = end + 1;
    }
    text += '\n';
    return text;
}

std::string comment(std::string_view text) {
    std::string line = ": ";
    line += text;
    line += "\n\n";
    return line;
}

} // namespace brind::SDKSSE
