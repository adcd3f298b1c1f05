#include "BrindKit/system/LRCLyrics.hpp"
#include "BrindKit/system/LyricWing.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// Any bytes must parse to a result or a clean error; whatever parses must hold the promises the wing
// relies on: sorted, never negative, and an index that agrees with a linear scan.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto lyrics = brind::LRCLyrics::parse(text);
    if (!lyrics)
        return 0;
    const auto& lines = lyrics->lines;
    if (lines.empty())
        std::abort();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (!(lines[i].time >= 0) || !std::isfinite(lines[i].time))
            std::abort();
        if (i > 0 && lines[i].time < lines[i - 1].time)
            std::abort();
    }
    for (const auto& line : lines) {
        for (const double position : {line.time, line.time - 0.001, line.time + 0.001}) {
            std::optional<std::size_t> expected;
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (lines[i].time <= position)
                    expected = i;
            }
            if (lyrics->index(position) != expected)
                std::abort();
            const auto display = brind::LyricWing::current(*lyrics, position);
            if (display.next && *display.next < brind::LyricWing::minimumNext)
                std::abort();
        }
        if (lines.size() > 64)
            break;
    }
    return 0;
}
