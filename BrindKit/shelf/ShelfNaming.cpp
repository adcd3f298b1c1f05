#include "BrindKit/shelf/ShelfNaming.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <charconv>
#include <limits>

namespace brind::ShelfNaming {

SplitName split(std::string_view name) {
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size())
        return {name, {}};
    return {name.substr(0, dot), name.substr(dot + 1)};
}

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

struct TrailingNumber {
    long long value = 0;
    std::size_t length = 0; ///< of the " <digits>" ending
};

/// The number of a base that ends in " <digits>"; nothing when the base does not end that way or the
/// digits do not read as a positive number one can count on from.
std::optional<TrailingNumber> trailingNumber(std::string_view base) {
    std::size_t digitsStart = base.size();
    while (digitsStart > 0 && isDigit(base[digitsStart - 1]))
        --digitsStart;
    if (digitsStart == base.size() || digitsStart == 0 || base[digitsStart - 1] != ' ')
        return std::nullopt;
    long long value = 0;
    const auto digits = base.substr(digitsStart);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc{} || end != digits.data() + digits.size())
        return std::nullopt;
    if (value < 1 || value >= std::numeric_limits<long long>::max() - maxNumberedAttempts)
        return std::nullopt;
    return TrailingNumber{value, base.size() - digitsStart + 1};
}

/// The longest prefix of `text` of at most `bytes` bytes that ends between two characters, so that
/// neither a UTF-8 sequence nor an accented letter is cut in half.
std::string_view prefixWithin(std::string_view text, std::size_t bytes) {
    if (text.size() <= bytes)
        return text;
    // Prefix lengths grow with the character count, so the longest fitting count is found by bisection.
    std::size_t low = 0;
    std::size_t high = Text::graphemeCount(text);
    while (low < high) {
        const std::size_t middle = low + (high - low + 1) / 2;
        if (Text::graphemePrefix(text, middle).size() <= bytes)
            low = middle;
        else
            high = middle - 1;
    }
    return text.substr(0, Text::graphemePrefix(text, low).size());
}

} // namespace

std::optional<std::string> unique(std::string_view name, const std::function<bool(std::string_view)>& exists) {
    if (!exists(name))
        return std::string(name);
    const auto [wholeBase, extension] = split(name);
    std::string_view base = wholeBase;
    long long start = 2;
    if (const auto number = trailingNumber(base)) {
        base.remove_suffix(number->length);
        start = number->value + 1;
    }
    const std::string suffix = extension.empty() ? std::string() : "." + std::string(extension);
    for (long long k = start; k < start + maxNumberedAttempts; ++k) {
        std::string candidate = std::string(base) + " (" + std::to_string(k) + ")" + suffix;
        if (!exists(candidate))
            return candidate;
    }
    return std::nullopt;
}

std::optional<std::string> sanitisedRename(std::string_view proposedName, std::string_view currentName) {
    std::string name = Text::trimmed(proposedName);
    for (char& c : name) {
        if (c == '/' || c == '\0')
            c = '-';
    }
    std::size_t dots = 0;
    while (dots < name.size() && name[dots] == '.')
        ++dots;
    name.erase(0, dots);

    if (name.size() > maxNameBytes) {
        const auto [base, extension] = split(name);
        // Keep a sensible extension whole; a "extension" that is itself too long is just cut.
        const std::size_t kept = extension.size() + 1;
        if (!extension.empty() && kept < maxNameBytes / 2)
            name = std::string(prefixWithin(base, maxNameBytes - kept)) + "." + std::string(extension);
        else
            name = std::string(prefixWithin(name, maxNameBytes));
    }
    if (name.empty() || name == currentName)
        return std::nullopt;
    return name;
}

} // namespace brind::ShelfNaming
