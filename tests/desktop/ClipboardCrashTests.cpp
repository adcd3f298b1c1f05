#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "tests/desktop/VirtualDisplay.hpp"
#include "tests/e2e/E2EProcess.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

namespace vq::desktop {
namespace {

using namespace std::chrono_literals;

/// The texts of the clipboard history as the archive holds them, or nothing when it does not parse.
std::optional<std::vector<std::string>> archivedTexts(const std::filesystem::path& index) {
    const auto parsed = brind::JSONText::parse(brind::AtomicFile::read(index).value_or(""));
    if (!parsed || !(*parsed)["items"].is_array())
        return std::nullopt;
    std::vector<std::string> texts;
    for (const auto& item : (*parsed)["items"])
        texts.push_back(item.value("text", ""));
    return texts;
}

bool holds(const std::optional<std::vector<std::string>>& texts, const std::string& text) {
    return texts && std::ranges::find(*texts, text) != texts->end();
}

TEST(ClipboardAfterACrash, KilledRightAfterACopyTheHistoryParsesAndKeepsWhatWasSaved) {
    if (!VirtualDisplay::available() || !std::filesystem::exists("/usr/bin/xclip"))
        GTEST_SKIP() << "Xvfb or xclip is missing; scripts/setup installs them";
    VirtualDisplay display;
    ASSERT_FALSE(display.name().empty()) << "Xvfb did not start";
    e2e::TemporaryHome home;
    const auto environment = display.environmentFor(home.environment());
    const auto index = home.path() / ".local/share/vantaquill/Clipboard/index.json";
    const auto copy = [&](const std::string& text) {
        display.run({"sh", "-c", "printf '%s' '" + text + "' | xclip -selection clipboard"});
    };

    auto island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--surface", "x11", "--port", "0"},
                                                       environment);
    ASSERT_NE(island->port(), 0) << island->errors();
    copy("saved before the crash");
    ASSERT_TRUE(island->waitForLine("clipboard: text", 20s)) << island->errors();
    for (auto waited = 0ms; waited < 20s && !holds(archivedTexts(index), "saved before the crash"); waited += 100ms)
        std::this_thread::sleep_for(100ms);
    ASSERT_TRUE(holds(archivedTexts(index), "saved before the crash")) << "the first copy was never archived";

    // The second copy is in the history and its save is still waiting when the island dies.
    copy("copied just before the crash");
    ASSERT_TRUE(island->waitForLine("copied just before", 20s)) << island->errors();
    ::kill(island->processID(), SIGKILL);
    island.reset();

    const auto afterCrash = archivedTexts(index);
    ASSERT_TRUE(afterCrash.has_value()) << "the archive does not parse after the crash";
    EXPECT_TRUE(holds(afterCrash, "saved before the crash"));

    // A new island takes the history up without a complaint and keeps it.
    island = std::make_unique<e2e::IslandProcess>(std::vector<std::string>{"--surface", "x11", "--port", "0"},
                                                  environment);
    ASSERT_NE(island->port(), 0) << island->errors();
    copy("after the restart");
    ASSERT_TRUE(island->waitForLine("after the restart", 20s)) << island->errors();
    for (auto waited = 0ms; waited < 20s && !holds(archivedTexts(index), "after the restart"); waited += 100ms)
        std::this_thread::sleep_for(100ms);
    const auto afterRestart = archivedTexts(index);
    EXPECT_TRUE(holds(afterRestart, "after the restart"));
    EXPECT_TRUE(holds(afterRestart, "saved before the crash"));
    EXPECT_EQ(island->errors().find("Clipboard"), std::string::npos) << island->errors();
}

} // namespace
} // namespace vq::desktop
