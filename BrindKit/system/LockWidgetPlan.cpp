#include "BrindKit/system/LockWidgetPlan.hpp"

namespace brind {

std::vector<LockWidget> LockWidgetPlan::widgets(const LockWidgetInput& input) {
    std::vector<LockWidget> wanted;
    if (input.media && input.hasMedia)
        wanted.push_back(LockWidget::media);
    if (input.battery && input.hasBattery)
        wanted.push_back(LockWidget::battery);
    if (input.bluetooth && input.hasBluetooth)
        wanted.push_back(LockWidget::bluetooth);
    if (input.meeting && input.meetingIn && meetingWindow.contains(*input.meetingIn))
        wanted.push_back(LockWidget::meeting);
    if (input.weather && input.hasForecast)
        wanted.push_back(LockWidget::weather);
    if (input.timer && input.hasTimer)
        wanted.push_back(LockWidget::timer);
    // The Focus toggle stands for both "what mode am I in" widgets: Focus and stay-awake.
    if (input.focus) {
        if (input.focusName && !input.focusName->empty())
            wanted.push_back(LockWidget::focus);
        if (input.stayAwake)
            wanted.push_back(LockWidget::stayAwake);
    }

    std::vector<LockWidget> shown;
    std::size_t small = 0;
    for (const LockWidget widget : wanted) {
        if (isSmall(widget)) {
            if (small == maxSmall)
                continue;
            ++small;
        }
        shown.push_back(widget);
    }
    return shown;
}

} // namespace brind
