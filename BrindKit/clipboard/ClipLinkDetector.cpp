#include "BrindKit/clipboard/ClipLinkDetector.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Text.hpp"
#include "BrindKit/foundation/URL.hpp"

#include <unicode/utf8.h>

namespace brind::ClipLinkDetector {

namespace {

// Longer texts are documents, not links; refusing them early keeps classifying large copies fast.
constexpr std::size_t maxLinkCharacters = 4096;
constexpr std::size_t minMailtoLength = 8;

bool containsWhitespace(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t index = 0;
    while (index < length) {
        UChar32 scalar = 0;
        U8_NEXT(bytes, index, length, scalar);
        if (scalar >= 0 && Text::isWhitespace(static_cast<char32_t>(scalar)))
            return true;
    }
    return false;
}

bool hasHost(const URL& url) {
    return url.host && !url.host->empty();
}

} // namespace

const std::set<std::string, std::less<>>& schemes() {
    static const std::set<std::string, std::less<>> accepted{
        "http", "https", "ftp", "sftp", "mailto", "ssh", "file", "x-apple.systempreferences",
    };
    return accepted;
}

std::optional<std::string> link(std::string_view text) {
    // A link is ASCII once parsed (RFC 3986 allows nothing else), so its byte count is its
    // character count and anything longer in bytes can be refused before any scanning.
    std::string trimmed = Text::trimmed(text);
    if (trimmed.empty() || trimmed.size() > maxLinkCharacters || containsWhitespace(trimmed))
        return std::nullopt;

    // "www." and a later dot; only the prefix's case matters, so nothing needs lower-casing.
    constexpr std::string_view wwwPrefix = "www.";
    if (ASCII::equalsIgnoringCase(std::string_view(trimmed).substr(0, wwwPrefix.size()), wwwPrefix) &&
        trimmed.find('.', wwwPrefix.size()) != std::string::npos) {
        if (URL::parse("https://" + trimmed))
            return trimmed;
        return std::nullopt;
    }

    const auto url = URL::parse(trimmed);
    if (!url || !url->isAbsolute())
        return std::nullopt;
    const std::string scheme = url->lowercasedScheme();
    if (!schemes().contains(scheme))
        return std::nullopt;
    if (scheme == "http" || scheme == "https" || scheme == "ftp" || scheme == "sftp" || scheme == "ssh") {
        if (!hasHost(*url))
            return std::nullopt;
    } else if (scheme == "mailto") {
        if (trimmed.size() < minMailtoLength || trimmed.find('@') == std::string::npos)
            return std::nullopt;
    }
    return trimmed;
}

} // namespace brind::ClipLinkDetector
