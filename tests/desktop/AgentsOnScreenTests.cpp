#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EFixture.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <algorithm>
#include <future>
#include <utility>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;

// The panel's accent, which only the primary button fills; a few units of slack for antialiasing.
constexpr int accentTolerance = 12;

bool isAccent(QRgb pixel) {
    return std::abs(qRed(pixel) - 0x0A) <= accentTolerance && std::abs(qGreen(pixel) - 0x84) <= accentTolerance &&
           std::abs(qBlue(pixel) - 0xFF) <= accentTolerance;
}

/// The accent-filled pixels inside `area`, right of its middle: the request's primary button. The
/// countdown ring, drawn in the same colour, sits at the card's left edge.
std::optional<QRect> primaryButton(const QImage& image, const QRect& area) {
    std::optional<QRect> bounds;
    for (int y = std::max(area.top(), 0); y <= std::min(area.bottom(), image.height() - 1); ++y) {
        for (int x = std::max(area.center().x(), 0); x <= std::min(area.right(), image.width() - 1); ++x) {
            if (isAccent(image.pixel(x, y)))
                bounds = bounds ? bounds->united(QRect(x, y, 1, 1)) : QRect(x, y, 1, 1);
        }
    }
    return bounds;
}

/// The real application with its X11 window on a private X server, and the real `vantaquill hook`
/// that Claude Code runs.
class AgentsOnScreen : public ::testing::Test {
protected:
    void SetUp() override {
        if (!VirtualDisplay::available())
            GTEST_SKIP() << "Xvfb, ImageMagick's import or xdotool is missing; scripts/setup installs them";
        display = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(display->name().empty()) << "Xvfb did not start";
        std::filesystem::create_directories(home.path() / ".config/vantaquill");
        // Long enough that the request still waits however slow the screenshots are.
        std::ofstream(home.path() / ".config/vantaquill/vantaquill.conf") << "[General]\nagents.approvalTimeout=300\n";
        auto environment = display->environmentFor(home.environment());
        island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--surface", "x11", "--port", "0"},
                                                      environment);
        ASSERT_NE(island->port(), 0) << "the island did not start";
    }

    /// Runs Claude Code's hook with the fixture `payload` in the background; its result once it returns.
    std::future<e2e::CommandResult> hook(const std::string& payload) const {
        auto environment = home.environment();
        environment["VANTAQUILL_PORT"] = std::to_string(island->port());
        const std::string input = e2e::readFixture("agents/payloads/" + payload);
        return std::async(std::launch::async, [environment, input] {
            return e2e::run(e2e::builtProgram("vantaquill"), {"hook", "--agent", "claude-code"}, environment, input);
        });
    }

    /// Waits for the held request to pop the island out and clicks it open: the panel opens on the
    /// Agents section with the keyboard, Allow focused; the open island's black.
    QRect openOnTheRequest() const {
        const QImage peek = waitForScreen(*display, [](const QImage& shot) { return blackBounds(shot).has_value(); });
        const auto peeking = blackBounds(peek);
        EXPECT_TRUE(peeking) << "no island on the screen";
        if (!peeking)
            return {};
        click(peeking->center());
        // Open, and settled: the opening animation has stopped moving the outline.
        std::optional<QRect> previous;
        const QImage open = waitForScreen(*display, [&](const QImage& shot) {
            const auto bounds = blackBounds(shot);
            return bounds && bounds->height() > 2 * peeking->height() && std::exchange(previous, bounds) == bounds;
        });
        return blackBounds(open).value_or(QRect());
    }

    void keys(const std::vector<std::string>& names) const {
        std::vector<std::string> command{"xdotool", "key", "--delay", "60"};
        command.insert(command.end(), names.begin(), names.end());
        ASSERT_EQ(display->run(command), 0);
    }

    void click(const QPoint& at) const {
        ASSERT_EQ(display->run({"xdotool", "mousemove", std::to_string(at.x()), std::to_string(at.y()), "click", "1"}),
                  0);
    }

    e2e::TemporaryHome home;
    std::unique_ptr<VirtualDisplay> display;
    std::unique_ptr<e2e::IslandProcess> island;
};

TEST_F(AgentsOnScreen, ClickingAllowInTheOpenIslandReturnsClaudesAllow) {
    auto result = hook("claude-permission-request.json");
    ASSERT_TRUE(island->waitForLine("approval waiting id=", 20s)) << "the request never reached the island";

    ASSERT_GT(openOnTheRequest().height(), 150) << "the panel did not open";
    std::optional<QRect> previous;
    const QImage open = waitForScreen(*display, [&](const QImage& shot) {
        const auto bounds = blackBounds(shot);
        const auto button = bounds ? primaryButton(shot, *bounds) : std::nullopt;
        // Settled: the opening animation has stopped moving the button.
        return button && std::exchange(previous, button) == button;
    });
    const auto bounds = blackBounds(open);
    ASSERT_TRUE(bounds);
    const auto allow = primaryButton(open, *bounds);
    ASSERT_TRUE(allow) << "no Allow button in the open island";
    click(allow->center());

    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const auto answered = result.get();
    EXPECT_EQ(answered.exitCode, 0) << answered.err;
    EXPECT_EQ(answered.out,
              R"({"hookSpecificOutput":{"decision":{"behavior":"allow"},"hookEventName":"PermissionRequest"}})");
    EXPECT_TRUE(island->waitForLine("approval closed id=", 5s));
}

TEST_F(AgentsOnScreen, EscapeClosesThePanelAndLeavesTheRequestWaiting) {
    auto result = hook("claude-permission-request.json");
    ASSERT_TRUE(island->waitForLine("approval waiting id=", 20s)) << "the request never reached the island";
    const QRect open = openOnTheRequest();
    ASSERT_GT(open.height(), 150) << "the panel did not open";

    keys({"Escape"});
    const QImage closed = waitForScreen(*display, [&](const QImage& shot) {
        const auto bounds = blackBounds(shot);
        return bounds && bounds->height() < open.height() / 2;
    });
    const auto bounds = blackBounds(closed);
    ASSERT_TRUE(bounds);
    EXPECT_LT(bounds->height(), open.height() / 2) << "Escape left the panel open";
    EXPECT_EQ(result.wait_for(500ms), std::future_status::timeout) << "Escape answered the request";
    island->stop(); // the held call hears "ask" as the island quits
    result.wait();
}

TEST_F(AgentsOnScreen, DenyWithATypedReasonSendsTheReasonToTheAgent) {
    auto result = hook("claude-permission-request.json");
    ASSERT_TRUE(island->waitForLine("approval waiting id=", 20s)) << "the request never reached the island";
    ASSERT_GT(openOnTheRequest().height(), 150) << "the panel did not open";
    // Allow has the keyboard; back past Always allow and Deny to the reason, where Enter denies.
    keys({"shift+Tab", "shift+Tab", "shift+Tab"});
    ASSERT_EQ(display->run({"xdotool", "type", "--delay", "40", "not on this machine"}), 0);
    keys({"Return"});

    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const std::string out = result.get().out;
    EXPECT_NE(out.find(R"("behavior":"deny")"), std::string::npos) << out;
    EXPECT_NE(out.find("not on this machine"), std::string::npos) << out;
}

// A PreToolUse request, held by the island and answered with the agent's input updated; the
// section's other answers (plans, Always allow) are checked on its widgets in the panel's tests.
TEST_F(AgentsOnScreen, AQuestionIsAnsweredWithTwoOptionsChosen) {
    auto result = hook("claude-ask-user-question.json");
    ASSERT_TRUE(island->waitForLine("approval waiting id=", 20s)) << "the question never reached the island";
    ASSERT_GT(openOnTheRequest().height(), 150) << "the panel did not open";
    // The first option has the keyboard: tick it and the next; then on past the last option, the
    // field for an answer of one's own and "Answer in terminal" to Answer.
    keys({"space", "Tab", "space", "Tab", "Tab", "Tab", "Tab", "Return"});

    ASSERT_EQ(result.wait_for(20s), std::future_status::ready) << "the hook is still waiting";
    const std::string out = result.get().out;
    EXPECT_NE(out.find(R"("permissionDecision":"allow")"), std::string::npos) << out;
    EXPECT_NE(out.find("Unit"), std::string::npos) << out;
    EXPECT_NE(out.find("Lint"), std::string::npos) << out;
}

} // namespace
} // namespace vq::desktop
