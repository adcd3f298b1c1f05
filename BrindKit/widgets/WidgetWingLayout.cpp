#include "BrindKit/widgets/WidgetWingLayout.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace brind {

namespace {

bool isSlotIndex(int index) {
    return index >= 0 && static_cast<std::size_t>(index) < WidgetWingLayout::maxPerSide;
}

std::vector<WidgetSideKind> knownKinds(const JSON& object, std::string_view key) {
    std::vector<WidgetSideKind> kinds;
    const JSON* list = JSONRead::member(object, key);
    if (!list || !list->is_array())
        return kinds;
    for (const auto& item : *list) {
        if (!item.is_string())
            continue;
        if (const auto kind = widgetSideKindNamed(item.get<std::string>()))
            kinds.push_back(*kind);
    }
    return kinds;
}

JSON names(const std::vector<WidgetSideKind>& kinds) {
    JSON list = JSON::array();
    for (const auto kind : kinds)
        list.push_back(name(kind));
    return list;
}

} // namespace

WidgetWingLayout::WidgetWingLayout(const std::vector<WidgetSideKind>& leading,
                                   const std::vector<WidgetSideKind>& trailing) {
    for (const auto kind : leading)
        add(kind, Side::leading);
    for (const auto kind : trailing)
        add(kind, Side::trailing);
}

WidgetWingLayout WidgetWingLayout::defaultLayout() {
    return WidgetWingLayout({WidgetSideKind::date}, {WidgetSideKind::weather});
}

std::vector<WidgetSideKind>& WidgetWingLayout::wing(Side side) {
    return const_cast<std::vector<WidgetSideKind>&>(std::as_const(*this).wing(side));
}

const std::vector<WidgetSideKind>& WidgetWingLayout::wing(Side side) const {
    switch (side) {
    case Side::leading:
        return leadingKinds;
    case Side::trailing:
        return trailingKinds;
    }
    std::unreachable();
}

std::vector<WidgetSideKind> WidgetWingLayout::all() const {
    std::vector<WidgetSideKind> kinds = leadingKinds;
    kinds.insert(kinds.end(), trailingKinds.begin(), trailingKinds.end());
    return kinds;
}

bool WidgetWingLayout::isEmpty() const {
    return leadingKinds.empty() && trailingKinds.empty();
}

bool WidgetWingLayout::contains(WidgetSideKind kind) const {
    return std::ranges::find(leadingKinds, kind) != leadingKinds.end() ||
           std::ranges::find(trailingKinds, kind) != trailingKinds.end();
}

bool WidgetWingLayout::add(WidgetSideKind kind, Side side) {
    auto& kinds = wing(side);
    if (contains(kind) || kinds.size() >= maxPerSide)
        return false;
    kinds.push_back(kind);
    return true;
}

void WidgetWingLayout::remove(WidgetSideKind kind) {
    std::erase(leadingKinds, kind);
    std::erase(trailingKinds, kind);
}

void WidgetWingLayout::set(std::optional<WidgetSideKind> kind, Side side, int index) {
    if (!isSlotIndex(index))
        return;
    auto& kinds = wing(side);
    const auto position = static_cast<std::size_t>(index);
    if (!kind) {
        if (position < kinds.size())
            kinds.erase(kinds.begin() + index);
        return;
    }
    // Moving a widget takes it out of its old slot first, so it never appears twice.
    remove(*kind);
    if (position < kinds.size())
        kinds[position] = *kind;
    else
        kinds.push_back(*kind);
}

std::optional<WidgetSideKind> WidgetWingLayout::slot(Side side, int index) const {
    const auto& kinds = wing(side);
    if (index < 0 || static_cast<std::size_t>(index) >= kinds.size())
        return std::nullopt;
    return kinds[static_cast<std::size_t>(index)];
}

JSON WidgetWingLayout::json() const {
    return JSON{{"leading", names(leadingKinds)}, {"trailing", names(trailingKinds)}};
}

std::optional<WidgetWingLayout> WidgetWingLayout::fromJSON(const JSON& value) {
    if (!value.is_object())
        return std::nullopt;
    return WidgetWingLayout(knownKinds(value, "leading"), knownKinds(value, "trailing"));
}

} // namespace brind
