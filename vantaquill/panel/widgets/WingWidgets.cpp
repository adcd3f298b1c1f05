#include "vantaquill/panel/widgets/WingWidgets.hpp"

#include "BrindKit/widgets/WidgetStatsMath.hpp"
#include "BrindKit/widgets/WidgetWeatherCode.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/providers/BatteryProvider.hpp"
#include "vantaquill/providers/StatsSampler.hpp"
#include "vantaquill/providers/WeatherProvider.hpp"
#include "vantaquill/settings/StayAwake.hpp"

#include <QDateTime>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <sys/statvfs.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace vq {

namespace {

using brind::WidgetSideKind;

/// Between two widgets sharing a wing.
constexpr std::string_view separator = "  ";

std::vector<WidgetSideKind> kindsNamed(std::string_view names) {
    std::vector<WidgetSideKind> kinds;
    const QString text = QString::fromUtf8(names.data(), static_cast<qsizetype>(names.size()));
    for (const QString& name : text.split(QRegularExpression("[\\s,]+"), Qt::SkipEmptyParts)) {
        if (const auto kind = brind::widgetSideKindNamed(name.toStdString()))
            kinds.push_back(*kind);
    }
    return kinds;
}

/// "7%" as "  7%" with figure spaces (as wide as a digit): a percentage that changes every second
/// keeps its width, so the island does not resize with it.
std::string steadyPercent(double value) {
    const std::string text = brind::WidgetStatsMath::percent(value);
    std::string padding;
    for (std::size_t width = text.size(); width < 4; ++width)
        padding += "\u2007";
    return padding + text;
}

} // namespace

WingWidgets::WingWidgets(Sources sources) : sources_(sources) {}

WingWidgets::~WingWidgets() {
    sources_.stats.hide(this);
}

brind::WidgetWingLayout WingWidgets::layoutNamed(std::string_view leading, std::string_view trailing) {
    return brind::WidgetWingLayout(kindsNamed(leading), kindsNamed(trailing));
}

void WingWidgets::apply(bool enabled, const brind::WidgetWingLayout& layout) {
    if (enabled == enabled_ && layout == layout_)
        return;
    enabled_ = enabled;
    layout_ = layout;
    refresh();
}

bool WingWidgets::usesStats() const {
    // The sampler's tick also reads the disk and the battery again; the GPU has no source here and
    // shows nothing, so nothing is sampled for it alone.
    return std::ranges::any_of(layout_.all(), [](WidgetSideKind kind) {
        return brind::usesStats(kind) && kind != WidgetSideKind::gpu;
    });
}

bool WingWidgets::usesClock() const {
    return layout_.contains(WidgetSideKind::date) || layout_.contains(WidgetSideKind::stayAwake);
}

void WingWidgets::armClock() {
    // The next whole minute: the date turns over on one, and a stay-awake countdown counts in them.
    const double now = sources_.scheduler.now().secondsSince1970;
    const double wait = 60 - std::fmod(now, 60);
    clock_ = sources_.scheduler.schedule(wait, [this] {
        auto fired = std::move(clock_);
        refresh();
    });
}

std::string WingWidgets::text(WidgetSideKind kind) const {
    switch (kind) {
    case WidgetSideKind::date:
        return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(sources_.scheduler.now().secondsSince1970))
            .toString("ddd d")
            .toStdString();
    case WidgetSideKind::weather: {
        if (!sources_.weather || !sources_.weather->current())
            return {};
        const auto& shown = *sources_.weather->current();
        return std::to_string(std::lround(shown.forecast.temperature)) + "°";
    }
    case WidgetSideKind::cpu: {
        const auto last = sources_.stats.cpu().last();
        return last ? "CPU " + steadyPercent(*last) : std::string();
    }
    case WidgetSideKind::memory: {
        const auto last = sources_.stats.memory().last();
        return last ? "MEM " + steadyPercent(*last) : std::string();
    }
    case WidgetSideKind::network: {
        const auto last = sources_.stats.received().last();
        return last ? "↓" + brind::WidgetStatsMath::formatBytes(*last, true) : std::string();
    }
    case WidgetSideKind::stayAwake: {
        const auto mode = sources_.stayAwake.mode();
        if (!mode.isActive(sources_.stayAwake.now()))
            return {};
        return "Awake " + mode.statusLabel(sources_.stayAwake.now());
    }
    case WidgetSideKind::disk: {
        struct statvfs disk {};
        if (::statvfs(sources_.diskFolder.c_str(), &disk) != 0 || disk.f_blocks == 0)
            return {};
        return "DISK " + steadyPercent(1.0 - static_cast<double>(disk.f_bavail) / static_cast<double>(disk.f_blocks));
    }
    case WidgetSideKind::battery: {
        const auto battery = BatteryProvider::readPowerSupply(sources_.sysClass / "power_supply");
        return battery.present ? "BAT " + steadyPercent(battery.percent / 100) : std::string();
    }
    // The calendar and the GPU have no source on Linux here, and the pomodoro shows as its own
    // activity while it runs (which takes the wings).
    case WidgetSideKind::nextEvent:
    case WidgetSideKind::gpu:
    case WidgetSideKind::pomodoro:
        return {};
    }
    return {};
}

void WingWidgets::refresh() {
    const bool covered = !sources_.center.activities().empty();
    const bool shown = enabled_ && !covered && !layout_.isEmpty();
    if (shown && usesStats())
        sources_.stats.show(this, [this] { refresh(); });
    else
        sources_.stats.hide(this);
    if (shown && usesClock()) {
        if (!clock_)
            armClock();
    } else {
        clock_.reset();
    }

    std::optional<brind::LiveActivity> wings;
    std::string leading;
    std::string trailing;
    if (shown) {
        const auto side = [this](const std::vector<WidgetSideKind>& kinds) {
            std::string joined;
            for (const WidgetSideKind kind : kinds) {
                const std::string part = text(kind);
                if (part.empty())
                    continue;
                joined += (joined.empty() ? "" : std::string(separator)) + part;
            }
            return joined;
        };
        leading = side(layout_.leading());
        trailing = side(layout_.trailing());
        if (!leading.empty() || !trailing.empty()) {
            brind::LiveActivity activity;
            activity.id = std::string(activityID);
            activity.source = std::string(activityID);
            activity.priority = brind::ActivityPriority::ambient;
            activity.leading = leading.empty() ? brind::ActivityGlyph::none() : brind::ActivityGlyph::text(leading);
            activity.trailing = trailing.empty() ? brind::ActivityGlyph::none() : brind::ActivityGlyph::text(trailing);
            wings = std::move(activity);
        }
    }
    if (!wings) {
        leading.clear();
        trailing.clear();
    }
    if (wings == wings_)
        return;
    wings_ = std::move(wings);
    leadingText_ = std::move(leading);
    trailingText_ = std::move(trailing);
    if (onChange)
        onChange();
}

} // namespace vq
