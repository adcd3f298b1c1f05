#include "BrindKit/foundation/EnumTable.hpp"

#include <gtest/gtest.h>

namespace EnumTable = brind::EnumTable;

namespace {

enum class Shade { light, dim, dark };

using Row = EnumTable::NameRow<Shade>;

constexpr auto shadeRows =
    std::to_array<Row>({{Shade::light, "light"}, {Shade::dim, "dim"}, {Shade::dark, "dark"}});

} // namespace

TEST(EnumTable, CoversEveryCaseOnlyWithOneRowPerCaseInDeclarationOrder) {
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
