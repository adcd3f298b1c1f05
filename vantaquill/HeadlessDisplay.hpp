#pragma once

#include "BrindKit/island/HUDEvent.hpp"
#include "BrindKit/island/IslandState.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vq {

/// The island shown as text while the application runs without a window: one line per visible
/// change, in the stable format documented in docs/HEADLESS.md. Users see what the island would
/// show; tests read it.
class HeadlessDisplay {
public:
    using Writer = std::function<void(const std::string& line)>;

    /// `writer` prints one line of the display; `errors` one diagnostic (stderr).
    HeadlessDisplay(Writer writer, Writer errors) : write(std::move(writer)), writeError(std::move(errors)) {}

    /// The queue's ordered list as published: a line for each activity shown, updated or ended.
    void activitiesChanged(const std::vector<brind::LiveActivity>& activities);
    void alertChanged(const std::optional<brind::LiveActivity>& alerting);
    void hudChanged(const std::optional<brind::HUDEvent>& hud);
    void stateChanged(brind::IslandState state);
    void line(const std::string& text) { write(text); }
    /// "vantaquill: " + text on the diagnostics stream.
    void error(const std::string& text) { writeError("vantaquill: " + text); }

    /// `name="value"` with the value quoted and escaped as a JSON string, so that a line always
    /// splits cleanly at its spaces whatever the title holds.
    static std::string field(std::string_view name, std::string_view value);
    static std::string number(std::string_view name, double value);
    static std::string describe(const brind::LiveActivity& activity);
    static std::string describe(const brind::HUDEvent& hud);

private:
    Writer write;
    Writer writeError;
    /// What was last written for each activity, and the pass (`passes`) that last saw it listed.
    struct Shown {
        brind::LiveActivity activity;
        std::uint64_t seen = 0;
    };
    std::map<std::string, Shown, std::less<>> shown;
    std::uint64_t passes = 0;
    std::optional<std::string> alertID;
    std::optional<brind::IslandState> lastState;
};

} // namespace vq
