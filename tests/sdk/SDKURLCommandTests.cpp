#include "BrindKit/sdk/SDKURLCommand.hpp"
#include "tests/support/DecimalCommaLocale.hpp"

#include <gtest/gtest.h>

using Command = brind::SDKURLCommand;
using Error = Command::ParseError;

// Rows the island's own handling pins already are left to tests/package: URLCommandRunner (a
// wrong scheme, clamped progress, end, a missing id, an unknown command) and SingleInstance (the
// first path segment as the tab, the clipboard), and to tests/settings (the settings pane).
TEST(SDKURLCommand, ParsesEachCommandOrNamesWhatIsWrong) {
    const auto notify = [](std::optional<double> progress) {
        return Command{Command::Notify{"T", {}, {}, progress, {}}};
    };
    const auto missing = [](std::string key) { return std::unexpected(Error::missing(std::move(key))); };
    const std::vector<std::pair<std::string, std::expected<Command, Error>>> cases = {
        // Scheme and host are compared without case.
        {"VANTAQUILL://NOTIFY?title=T", notify(std::nullopt)},
        {"not a url at all", std::unexpected(Error::wrongScheme())},
        // Views open without a token.
        {"vantaquill://open?tab=clipboard", Command{Command::Open{"clipboard"}}},
        {"vantaquill://open?tab=", Command{Command::Open{}}},
        // Progress is clamped to 0...1, and dropped when it is no number.
        {"vantaquill://notify?title=T&progress=-3", notify(0.0)},
        {"vantaquill://notify?title=T&progress=0.4", notify(0.4)},
        {"vantaquill://notify?title=T&progress=abc", notify(std::nullopt)},
        {"vantaquill://notify?title=T&progress=nan", notify(std::nullopt)},
        // Unescaped spaces, as shells pass them, are read as spaces.
        {"vantaquill://notify?title=Build done&subtitle=s&symbol=bell&token=t",
         Command{Command::Notify{"Build done", "s", "bell", std::nullopt, "t"}}},
        {"vantaquill://shelf/ADD?path=/a&path=/b%20c&token=tok",
         Command{Command::ShelfAdd{{"/a", "/b c"}, "tok"}}},
        // The first missing key is named; an empty value is missing.
        {"vantaquill://notify?title=", missing("title")},
        {"vantaquill://end?id=x", missing("token")},
        {"vantaquill://shelf/add?token=abc", missing("path")},
        {"vantaquill://shelf/add?path=/a", missing("token")},
        {"vantaquill://shelf?path=/a&token=t", std::unexpected(Error::unknown())},
        {"vantaquill://launch", std::unexpected(Error::unknown())},
    };
    for (const auto& [url, command] : cases)
        EXPECT_EQ(Command::parse(url), command) << url;
}

TEST(SDKURLCommand, CutsLongTitlesToWholeCharacters) {
    std::string escaped, kept;
    for (int i = 0; i < 300; ++i) {
        escaped += "%C3%A9"; // é, two bytes
        if (i < 120)
            kept += "\xC3\xA9";
    }
    EXPECT_EQ(Command::parse("vantaquill://notify?title=" + escaped),
              (Command{Command::Notify{kept, {}, {}, {}, {}}}));
}

// A script's "progress=0.4" means the same to a user whose locale writes a decimal comma.
TEST(SDKURLCommand, ReadsNumbersTheSameInEveryLocale) {
    brindtest::DecimalCommaLocale locale;
    if (!locale.active())
        GTEST_SKIP() << "this machine cannot make a locale with a decimal comma";
    EXPECT_EQ(Command::parse("vantaquill://notify?title=T&progress=0.4"),
              (Command{Command::Notify{"T", {}, {}, 0.4, {}}}));
}
