#include "BrindKit/agents/AgentToolSummary.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {
const std::string ellipsis = "\xE2\x80\xA6";
}

TEST(AgentToolSummary, SummarisesByToolName) {
    struct Case {
        const char* tool;
        JSON input;
        std::optional<std::string> summary;
    };
    const Case cases[] = {
        {"Bash", {{"command", "  git status\n"}}, "git status \xE2\x8F\x8E"},
        {"shell", {{"command", "a\r\nb\rc"}}, "a \xE2\x8F\x8E b \xE2\x8F\x8E c"},
        {"Edit", {{"file_path", "/home/ada/src/app/main.cpp"}}, ellipsis + "/src/app/main.cpp"},
        {"NotebookEdit", {{"notebook_path", "/x/y.ipynb"}}, "/x/y.ipynb"},
        {"read_file", {{"absolute_path", "a/b/c/d/e"}, {"path", "p"}}, ellipsis + "/c/d/e"},
        {"replace", {{"path", "/tmp/x"}}, "/tmp/x"},
        {"WebFetch", {{"url", " https://example.org/a b "}}, " https://example.org/a b "},
        {"google_web_search", {{"query", "asio\ncoroutines"}}, "asio\ncoroutines"},
        {"Glob", {{"pattern", "**/*.cpp"}}, "**/*.cpp"},
        {"Task", {{"description", "Review\nchanges"}, {"prompt", "p"}}, "Review \xE2\x8F\x8E changes"},
        {"Agent", {{"prompt", "Find callers"}}, "Find callers"},
        {"mcp__github__create_issue", {{"title", "t"}, {"url", "https://x"}, {"path", ""}}, "https://x"},
        {"Unknown", {{"description", "d"}, {"command", "c"}}, "c"},
        {"Unknown", {{"title", "t"}}, std::nullopt},
        {"Bash", {{"command", 3}}, std::nullopt},
        {"Write", {{"content", "x"}}, std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(AgentToolSummary::summary(c.tool, &c.input), c.summary) << c.tool << " " << c.input.dump();
    EXPECT_EQ(AgentToolSummary::summary("Bash", nullptr), std::nullopt);
    const JSON notObject = JSON::array({"ls"});
    EXPECT_EQ(AgentToolSummary::summary("Bash", &notObject), std::nullopt);
}

TEST(AgentToolSummary, FlattenedTextIsCutAtTwoHundredOneCharacters) {
    const std::string exactly200(200, 'a');
    EXPECT_EQ(AgentToolSummary::flattened(exactly200), exactly200);
    EXPECT_EQ(AgentToolSummary::flattened(exactly200 + "b"), std::string(197, 'a') + ellipsis);
    // Trimming happens before counting.
    EXPECT_EQ(AgentToolSummary::flattened("\t " + exactly200 + " \t"), exactly200);
}

TEST(AgentToolSummary, ShortPathKeepsTheLastThreeParts) {
    EXPECT_EQ(AgentToolSummary::shortPath("a//b///c/"), "a//b///c/");
    EXPECT_EQ(AgentToolSummary::shortPath("//a//b/c//d/"), ellipsis + "/b/c/d");
    EXPECT_EQ(AgentToolSummary::shortPath(""), "");
}
