#include "BrindKit/system/LRCLyrics.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace brind {

namespace {

constexpr std::string_view offsetPrefix = "offset:";
constexpr double millisecondsPerSecond = 1000;
constexpr double secondsPerMinute = 60;
constexpr double secondsPerHour = 3600;

// A byte-order mark is not white space, so a file that starts with one would lose its first tag.
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Line separators other than "\n" and "\r": NEL, LINE SEPARATOR, PARAGRAPH SEPARATOR.
constexpr std::string_view nextLine = "\xC2\x85";
constexpr std::string_view lineSeparator = "\xE2\x80\xA8";
constexpr std::string_view paragraphSeparator = "\xE2\x80\xA9";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// An unsigned decimal number written out in full: digits with at most one ".", at least one digit.
// Signs, exponents, "inf" and "nan" are not times.
std::optional<double> unsignedDecimal(std::string_view text) {
    bool sawPoint = false;
    bool sawDigit = false;
    for (const char c : text) {
        if (isDigit(c)) {
            sawDigit = true;
        } else if (c == '.' && !sawPoint) {
            sawPoint = true;
        } else {
            return std::nullopt;
        }
    }
    if (!sawDigit)
        return std::nullopt;
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// The milliseconds of an offset tag: an optionally signed decimal, blanks around it allowed.
std::optional<double> offsetMilliseconds(std::string_view rest) {
    const std::string text = Text::trimmed(rest);
    std::string_view digits = text;
    double sign = 1;
    if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
        sign = digits.front() == '-' ? -1 : 1;
        digits.remove_prefix(1);
    }
    const auto value = unsignedDecimal(digits);
    if (!value)
        return std::nullopt;
    return sign * *value;
}

// Tag names are ASCII, and files write "offset" in any case.
bool startsWithOffset(std::string_view content) {
    return ASCII::equalsIgnoringCase(content.substr(0, offsetPrefix.size()), offsetPrefix);
}

// Length of the line break starting at `position`, or 0 when there is none.
std::size_t lineBreakLength(std::string_view text, std::size_t position) {
    const char c = text[position];
    if (c == '\n' || c == '\r')
        return 1;
    const std::string_view rest = text.substr(position);
    if (rest.starts_with(nextLine))
        return nextLine.size();
    if (rest.starts_with(lineSeparator) || rest.starts_with(paragraphSeparator))
        return lineSeparator.size();
    return 0;
}

template <typename Visit>
void forEachLine(std::string_view text, Visit visit) {
    std::size_t start = 0;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t length = lineBreakLength(text, position);
        if (length == 0) {
            ++position;
            continue;
        }
        visit(text.substr(start, position - start));
        position += length;
        start = position;
    }
    visit(text.substr(start));
}

} // namespace

std::optional<double> LRCLyrics::stamp(std::string_view content) {
    constexpr std::size_t maxParts = 3;
    double parts[maxParts] = {};
    std::size_t count = 0;
    std::size_t start = 0;
    while (true) {
        const std::size_t colon = content.find(':', start);
        const std::string_view part =
            content.substr(start, colon == std::string_view::npos ? std::string_view::npos : colon - start);
        if (part.empty() || count == maxParts)
            return std::nullopt;
        std::string decimal(part);
        std::replace(decimal.begin(), decimal.end(), ',', '.');
        const auto value = unsignedDecimal(decimal);
        if (!value)
            return std::nullopt;
        parts[count++] = *value;
        if (colon == std::string_view::npos)
            break;
        start = colon + 1;
    }
    double seconds = 0;
    if (count == 2) {
        seconds = parts[0] * secondsPerMinute + parts[1];
    } else if (count == 3) {
        seconds = parts[0] * secondsPerHour + parts[1] * secondsPerMinute + parts[2];
    } else {
        return std::nullopt;
    }
    if (!std::isfinite(seconds))
        return std::nullopt;
    return seconds;
}

std::expected<LRCLyrics, LRCLyrics::ParseError> LRCLyrics::parse(std::string_view lrc) {
    if (lrc.starts_with(byteOrderMark))
        lrc.remove_prefix(byteOrderMark.size());

    LRCLyrics lyrics;
    double offsetSeconds = 0;
    std::vector<double> times;

    forEachLine(lrc, [&](std::string_view rawLine) {
        const std::string line = Text::trimmed(rawLine);
        std::string_view rest = line;
        times.clear();
        while (rest.starts_with('[')) {
            const std::size_t close = rest.find(']');
            if (close == std::string_view::npos)
                break;
            const std::string_view content = rest.substr(1, close - 1);
            rest.remove_prefix(close + 1);
            if (startsWithOffset(content)) {
                if (const auto milliseconds = offsetMilliseconds(content.substr(offsetPrefix.size())))
                    offsetSeconds = *milliseconds / millisecondsPerSecond;
                continue;
            }
            // Anything else that is not a time (artist, title, length, a typo) only loses its tag.
            if (const auto seconds = stamp(content))
                times.push_back(*seconds);
        }
        if (times.empty())
            return;
        std::string text = Text::trimmed(rest);
        if (!Text::isValidUTF8(text))
            text = Text::repairedUTF8(text);
        for (const double time : times)
            lyrics.lines.push_back(Line{time, text});
    });

    if (lyrics.lines.empty())
        return std::unexpected(ParseError::noTimedLines);

    std::stable_sort(lyrics.lines.begin(), lyrics.lines.end(),
                     [](const Line& a, const Line& b) { return a.time < b.time; });
    // Shifting every line by the same amount and clamping keeps the order, so no second sort. The
    // upper clamp only matters for absurd stamps that a negative offset would push past infinity.
    for (Line& line : lyrics.lines)
        line.time = std::clamp(line.time - offsetSeconds, 0.0, std::numeric_limits<double>::max());
    return lyrics;
}

std::optional<std::size_t> LRCLyrics::index(double at) const {
    if (lines.empty() || std::isnan(at))
        return std::nullopt;
    const auto after =
        std::upper_bound(lines.begin(), lines.end(), at,
                         [](double position, const Line& line) { return position < line.time; });
    if (after == lines.begin())
        return std::nullopt;
    return static_cast<std::size_t>(after - lines.begin()) - 1;
}

std::string_view toString(LRCLyrics::ParseError error) {
    switch (error) {
    case LRCLyrics::ParseError::noTimedLines:
        return "the lyrics have no line with a time tag";
    }
    std::unreachable();
}

} // namespace brind
