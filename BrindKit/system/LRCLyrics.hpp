#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brind {

/// Time-synced lyrics read from LRC text: the lines of a song with the moment each one starts.
struct LRCLyrics {
    struct Line {
        double time = 0;  ///< seconds from the start of the track, never negative
        std::string text; ///< trimmed; empty for an instrumental gap

        friend bool operator==(const Line&, const Line&) = default;
    };

    enum class ParseError {
        noTimedLines, ///< the text holds no line with a valid time tag
    };

    /// Sorted by time; lines with equal times keep their order in the text.
    std::vector<Line> lines;

    /// Reads LRC text: "[mm:ss.xx]text" lines, several tags per line, "[offset:ms]" tags; other
    /// tags (artist, title, length, ...) are ignored, and so is every line without a time tag.
    static std::expected<LRCLyrics, ParseError> parse(std::string_view lrc);

    /// The seconds in one time tag's content: "1:02.5", "1:02,5" and "0:01:02.5" all give 62.5.
    static std::optional<double> stamp(std::string_view content);

    /// The line that is current at `at` seconds: the last one that starts no later than it.
    std::optional<std::size_t> index(double at) const;

    friend bool operator==(const LRCLyrics&, const LRCLyrics&) = default;
};

std::string_view toString(LRCLyrics::ParseError error);

} // namespace brind
