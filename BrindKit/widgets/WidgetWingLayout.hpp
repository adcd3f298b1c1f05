#pragma once

#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/widgets/WidgetSideKind.hpp"

#include <cstddef>
#include <optional>
#include <vector>

namespace brind {

/// Which widgets sit in the island's two wings, slot by slot. Each wing holds at most two kinds and
/// a kind appears at most once in the whole layout; every operation keeps that true.
class WidgetWingLayout {
    std::vector<WidgetSideKind> leadingKinds;
    std::vector<WidgetSideKind> trailingKinds;

public:
    static constexpr std::size_t maxPerSide = 2;

    enum class Side { leading, trailing };

    /// Both wings empty.
    WidgetWingLayout() = default;

    /// Takes the kinds in order, leading first, dropping any kind already placed and any that would
    /// overfill its wing.
    WidgetWingLayout(const std::vector<WidgetSideKind>& leading, const std::vector<WidgetSideKind>& trailing);

    /// The date on the left, the weather on the right.
    static WidgetWingLayout defaultLayout();

    const std::vector<WidgetSideKind>& leading() const { return leadingKinds; }
    const std::vector<WidgetSideKind>& trailing() const { return trailingKinds; }

    /// Leading then trailing.
    std::vector<WidgetSideKind> all() const;
    bool isEmpty() const;
    bool contains(WidgetSideKind kind) const;

    /// Appends to the wing; refused (false, nothing changed) when the kind is placed already or the
    /// wing is full.
    bool add(WidgetSideKind kind, Side side);
    void remove(WidgetSideKind kind);
    /// Puts `kind` into slot `index` (0 or 1) of the wing, moving it from wherever it was; an empty
    /// slot of that index appends it. No kind empties the slot. Other indexes change nothing.
    void set(std::optional<WidgetSideKind> kind, Side side, int index);
    /// The kind in the slot, if any.
    std::optional<WidgetSideKind> slot(Side side, int index) const;

    /// {"leading": [...], "trailing": [...]} with the kinds' names.
    JSON json() const;
    /// Keeps the known kinds and re-applies the rules; nothing when the value is not an object.
    static std::optional<WidgetWingLayout> fromJSON(const JSON& value);

    friend bool operator==(const WidgetWingLayout&, const WidgetWingLayout&) = default;

private:
    std::vector<WidgetSideKind>& wing(Side side);
    const std::vector<WidgetSideKind>& wing(Side side) const;
};

} // namespace brind
