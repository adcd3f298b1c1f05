#include "BrindKit/agents/AgentToolSummary.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {
const std::string ellipsis = "\xE2\x80\xA6";
}

TEST(AgentToolSummary, SummarisesByToolName) {
    for (const JSON& row : brindtest::testTable("agents/tool-summaries.json"))
        EXPECT_EQ(AgentToolSummary::summary(row["tool"].get<std::string>(), &row["input"]),
                  brindtest::optionalText(row["summary"]))
            << row.dump();
    EXPECT_EQ(AgentToolSummary::summary("Bash", nullptr), std::nullopt);
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
