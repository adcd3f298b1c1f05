#pragma once

#include "BrindKit/foundation/Date.hpp"

#include <optional>
#include <string_view>

namespace brind {

/// A text scrolling up at a steady speed. The offset is computed from the moment, so the view can
/// draw any frame without keeping a timer's count.
class WidgetTeleprompterScroll {
    double speedValue = 0; ///< points per second, kept within the range by every setter

public:
    /// Points per second: slower is a crawl, faster is unreadable.
    static constexpr double minSpeed = 5;
    static constexpr double maxSpeed = 200;

    double contentHeight = 0;  ///< points
    double viewportHeight = 0; ///< points
    double baseOffset = 0;     ///< points scrolled up to `runningSince`
    std::optional<Date> runningSince{};

    explicit WidgetTeleprompterScroll(double speed = 40, double contentHeight = 0, double viewportHeight = 0);

    /// Points per second, always within 5...200.
    double speed() const { return speedValue; }

    double maxOffset() const;
    double offset(Date now) const;
    /// 0...1; 0 when the text fits.
    double progress(Date now) const;
    /// True when the text is longer than the view and has scrolled to its end.
    bool isFinished(Date now) const;
    bool isRunning() const { return runningSince.has_value(); }

    /// Starts scrolling; a finished text starts again from the top. Nothing while running.
    void play(Date now);
    void pause(Date now);
    /// Clamps into 5...200 and keeps the offset reached so far, so the text never jumps.
    void setSpeed(double speed, Date now);
    /// Moves the text by `delta` points (clamped to the text); a running scroll continues from there.
    void nudge(double delta, Date now);
    /// Back to the top, paused.
    void rewind();

    /// Seconds to read `text` aloud at `wordsPerMinute`; 0 when the pace is not above 0.
    static double readingTime(std::string_view text, double wordsPerMinute);

    friend bool operator==(const WidgetTeleprompterScroll&, const WidgetTeleprompterScroll&) = default;
};

} // namespace brind
