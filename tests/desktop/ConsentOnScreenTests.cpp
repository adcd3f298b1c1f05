#include "BrindKit/foundation/JSON.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <set>
#include <utility>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;

std::string request(std::uint16_t port, const std::string& line, const std::string& body,
                    const std::string& token = {}) {
    std::string head = line + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
                       "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
    if (!token.empty())
        head += "Authorization: Bearer " + token + "\r\n";
    return head + "\r\n" + body;
}

/// The panel's accent blue: the primary button's fill (and the focus ring of the button with the
/// keyboard, which is why the rightmost blue shape is taken).
bool accent(QRgb pixel) {
    return qRed(pixel) < 60 && qGreen(pixel) > 100 && qGreen(pixel) < 170 && qBlue(pixel) > 220;
}

/// The rightmost shape of accent pixels in the top of the screen: the Allow button, right of Don't allow.
std::optional<QRect> rightmostAccent(const QImage& image) {
    std::set<int> columns;
    const int rows = std::min(500, image.height());
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < image.width(); ++x)
            if (accent(image.pixel(x, y)))
                columns.insert(x);
    if (columns.empty())
        return std::nullopt;
    // Walk back from the rightmost column while the columns touch.
    int left = *columns.rbegin();
    while (columns.contains(left - 1))
        --left;
    const int right = *columns.rbegin();
    std::optional<QRect> bounds;
    for (int y = 0; y < rows; ++y)
        for (int x = left; x <= right; ++x)
            if (accent(image.pixel(x, y)))
                bounds = bounds ? bounds->united(QRect(x, y, 1, 1)) : QRect(x, y, 1, 1);
    return bounds;
}

// A client asks to connect while the island has a window: the prompt opens the island, a second
// request meanwhile is told a prompt is showing, and a click on Allow hands the waiting client a
// token that works at once.
TEST(ConsentOnScreen, AllowClickedInTheIslandGivesTheClientAWorkingToken) {
    if (!VirtualDisplay::available())
        GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
    VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    e2e::TemporaryHome home;
    auto environment = display.environmentFor(home.environment());
    e2e::IslandProcess island({"--surface", "x11", "--port", "0"}, environment);
    const std::uint16_t port = island.port();
    ASSERT_NE(port, 0) << "the island did not start";

    const std::string registration = R"({"app":"lumetta","name":"Lumetta","scopes":["activities"]})";
    auto waiting = std::async(std::launch::async, [&] {
        return e2e::rawExchange(port, request(port, "POST /v1/register", registration), 60s);
    });
    ASSERT_TRUE(island.waitForLine("consent asked app=lumetta", 20s)) << "no prompt was shown";
    const std::string second = e2e::rawExchange(port, request(port, "POST /v1/register", registration));
    EXPECT_EQ(e2e::statusOf(second), 409) << second;

    // Let the island finish opening (two screenshots agree) so the button stays where it was seen.
    std::optional<QRect> previous;
    const QImage settled = waitForScreen(display, [&](const QImage& image) {
        const auto now = rightmostAccent(image);
        return now && std::exchange(previous, now) == now;
    });
    const auto allow = rightmostAccent(settled);
    ASSERT_TRUE(allow) << "no Allow button on the screen";
    ASSERT_EQ(display.run({"xdotool", "mousemove", std::to_string(allow->center().x()),
                           std::to_string(allow->center().y()), "click", "1"}),
              0);

    ASSERT_EQ(waiting.wait_for(20s), std::future_status::ready) << "the registration is still waiting";
    const std::string reply = waiting.get();
    ASSERT_EQ(e2e::statusOf(reply), 200) << reply;
    const auto body = brind::JSON::parse(e2e::bodyOf(reply), nullptr, false);
    ASSERT_TRUE(body.is_object() && body.contains("token") && body["token"].is_string()) << reply;
    const std::string token = body["token"].get<std::string>();
    EXPECT_TRUE(island.waitForLine(R"(consent allowed app=lumetta name="Lumetta")"));

    const std::string posted =
        e2e::rawExchange(port, request(port, "POST /v1/activities", R"({"id":"upload","title":"Uploading"})", token));
    EXPECT_EQ(e2e::statusOf(posted), 200) << posted;
    EXPECT_NE(e2e::bodyOf(posted).find(R"("id":"sdk.lumetta.upload")"), std::string::npos) << posted;
}

} // namespace
} // namespace vq::desktop
