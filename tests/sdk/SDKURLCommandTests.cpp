#include "BrindKit/sdk/SDKURLCommand.hpp"

#include <gtest/gtest.h>

using brind::SDKURLCommand;
using Error = SDKURLCommand::ParseError;

namespace {

template <typename Case>
Case parsed(std::string_view url) {
    const auto command = SDKURLCommand::parse(url);
    EXPECT_TRUE(command) << url;
    if (!command)
        return Case{};
    const auto* value = std::get_if<Case>(&command->command);
    EXPECT_NE(value, nullptr) << url;
    return value ? *value : Case{};
}

} // namespace

TEST(SDKURLCommand, ComparesSchemeAndHostWithoutCase) {
    EXPECT_EQ(parsed<SDKURLCommand::Notify>("VANTAQUILL://NOTIFY?title=Hi").title, "Hi");
    EXPECT_EQ(SDKURLCommand::parse("https://notify?title=Hi").error(), Error::wrongScheme());
    EXPECT_EQ(SDKURLCommand::parse("not a url at all").error(), Error::wrongScheme());
}

TEST(SDKURLCommand, OpensViewsWithoutToken) {
    EXPECT_EQ(parsed<SDKURLCommand::Open>("vantaquill://open?tab=clipboard").tab, "clipboard");
    EXPECT_EQ(parsed<SDKURLCommand::Open>("vantaquill://open/shelf").tab, "shelf");
    EXPECT_EQ(parsed<SDKURLCommand::Open>("vantaquill://open").tab, std::nullopt);
    EXPECT_EQ(parsed<SDKURLCommand::Open>("vantaquill://open?tab=").tab, std::nullopt);
    EXPECT_EQ(parsed<SDKURLCommand::Settings>("vantaquill://settings?pane=agents").pane, "agents");
    EXPECT_TRUE(std::holds_alternative<SDKURLCommand::Clipboard>(SDKURLCommand::parse("vantaquill://clipboard")->command));
}

TEST(SDKURLCommand, ClampsNotificationProgress) {
    const std::pair<const char*, std::optional<double>> cases[] = {
        {"1.7", 1.0}, {"-3", 0.0}, {"0.4", 0.4}, {"abc", std::nullopt}, {"", std::nullopt}, {"nan", std::nullopt}};
    for (const auto& [text, progress] : cases) {
        const auto notify = parsed<SDKURLCommand::Notify>(std::string("vantaquill://notify?title=T&progress=") + text);
        EXPECT_EQ(notify.progress, progress) << text;
    }
}

TEST(SDKURLCommand, CutsLongTextsToWholeCharacters) {
    std::string title;
    for (int i = 0; i < 300; ++i)
        title += "%C3%A9"; // é
    const auto notify = parsed<SDKURLCommand::Notify>("vantaquill://notify?title=" + title + "&subtitle=s&symbol=bell&token=t");
    EXPECT_EQ(notify.title.size(), 120u * 2);
    EXPECT_EQ(notify.subtitle, "s");
    EXPECT_EQ(notify.symbol, "bell");
    EXPECT_EQ(notify.token, "t");
    EXPECT_EQ(parsed<SDKURLCommand::Notify>("vantaquill://notify?title=Build done").title, "Build done");
}

TEST(SDKURLCommand, ReportsTheFirstMissingKey) {
    const std::pair<const char*, Error> cases[] = {
        {"vantaquill://notify", Error::missing("title")},
        {"vantaquill://notify?title=", Error::missing("title")},
        {"vantaquill://end?token=abc", Error::missing("id")},
        {"vantaquill://end", Error::missing("id")},
        {"vantaquill://end?id=x", Error::missing("token")},
        {"vantaquill://shelf/add?token=abc", Error::missing("path")},
        {"vantaquill://shelf/add?path=/a", Error::missing("token")},
        {"vantaquill://shelf/remove?path=/a&token=t", Error::unknown()},
        {"vantaquill://shelf?path=/a&token=t", Error::unknown()},
        {"vantaquill://launch", Error::unknown()},
    };
    for (const auto& [url, error] : cases) {
        const auto command = SDKURLCommand::parse(url);
        ASSERT_FALSE(command) << url;
        EXPECT_EQ(command.error(), error) << url;
    }
}

TEST(SDKURLCommand, CollectsEveryShelfPath) {
    const auto add = parsed<SDKURLCommand::ShelfAdd>("vantaquill://shelf/ADD?path=/a&path=/b%20c&token=tok");
    EXPECT_EQ(add.paths, (std::vector<std::string>{"/a", "/b c"}));
    EXPECT_EQ(add.token, "tok");
    const auto end = parsed<SDKURLCommand::End>("vantaquill://end?id=upload&token=tok");
    EXPECT_EQ(end, (SDKURLCommand::End{"upload", "tok"}));
}
