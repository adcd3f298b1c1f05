#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string_view>
#include <thread>

#include <xcb/xcb.h>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;

/// Whether a compositing manager owns the display's _NET_WM_CM_S0 selection, as the island asks
/// when it makes its window.
bool compositorOwnsSelection(const VirtualDisplay& display) {
    xcb_connection_t* connection = xcb_connect(display.name().c_str(), nullptr);
    bool owned = false;
    if (xcb_connection_has_error(connection) == 0) {
        constexpr std::string_view name = "_NET_WM_CM_S0";
        auto* atom = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr);
        if (atom) {
            auto* owner = xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom),
                                                        nullptr);
            owned = owner && owner->owner != XCB_NONE;
            std::free(owner);
            std::free(atom);
        }
    }
    xcb_disconnect(connection);
    return owned;
}

TEST(IslandUnderACompositor, IsATranslucentWindowWithAnAlphaChannel) {
    if (!VirtualDisplay::available())
        GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
    if (!std::filesystem::exists("/usr/bin/xcompmgr"))
        GTEST_SKIP() << "xcompmgr is missing; scripts/setup installs it";
    VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    e2e::TemporaryHome home;
    const int compositor = display.start({"xcompmgr"}, home.path() / "xcompmgr.log");
    for (auto waited = 0ms; waited < 20s && !compositorOwnsSelection(display); waited += 200ms)
        std::this_thread::sleep_for(200ms);
    ASSERT_TRUE(compositorOwnsSelection(display)) << "xcompmgr did not take the compositing selection";

    auto environment = display.environmentFor(home.environment());
    e2e::IslandProcess island({"--surface", "x11", "--port", "0"}, environment);
    ASSERT_NE(island.port(), 0) << "the island did not start";

    // A compositor blends the outline's antialiased edge with the desktop only for a window with an
    // alpha channel: a 32-bit visual, chosen because a compositor runs (without one the window is
    // cut to the outline instead).
    const auto info = home.path() / "xwininfo.txt";
    for (auto waited = 0ms; waited < 20s; waited += 200ms) {
        display.run({"sh", "-c", "xwininfo -name 'vantaquill island' > '" + info.string() + "' 2>/dev/null"});
        if (brind::AtomicFile::read(info).value_or("").find("Depth:") != std::string::npos)
            break;
        std::this_thread::sleep_for(200ms);
    }
    const std::string text = brind::AtomicFile::read(info).value_or("");
    EXPECT_NE(text.find("Depth: 32"), std::string::npos) << text;

    VirtualDisplay::stop(compositor);
}

} // namespace
} // namespace vq::desktop
