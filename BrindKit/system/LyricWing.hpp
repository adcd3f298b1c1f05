#pragma once

#include "BrindKit/system/LRCLyrics.hpp"

#include <optional>
#include <string>

namespace brind {

/// What the lyric wing shows at a playback position, and when it should look again.
struct LyricWing {
    /// The shortest wait the wing is told to sleep, so that lines sharing a time cannot spin it.
    static constexpr double minimumNext = 0.05;

    struct Display {
        std::optional<std::string> text; ///< nothing for no current line, a gap or a music-note placeholder
        std::optional<double> next;      ///< seconds until the following line; nothing after the last

        friend bool operator==(const Display&, const Display&) = default;
    };

    static Display current(const LRCLyrics& lyrics, double position);
};

} // namespace brind
