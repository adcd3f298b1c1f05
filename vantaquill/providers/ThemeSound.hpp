#pragma once

#include <functional>
#include <string>
#include <string_view>

struct ca_context;

namespace vq {

/// Sounds of the desktop's sound theme, by their freedesktop names ("alarm-clock-elapsed",
/// "complete"), played through libcanberra on the session's sound server. Playing never waits for
/// the sound to end.
class ThemeSound {
public:
    using Log = std::function<void(const std::string&)>;

    explicit ThemeSound(Log log);
    ~ThemeSound();
    ThemeSound(const ThemeSound&) = delete;
    ThemeSound& operator=(const ThemeSound&) = delete;

    /// Plays the theme's sound for `eventID`; `description` says what happened, for the sound
    /// server's list of streams. A failure is said once, not at every sound.
    void play(std::string_view eventID, std::string_view description);

private:
    void report(const std::string& why);

    Log log_;
    ca_context* context_ = nullptr;
    bool reported_ = false;
};

} // namespace vq
