#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Info = AgentTerminalInfo;

namespace {

using Validator = std::optional<std::string> (*)(std::string_view);

// Each accepted text gives its cleaned value; each refused one gives nothing.
void expectValidated(Validator validator, std::initializer_list<std::pair<std::string, std::string>> accepted,
                     std::initializer_list<std::string> refused) {
    for (const auto& [input, output] : accepted)
        EXPECT_EQ(validator(input), output) << "\"" << input << "\"";
    for (const std::string& input : refused)
        EXPECT_EQ(validator(input), std::nullopt) << "\"" << input << "\"";
}

} // namespace

TEST(AgentTerminalInfo, ValidatesTTYs) {
    expectValidated(
        AgentTerminalInfo::validTTY,
        {{"ttys003", "/dev/ttys003"}, {" /dev/ttys003\t", "/dev/ttys003"}, {"/dev/pts/7", "/dev/pts/7"}},
        {"pts/", "pts/1a", "??", "", "   ", "/dev/", "tty\"; do shell script", "/dev/../etc"});
    // Limits: ten digits after "pts/", twenty characters for any other name.
    expectValidated(
        AgentTerminalInfo::validTTY,
        {{"pts/1234567890", "/dev/pts/1234567890"}, {std::string(20, 'a'), "/dev/" + std::string(20, 'a')}},
        {"pts/12345678901", std::string(21, 'a')});
}

TEST(AgentTerminalInfo, ValidatesSocketsPanesAndSessionIDs) {
    expectValidated(
        AgentTerminalInfo::validSocket,
        {{" /private/tmp/tmux-501/my_sock.1 ", "/private/tmp/tmux-501/my_sock.1"},
         {"/" + std::string(199, 'a'), "/" + std::string(199, 'a')}},
        {"tmp/tmux", "/tmp/../etc/passwd", "/tmp/a b", "/tmp/$(x)", "", "/" + std::string(200, 'a')});
    expectValidated(AgentTerminalInfo::validPane, {{"%1234567", "%1234567"}, {" %3 ", "%3"}},
                    {"%12345678", "12", "%", "%a1"});
    expectValidated(
        AgentTerminalInfo::validSessionID,
        {{"w0t1p0:6A4E1B2C-1111-2222-3333-444455556666", "w0t1p0:6A4E1B2C-1111-2222-3333-444455556666"},
         {std::string(80, 'a'), std::string(80, 'a')}},
        {"a b", "a_b", "", std::string(81, 'a')});
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
