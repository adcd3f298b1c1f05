#include "BrindKit/widgets/WidgetRingBuffer.hpp"

#include "BrindKit/foundation/UnitInterval.hpp"

#include <algorithm>

namespace brind {

WidgetRingBuffer::WidgetRingBuffer(std::size_t capacity) : capacityValue(std::max<std::size_t>(capacity, 1)) {}

void WidgetRingBuffer::append(double value) {
    if (storageValues.size() < capacityValue) {
        storageValues.push_back(value);
        return;
    }
    storageValues[headIndex] = value;
    headIndex = (headIndex + 1) % capacityValue;
}

std::vector<double> WidgetRingBuffer::values() const {
    if (storageValues.size() < capacityValue)
        return storageValues;
    std::vector<double> ordered;
    ordered.reserve(storageValues.size());
    const auto head = storageValues.begin() + static_cast<std::ptrdiff_t>(headIndex);
    ordered.insert(ordered.end(), head, storageValues.end());
    ordered.insert(ordered.end(), storageValues.begin(), head);
    return ordered;
}

std::optional<double> WidgetRingBuffer::last() const {
    if (storageValues.empty())
        return std::nullopt;
    if (storageValues.size() < capacityValue)
        return storageValues.back();
    return storageValues[(headIndex + capacityValue - 1) % capacityValue];
}

std::optional<double> WidgetRingBuffer::peak() const {
    if (storageValues.empty())
        return std::nullopt;
    return *std::ranges::max_element(storageValues);
}

std::vector<double> WidgetRingBuffer::normalised(std::optional<double> ceiling) const {
    const double top = ceiling ? *ceiling : peak().value_or(0);
    std::vector<double> result = values();
    for (double& value : result)
        value = top > 0 ? UnitInterval::clamp(value / top) : 0;
    return result;
}

void WidgetRingBuffer::removeAll() {
    storageValues.clear();
    headIndex = 0;
}

} // namespace brind
