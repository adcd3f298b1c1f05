#include "BrindKit/agents/AgentTerminalInfo.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Info = AgentTerminalInfo;

// Each accepted text gives its cleaned value; each refused one gives nothing.
TEST(AgentTerminalInfo, ValidatesTTYsSocketsPanesAndSessionIDs) {
    const std::pair<const char*, std::optional<std::string> (*)(std::string_view)> validators[] = {
        {"tty", Info::validTTY},
        {"socket", Info::validSocket},
        {"pane", Info::validPane},
        {"sessionID", Info::validSessionID}};
    const JSON table = brindtest::testTable("agents/terminal-fields.json");
    for (const auto& [field, validator] : validators) {
        for (const JSON& pair : table[field]["accepted"])
            EXPECT_EQ(validator(pair[0].get<std::string>()), pair[1].get<std::string>()) << pair[0];
        for (const JSON& text : table[field]["refused"])
            EXPECT_EQ(validator(text.get<std::string>()), std::nullopt) << field << " " << text;
    }
}

TEST(AgentTerminalInfo, MergesFieldByFieldAndIgnoresASocketAlone) {
    const Info base{"/dev/pts/1", "/s", "%1", {}};
    EXPECT_EQ(base.merged(Info{{}, {}, "%2", "x"}), (Info{"/dev/pts/1", "/s", "%2", "x"}));
    EXPECT_EQ(base.merged(std::nullopt), base);
    EXPECT_TRUE((Info{{}, "/s", {}, {}}.isEmpty()));
    EXPECT_FALSE((Info{{}, {}, {}, "x"}.isEmpty()));
}

TEST(AgentTerminalInfo, RoundTripsJSONAndDropsInvalidFields) {
    const Info info{"/dev/pts/4", {}, "%9", {}};
    EXPECT_EQ(JSONText::compact(info.toJSON()), R"({"tmuxPane":"%9","tty":"/dev/pts/4"})");
    EXPECT_EQ(AgentTerminalInfo::fromJSON(info.toJSON()), info);
    const JSON stored = {{"tty", "x\" & rm"}, {"tmuxSocket", 5}, {"tmuxPane", "%1"}, {"sessionID", "ok:1"}};
    EXPECT_EQ(AgentTerminalInfo::fromJSON(stored), (Info{{}, {}, "%1", "ok:1"}));
}
