#include "vantaquill/island/IslandPlacement.hpp"
#include "vantaquill/island/IslandSurfaceChoice.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <fstream>

namespace vq {
namespace {

TEST(IslandPlacement, ReadsADeclaredHousingOnlyWhenWellFormed) {
    EXPECT_EQ(IslandPlacement::parseHousing("185x32"), QSizeF(185, 32));
    EXPECT_EQ(IslandPlacement::parseHousing("200.5x30"), QSizeF(200.5, 30));
    for (const char* bad : {"", "185", "185x", "x32", "185x32px", "-185x32", "0x32", "185 x 32"})
        EXPECT_FALSE(IslandPlacement::parseHousing(bad).has_value()) << bad;
}

TEST(IslandPlacement, FindsTheFirmwaresHousingHeightInTheDeviceTree) {
    brindtest::TemporaryFolder tree{"vantaquill-dt"};
    EXPECT_FALSE(IslandPlacement::firmwareHousing(tree.path(), 2).has_value());
    std::filesystem::create_directories(tree.path() / "soc/dcp@231c00000");
    // 74 device pixels, big-endian as device tree cells are.
    std::ofstream(tree.path() / "soc/dcp@231c00000/apple,notch-height", std::ios::binary) << std::string("\0\0\0\x4a", 4);
    const auto housing = IslandPlacement::firmwareHousing(tree.path(), 2);
    ASSERT_TRUE(housing.has_value());
    EXPECT_EQ(housing->height(), 37);
    EXPECT_GT(housing->width(), 0);
}

TEST(IslandPlacement, FloatsBelowTheTopPanelWithoutAHousingAndGrowsFromOneWithIt) {
    const QRect screen(1440, 0, 1920, 1080);
    const auto floating = IslandPlacement::input({screen, screen.adjusted(0, 32, 0, 0), std::nullopt}, {});
    EXPECT_TRUE(floating.floating);
    EXPECT_EQ(floating.metrics.menuBarHeight, 32);
    const auto housed = IslandPlacement::input({screen, screen, QSizeF(200, 32)}, {});
    EXPECT_FALSE(housed.floating);
    EXPECT_EQ(housed.metrics.size, (brind::SizeF{200, 32}));

    // Centred on its own screen and hanging from its top edge.
    const QRect frame = IslandPlacement::windowFrame({screen, screen, std::nullopt}, floating);
    EXPECT_EQ(frame.top(), 0);
    EXPECT_EQ(frame.left() + frame.width() / 2, screen.left() + screen.width() / 2);
}

TEST(IslandSurfaceChoice, PrefersTheLayerShellAndFallsBackToX11) {
    using Request = IslandSurfaceChoice::Request;
    struct Case {
        Request request;
        IslandSurfaceChoice::Session session;
        std::optional<IslandSurface::Kind> kind; ///< nothing: no surface can be shown
    };
    const Case cases[] = {
        {Request::automatic, {true, true, true}, IslandSurface::Kind::layerShell},
        {Request::automatic, {true, true, false}, IslandSurface::Kind::x11},
        {Request::automatic, {false, true, false}, IslandSurface::Kind::x11},
        {Request::automatic, {true, false, false}, std::nullopt},
        {Request::automatic, {false, false, false}, std::nullopt},
        {Request::x11, {true, true, true}, IslandSurface::Kind::x11},
        {Request::x11, {true, false, true}, std::nullopt},
        {Request::layerShell, {true, true, false}, std::nullopt},
        {Request::layerShell, {true, false, true}, IslandSurface::Kind::layerShell},
    };
    for (const auto& [request, session, kind] : cases) {
        const auto choice = IslandSurfaceChoice::choose(request, session);
        EXPECT_EQ(choice.has_value(), kind.has_value());
        if (choice && kind) {
            EXPECT_EQ(choice->kind, *kind);
            EXPECT_FALSE(choice->reason.empty());
        }
    }
    EXPECT_EQ(IslandSurfaceChoice::parseRequest("layer-shell"), Request::layerShell);
    EXPECT_EQ(IslandSurfaceChoice::parseRequest(""), Request::automatic);
    EXPECT_FALSE(IslandSurfaceChoice::parseRequest("wayland").has_value());
}

} // namespace
} // namespace vq
