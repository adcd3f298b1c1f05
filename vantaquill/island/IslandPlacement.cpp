#include "vantaquill/island/IslandPlacement.hpp"

#include "BrindKit/island/NotchMetrics.hpp"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace vq {

namespace {

// The firmware publishes the housing's height only. Every notched Apple laptop's housing is close
// to this many device pixels wide; users correct the rest with "island.notchWidthOffset" or
// declare the exact size with "island.housing".
constexpr double estimatedHousingWidthPixels = 370;
// The device tree nodes are few; a bounded walk keeps a strange tree from costing the start.
constexpr int deviceTreeSearchDepth = 6;
constexpr std::string_view notchHeightProperty = "apple,notch-height";

std::optional<double> parseNumber(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value) || value <= 0)
        return std::nullopt;
    return value;
}

std::optional<std::filesystem::path> findProperty(const std::filesystem::path& folder, int depth) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        if (entry.path().filename() == notchHeightProperty && entry.is_regular_file(error))
            return entry.path();
        if (depth > 0 && entry.is_directory(error) && !entry.is_symlink(error)) {
            if (auto found = findProperty(entry.path(), depth - 1))
                return found;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<QSizeF> IslandPlacement::parseHousing(std::string_view text) {
    const auto separator = text.find('x');
    if (separator == std::string_view::npos)
        return std::nullopt;
    const auto width = parseNumber(text.substr(0, separator));
    const auto height = parseNumber(text.substr(separator + 1));
    if (!width || !height)
        return std::nullopt;
    return QSizeF(*width, *height);
}

std::optional<QSizeF> IslandPlacement::firmwareHousing(const std::filesystem::path& deviceTree,
                                                        double devicePixelRatio) {
    const auto property = findProperty(deviceTree, deviceTreeSearchDepth);
    if (!property)
        return std::nullopt;
    std::ifstream file(*property, std::ios::binary);
    unsigned char bytes[4] = {};
    if (!file.read(reinterpret_cast<char*>(bytes), sizeof bytes))
        return std::nullopt;
    // Device tree cells are big-endian 32-bit numbers.
    const std::uint32_t pixels = (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
                                 (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
    if (pixels == 0 || devicePixelRatio <= 0)
        return std::nullopt;
    return QSizeF(std::round(estimatedHousingWidthPixels / devicePixelRatio), std::round(pixels / devicePixelRatio));
}

brind::IslandLayout::Input IslandPlacement::input(const Screen& screen, const Choices& choices) {
    const double topPanel = std::max(0, screen.available.top() - screen.geometry.top());
    const double width = screen.geometry.width();
    std::optional<double> leftAux;
    std::optional<double> rightAux;
    double safeTop = 0;
    if (screen.housing) {
        // The housing sits centred in the top edge; what lies beside it is free.
        leftAux = rightAux = (width - screen.housing->width()) / 2;
        safeTop = screen.housing->height();
    }
    const auto metrics = brind::NotchMetrics::compute(width, safeTop, leftAux, rightAux, topPanel);
    return {.metrics = metrics,
            .floating = !metrics.hasNotch,
            .size = choices.size,
            .widthOffset = choices.widthOffset,
            .heightOffset = choices.heightOffset};
}

QRect IslandPlacement::windowFrame(const Screen& screen, const brind::IslandLayout::Input& input) {
    const QRect& geometry = screen.geometry;
    const brind::SizeF window = brind::IslandLayout::window(input);
    const brind::RectF frame = brind::IslandLayout::windowFrame(
        {static_cast<double>(geometry.x()), 0, static_cast<double>(geometry.width()),
         static_cast<double>(geometry.height())},
        input);
    // The layout's frame has its origin at the bottom; Qt's at the top, where the window hangs from.
    return QRect(static_cast<int>(frame.x), geometry.top(), static_cast<int>(window.width),
                 static_cast<int>(window.height));
}

} // namespace vq
