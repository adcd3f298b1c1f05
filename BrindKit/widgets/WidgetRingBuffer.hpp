#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace brind {

/// A fixed-capacity history of samples for the statistics graphs; once full, each new value
/// replaces the oldest.
class WidgetRingBuffer {
    std::size_t capacityValue = 1;
    std::vector<double> storageValues;
    std::size_t headIndex = 0; ///< the oldest value once full

public:
    /// A capacity below 1 is raised to 1.
    explicit WidgetRingBuffer(std::size_t capacity);

    std::size_t capacity() const { return capacityValue; }
    const std::vector<double>& storage() const { return storageValues; }
    std::size_t head() const { return headIndex; }

    void append(double value);
    /// Oldest first.
    std::vector<double> values() const;
    std::size_t count() const { return storageValues.size(); }
    /// The newest value.
    std::optional<double> last() const;
    /// The largest value.
    std::optional<double> peak() const;
    /// Every value divided by `ceiling` (the largest value when absent) and clamped to 0...1, oldest
    /// first; all zeros when the ceiling is not above 0.
    std::vector<double> normalised(std::optional<double> ceiling = std::nullopt) const;
    void removeAll();

    friend bool operator==(const WidgetRingBuffer&, const WidgetRingBuffer&) = default;
};

} // namespace brind
