#include "BrindKit/system/LyricWing.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unicode/utf8.h>

namespace brind {

namespace {

bool isMusicNote(UChar32 scalar) {
    return scalar == U'\u266A' || scalar == U'\u266B' || scalar == U'\u266C' || scalar == U'\u2669';
}

// Lines such as "♪" or "♫ ♫" mark an instrumental passage; the wing stays quiet for them.
bool isNotePlaceholder(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    int32_t offset = 0;
    while (offset < length) {
        UChar32 scalar = 0;
        U8_NEXT(bytes, offset, length, scalar);
        if (scalar < 0)
            return false;
        if (!isMusicNote(scalar) && !Text::isWhitespace(static_cast<char32_t>(scalar)))
            return false;
    }
    return true;
}

} // namespace

LyricWing::Display LyricWing::current(const LRCLyrics& lyrics, double position) {
    Display display;
    // A player that has not reported a position yet gives nothing to show or wait for.
    if (std::isnan(position))
        return display;
    const auto index = lyrics.index(position);

    // Before the first line the wing waits for that line; afterwards for the one after the current.
    const std::size_t following = index ? *index + 1 : 0;
    if (following < lyrics.lines.size())
        display.next = std::max(lyrics.lines[following].time - position, minimumNext);

    if (!index)
        return display;
    std::string text = Text::trimmed(lyrics.lines[*index].text);
    if (text.empty() || isNotePlaceholder(text))
        return display;
    display.text = std::move(text);
    return display;
}

} // namespace brind
