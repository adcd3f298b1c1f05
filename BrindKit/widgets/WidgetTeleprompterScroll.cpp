#include "BrindKit/widgets/WidgetTeleprompterScroll.hpp"

#include "BrindKit/foundation/Text.hpp"

#include <unicode/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace brind {

namespace {

constexpr double secondsPerMinute = 60;

double clampedSpeed(double speed) {
    if (std::isnan(speed))
        return WidgetTeleprompterScroll::minSpeed;
    return std::clamp(speed, WidgetTeleprompterScroll::minSpeed, WidgetTeleprompterScroll::maxSpeed);
}

} // namespace

WidgetTeleprompterScroll::WidgetTeleprompterScroll(double speed, double contentHeight, double viewportHeight)
    : speedValue(clampedSpeed(speed)), contentHeight(contentHeight), viewportHeight(viewportHeight) {}

double WidgetTeleprompterScroll::maxOffset() const {
    return std::max(0.0, contentHeight - viewportHeight);
}

double WidgetTeleprompterScroll::offset(Date now) const {
    double reached = baseOffset;
    if (runningSince)
        reached += (now - *runningSince) * speedValue;
    return std::clamp(reached, 0.0, maxOffset());
}

double WidgetTeleprompterScroll::progress(Date now) const {
    const double end = maxOffset();
    if (end <= 0)
        return 0;
    return offset(now) / end;
}

bool WidgetTeleprompterScroll::isFinished(Date now) const {
    const double end = maxOffset();
    return end > 0 && offset(now) >= end;
}

void WidgetTeleprompterScroll::play(Date now) {
    if (isRunning())
        return;
    if (isFinished(now))
        baseOffset = 0;
    runningSince = now;
}

void WidgetTeleprompterScroll::pause(Date now) {
    baseOffset = offset(now);
    runningSince.reset();
}

void WidgetTeleprompterScroll::setSpeed(double speed, Date now) {
    if (!isRunning()) {
        speedValue = clampedSpeed(speed);
        return;
    }
    // Restart the run at the offset reached so far; even a text that has reached its end stays there.
    pause(now);
    speedValue = clampedSpeed(speed);
    runningSince = now;
}

void WidgetTeleprompterScroll::nudge(double delta, Date now) {
    const bool wasRunning = isRunning();
    if (wasRunning)
        pause(now);
    baseOffset = std::clamp(baseOffset + delta, 0.0, maxOffset());
    if (wasRunning)
        runningSince = now;
}

void WidgetTeleprompterScroll::rewind() {
    baseOffset = 0;
    runningSince.reset();
}

double WidgetTeleprompterScroll::readingTime(std::string_view text, double wordsPerMinute) {
    if (!(wordsPerMinute > 0))
        return 0;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int32_t>(text.size());
    std::int32_t index = 0;
    long long words = 0;
    bool inWord = false;
    while (index < length) {
        UChar32 scalar = 0;
        U8_NEXT(bytes, index, length, scalar);
        const bool space = scalar >= 0 && Text::isWhitespace(static_cast<char32_t>(scalar));
        if (!space && !inWord)
            ++words;
        inWord = !space;
    }
    return static_cast<double>(words) / wordsPerMinute * secondsPerMinute;
}

} // namespace brind
