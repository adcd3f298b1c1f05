#include "BrindKit/agents/AgentTerminalInfo.hpp"

#include "AgentTestSupport.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {
using Validator = std::optional<std::string> (*)(std::string_view);
struct Case {
    const char* input;
    std::optional<std::string> output;
};
void check(Validator validator, const std::vector<Case>& cases, const char* name) {
    for (const Case& c : cases)
        EXPECT_EQ(validator(c.input), c.output) << name << " \"" << c.input << "\"";
}
} // namespace

TEST(AgentTerminalInfo, ValidatesTTYs) {
    check(AgentTerminalInfo::validTTY,
          {
              {"ttys003", "/dev/ttys003"},
              {" /dev/ttys003\t", "/dev/ttys003"},
              {"/dev/pts/7", "/dev/pts/7"},
              {"pts/12", "/dev/pts/12"},
              {"pts/1234567890", "/dev/pts/1234567890"},
              {"pts/12345678901", std::nullopt},
              {"pts/", std::nullopt},
              {"pts/1a", std::nullopt},
              {"??", std::nullopt},
              {"", std::nullopt},
              {"   ", std::nullopt},
              {"/dev/", std::nullopt},
              {"tty\"; do shell script", std::nullopt},
              {"/dev/../etc", std::nullopt},
              {"abcdefghijklmnopqrst", "/dev/abcdefghijklmnopqrst"},
              {"abcdefghijklmnopqrstu", std::nullopt},
          },
          "validTTY");
}

TEST(AgentTerminalInfo, ValidatesSocketsPanesAndSessionIDs) {
    check(AgentTerminalInfo::validSocket,
          {
              {"/tmp/tmux-1000/default", "/tmp/tmux-1000/default"},
              {" /private/tmp/tmux-501/my_sock.1 ", "/private/tmp/tmux-501/my_sock.1"},
              {"tmp/tmux", std::nullopt},
              {"/tmp/../etc/passwd", std::nullopt},
              {"/tmp/a b", std::nullopt},
              {"/tmp/$(x)", std::nullopt},
              {"", std::nullopt},
          },
          "validSocket");
    EXPECT_TRUE(AgentTerminalInfo::validSocket("/" + std::string(199, 'a')).has_value());
    EXPECT_FALSE(AgentTerminalInfo::validSocket("/" + std::string(200, 'a')).has_value());
    check(AgentTerminalInfo::validPane,
          {
              {"%1", "%1"},
              {"%1234567", "%1234567"},
              {"%12345678", std::nullopt},
              {"12", std::nullopt},
              {"%", std::nullopt},
              {"%a1", std::nullopt},
              {" %3 ", "%3"},
          },
          "validPane");
    check(AgentTerminalInfo::validSessionID,
          {
              {"w0t1p0:6A4E1B2C-1111-2222-3333-444455556666", "w0t1p0:6A4E1B2C-1111-2222-3333-444455556666"},
              {"abc", "abc"},
              {"a b", std::nullopt},
              {"a_b", std::nullopt},
              {"", std::nullopt},
          },
          "validSessionID");
    EXPECT_TRUE(AgentTerminalInfo::validSessionID(std::string(80, 'a')).has_value());
    EXPECT_FALSE(AgentTerminalInfo::validSessionID(std::string(81, 'a')).has_value());
}

TEST(AgentTerminalInfo, MergesFieldByFieldAndIgnoresASocketAlone) {
    const AgentTerminalInfo base = agentstest::terminalInfo("/dev/pts/1", "/s", "%1");
    const AgentTerminalInfo update = agentstest::terminalInfo({}, {}, "%2", "x");
    EXPECT_EQ(base.merged(update),
              agentstest::terminalInfo("/dev/pts/1", "/s", "%2", "x"));
    EXPECT_EQ(base.merged(std::nullopt), base);
    EXPECT_TRUE(agentstest::terminalInfo({}, "/s").isEmpty());
    EXPECT_FALSE(agentstest::terminalInfo({}, {}, {}, "x").isEmpty());
}

TEST(AgentTerminalInfo, RoundTripsJSONAndDropsInvalidFields) {
    const AgentTerminalInfo info = agentstest::terminalInfo("/dev/pts/4", {}, "%9");
    EXPECT_EQ(JSONText::compact(info.toJSON()), R"({"tmuxPane":"%9","tty":"/dev/pts/4"})");
    EXPECT_EQ(AgentTerminalInfo::fromJSON(info.toJSON()), info);
    const JSON stored = {{"tty", "x\" & rm"}, {"tmuxSocket", 5}, {"tmuxPane", "%1"}, {"sessionID", "ok:1"}};
    EXPECT_EQ(AgentTerminalInfo::fromJSON(stored), agentstest::terminalInfo({}, {}, "%1", "ok:1"));
}
