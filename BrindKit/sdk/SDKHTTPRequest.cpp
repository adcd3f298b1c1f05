#include "BrindKit/sdk/SDKHTTPRequest.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <algorithm>

namespace brind {

namespace {

constexpr std::string_view bearerPrefix = "Bearer ";

} // namespace

std::optional<std::string> SDKHTTPRequest::header(std::string_view name) const {
    const auto value = headerView(name);
    if (!value)
        return std::nullopt;
    return std::string(*value);
}

std::optional<std::string_view> SDKHTTPRequest::headerView(std::string_view name) const {
    // Lower-cased exactly as the parser keys the fields, so any name finds its own field. The names
    // the server asks for are lower-case ASCII already, which lower-casing leaves as they are.
    const bool lowerASCII = std::ranges::all_of(name, [](char c) {
        return static_cast<unsigned char>(c) < 0x80 && !(c >= 'A' && c <= 'Z');
    });
    const auto found = headers.find(lowerASCII ? std::string(name) : Text::lowercased(name));
    if (found == headers.end())
        return std::nullopt;
    return std::string_view(found->second);
}

std::vector<std::string_view> SDKHTTPRequest::segments() const {
    const std::string_view path = this->path;
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    while (start <= path.size()) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (end > start)
            pieces.emplace_back(path.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

std::optional<std::string> SDKHTTPRequest::bearerToken() const {
    const auto value = headerView("authorization");
    if (!value || !value->starts_with(bearerPrefix))
        return std::nullopt;
    const std::string_view rest = value->substr(bearerPrefix.size());
    // A token that starts and ends with a visible ASCII character has nothing to trim, whatever
    // counts as white space; anything else goes through the Unicode trimmer.
    const auto visible = [](char c) { return c > ' ' && c < 0x7F; };
    std::string token = !rest.empty() && visible(rest.front()) && visible(rest.back()) ? std::string(rest)
                                                                                       : Text::trimmed(rest);
    if (token.empty())
        return std::nullopt;
    return token;
}

} // namespace brind
