#include "BrindKit/widgets/WidgetSideKind.hpp"
#include "BrindKit/widgets/WidgetWingLayout.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace brind;
using Kind = WidgetSideKind;
using Side = WidgetWingLayout::Side;
using Kinds = std::vector<WidgetSideKind>;

TEST(WidgetWingLayout, BuildingKeepsTheRulesAndSlotsReadThem) {
    const WidgetWingLayout layout({Kind::cpu, Kind::memory, Kind::gpu, Kind::cpu},
                                  {Kind::memory, Kind::date, Kind::disk, Kind::battery});
    EXPECT_EQ(layout.leading(), (Kinds{Kind::cpu, Kind::memory}));
    EXPECT_EQ(layout.trailing(), (Kinds{Kind::date, Kind::disk}));
    EXPECT_EQ(layout.all(), (Kinds{Kind::cpu, Kind::memory, Kind::date, Kind::disk}));
    EXPECT_TRUE(layout.contains(Kind::disk));
    EXPECT_FALSE(layout.contains(Kind::gpu));
    EXPECT_EQ(layout.slot(Side::leading, 1), Kind::memory);
    EXPECT_EQ(layout.slot(Side::trailing, 0), Kind::date);
    EXPECT_EQ(layout.slot(Side::leading, 2), std::nullopt);
    EXPECT_EQ(layout.slot(Side::leading, -1), std::nullopt);
    EXPECT_EQ(WidgetWingLayout::defaultLayout().slot(Side::trailing, 1), std::nullopt) << "an empty slot";
    EXPECT_TRUE(WidgetWingLayout().isEmpty());
    EXPECT_FALSE(WidgetWingLayout::defaultLayout().isEmpty());
}

TEST(WidgetWingLayout, AddRefusesDuplicatesAndFullWings) {
    auto layout = WidgetWingLayout::defaultLayout();
    EXPECT_FALSE(layout.add(Kind::weather, Side::leading)) << "already on the trailing side";
    EXPECT_EQ(layout, WidgetWingLayout::defaultLayout());
    EXPECT_TRUE(layout.add(Kind::cpu, Side::leading));
    const auto full = layout;
    EXPECT_FALSE(layout.add(Kind::pomodoro, Side::leading));
    EXPECT_EQ(layout, full);
    EXPECT_TRUE(layout.add(Kind::pomodoro, Side::trailing));
    EXPECT_EQ(layout.trailing(), (Kinds{Kind::weather, Kind::pomodoro}));

    layout.remove(Kind::date);
    layout.remove(Kind::gpu);
    EXPECT_EQ(layout.leading(), Kinds{Kind::cpu});
}

TEST(WidgetWingLayout, SetMovesKindsBetweenSlots) {
    struct Case {
        const char* what;
        WidgetWingLayout start;
        std::optional<Kind> kind;
        Side side;
        int index;
        Kinds leading;
        Kinds trailing;
    };
    const auto standard = WidgetWingLayout::defaultLayout();
    const WidgetWingLayout two({Kind::date, Kind::cpu}, {Kind::weather});
    const std::vector<Case> cases = {
        {"move across wings", standard, Kind::weather, Side::leading, 0, {Kind::weather}, {}},
        {"index 1 of an empty wing appends",
         WidgetWingLayout(),
         Kind::gpu,
         Side::trailing,
         1,
         {},
         {Kind::gpu}},
        {"index 2 does nothing", standard, Kind::cpu, Side::leading, 2, {Kind::date}, {Kind::weather}},
        {"index -1 does nothing", standard, Kind::cpu, Side::leading, -1, {Kind::date}, {Kind::weather}},
        {"replace a slot", two, Kind::memory, Side::leading, 1, {Kind::date, Kind::memory}, {Kind::weather}},
        {"swap order in a wing", two, Kind::date, Side::leading, 1, {Kind::cpu, Kind::date}, {Kind::weather}},
        {"into a full wing", two, Kind::weather, Side::leading, 0, {Kind::weather, Kind::cpu}, {}},
        {"clear a slot", two, std::nullopt, Side::leading, 0, {Kind::cpu}, {Kind::weather}},
        {"clear an empty slot", standard, std::nullopt, Side::trailing, 1, {Kind::date}, {Kind::weather}},
    };
    for (const auto& [what, start, kind, side, index, leading, trailing] : cases) {
        auto layout = start;
        layout.set(kind, side, index);
        EXPECT_EQ(layout.leading(), leading) << what;
        EXPECT_EQ(layout.trailing(), trailing) << what;
    }
}

TEST(WidgetWingLayout, StoredFormKeepsKnownKindsAndTheRules) {
    const WidgetWingLayout layout({Kind::nextEvent, Kind::stayAwake}, {Kind::network});
    EXPECT_EQ(layout.json(),
              JSON::parse(R"({"leading": ["nextEvent", "stayAwake"], "trailing": ["network"]})"));
    EXPECT_EQ(WidgetWingLayout::fromJSON(layout.json()), layout);

    const auto read = WidgetWingLayout::fromJSON(JSON::parse(
        R"({"leading": ["calendarGrid", "cpu", 7, "cpu", "gpu", "disk"], "trailing": ["gpu", "weather"]})"));
    ASSERT_TRUE(read);
    EXPECT_EQ(*read, WidgetWingLayout({Kind::cpu, Kind::gpu}, {Kind::weather}));
    EXPECT_EQ(WidgetWingLayout::fromJSON(JSON::parse(R"({"leading": "cpu"})")), WidgetWingLayout());
    EXPECT_EQ(WidgetWingLayout::fromJSON(JSON::array()), std::nullopt);
}

TEST(WidgetSideKind, NamesRoundTripAndOnlySystemKindsUseStats) {
    std::vector<std::string> statsKinds;
    for (const auto kind : allWidgetSideKinds) {
        EXPECT_EQ(widgetSideKindNamed(name(kind)), kind);
        if (usesStats(kind))
            statsKinds.emplace_back(name(kind));
    }
    EXPECT_EQ(statsKinds, (std::vector<std::string>{"cpu", "memory", "gpu", "network", "disk", "battery"}));
    EXPECT_EQ(widgetSideKindNamed("CPU"), std::nullopt);
}
