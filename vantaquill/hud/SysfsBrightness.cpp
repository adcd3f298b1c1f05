#include "vantaquill/hud/SysfsBrightness.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace vq {

namespace {

std::optional<int> readNumber(const std::filesystem::path& file) {
    const auto contents = brind::AtomicFile::read(file);
    if (!contents)
        return std::nullopt;
    const std::string_view text = brind::ASCII::trimmed(*contents);
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < 0)
        return std::nullopt;
    return value;
}

std::vector<SysfsBrightness> devicesIn(const std::filesystem::path& folder) {
    std::vector<SysfsBrightness> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        // Device folders are symbolic links into /sys/devices; a test's stand-in may be a folder.
        if (std::filesystem::exists(entry.path() / "max_brightness", error))
            found.push_back({entry.path()});
    }
    std::ranges::sort(found, {}, &SysfsBrightness::name);
    return found;
}

int typeRank(const SysfsBrightness& device) {
    const auto type = brind::AtomicFile::read(device.folder / "type");
    const std::string_view kind = type ? brind::ASCII::trimmed(*type) : std::string_view{};
    for (const auto& [rank, name] : {std::pair{0, "firmware"}, std::pair{1, "platform"}, std::pair{2, "raw"}}) {
        if (kind == name)
            return rank;
    }
    return 3;
}

} // namespace

std::optional<int> SysfsBrightness::maximum() const {
    const auto value = readNumber(folder / "max_brightness");
    if (!value || *value == 0)
        return std::nullopt;
    return value;
}

std::optional<double> SysfsBrightness::level(const std::string& file) const {
    const auto top = maximum();
    const auto value = readNumber(folder / file);
    if (!top || !value)
        return std::nullopt;
    return std::clamp(static_cast<double>(*value) / *top, 0.0, 1.0);
}

std::optional<int> SysfsBrightness::value(const std::string& file) const {
    return readNumber(folder / file);
}

std::vector<SysfsBrightness> SysfsBrightness::backlights(const std::filesystem::path& classRoot) {
    auto found = devicesIn(classRoot / "backlight");
    std::ranges::stable_sort(found, {}, typeRank);
    return found;
}

std::vector<SysfsBrightness> SysfsBrightness::keyboardLights(const std::filesystem::path& classRoot) {
    auto found = devicesIn(classRoot / "leds");
    std::erase_if(found, [](const SysfsBrightness& device) { return !device.name().contains("kbd_backlight"); });
    return found;
}

} // namespace vq
