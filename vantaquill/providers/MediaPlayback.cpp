#include "vantaquill/providers/MediaPlayback.hpp"

#include "BrindKit/foundation/EnumTable.hpp"

#include <algorithm>
#include <array>

namespace vq {

namespace {

constexpr std::array statusNames{
    brind::EnumTable::NameRow<MediaPlayback::Status>{MediaPlayback::Status::playing, "Playing"},
    brind::EnumTable::NameRow<MediaPlayback::Status>{MediaPlayback::Status::paused, "Paused"},
    brind::EnumTable::NameRow<MediaPlayback::Status>{MediaPlayback::Status::stopped, "Stopped"},
};
static_assert(brind::EnumTable::coversEveryCase(statusNames));

} // namespace

std::optional<double> MediaPlayback::position(brind::Date now) const {
    if (!anchorPosition)
        return std::nullopt;
    double at = *anchorPosition;
    if (status == Status::playing)
        at += std::max(now - anchoredAt, 0.0) * rate;
    at = std::max(at, 0.0);
    if (length && *length > 0)
        at = std::min(at, *length);
    return at;
}

void MediaPlayback::anchor(brind::Date now) {
    anchorPosition = position(now);
    anchoredAt = now;
}

std::string MediaPlayback::artistLine() const {
    std::string line;
    for (const auto& artist : artists) {
        if (artist.empty())
            continue;
        if (!line.empty())
            line += ", ";
        line += artist;
    }
    return line;
}

std::string_view name(MediaPlayback::Status status) {
    return brind::EnumTable::row(statusNames, status).name;
}

std::optional<MediaPlayback::Status> mediaPlaybackStatusNamed(std::string_view name) {
    return brind::EnumTable::named(statusNames, name);
}

} // namespace vq
