#include "BrindKit/foundation/EnumTable.hpp"

#include <gtest/gtest.h>

namespace EnumTable = brind::EnumTable;

namespace {

enum class Shade { light, dim, dark };

struct ShadeRow {
    Shade value;
    std::string_view name;
    double level;
};

constexpr auto shadeRows = std::to_array<ShadeRow>({
    {Shade::light, "light", 0.9},
    {Shade::dim, "dim", 0.5},
    {Shade::dark, "dark", 0.1},
});

} // namespace

TEST(EnumTable, FindsARowByCaseAndACaseByItsExactName) {
    EXPECT_EQ(EnumTable::row(shadeRows, Shade::dim).level, 0.5);
    EXPECT_EQ(EnumTable::row(shadeRows, Shade::dark).name, "dark");
    EXPECT_EQ(EnumTable::named(shadeRows, "light"), Shade::light);
    EXPECT_EQ(EnumTable::named(shadeRows, "dark"), Shade::dark);
    for (const std::string_view unknown : {"", "Dark", "dark ", "grey"})
        EXPECT_EQ(EnumTable::named(shadeRows, unknown), std::nullopt) << unknown;
}

TEST(EnumTable, CoversEveryCaseOnlyWithOneRowPerCaseInDeclarationOrder) {
    using Row = EnumTable::NameRow<Shade>;
    EXPECT_TRUE(EnumTable::coversEveryCase(shadeRows));
    // A case added without its row: the last one, or one in the middle.
    EXPECT_FALSE(
        EnumTable::coversEveryCase(std::to_array<Row>({{Shade::light, "light"}, {Shade::dim, "dim"}})));
    EXPECT_FALSE(
        EnumTable::coversEveryCase(std::to_array<Row>({{Shade::light, "light"}, {Shade::dark, "dark"}})));
    EXPECT_FALSE(EnumTable::coversEveryCase(
        std::to_array<Row>({{Shade::light, "light"}, {Shade::dark, "dark"}, {Shade::dim, "dim"}})));
    EXPECT_FALSE(EnumTable::coversEveryCase(
        std::to_array<Row>({{Shade::light, "light"}, {Shade::dim, "dim"}, {Shade::dim, "dim"}})));
    // A plain list of the cases is checked the same way.
    EXPECT_TRUE(EnumTable::coversEveryCase(std::array{Shade::light, Shade::dim, Shade::dark}));
    EXPECT_FALSE(EnumTable::coversEveryCase(std::array{Shade::light, Shade::dark}));
}
