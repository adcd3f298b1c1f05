#include "BrindKit/agents/AgentInteraction.hpp"
#include "BrindKit/agents/AgentQuestionAnswer.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

const char* questionInput = R"({"questions":[
    {"question":"Which package manager?","header":"Tooling","multiSelect":false,
     "options":[{"label":"pnpm","description":"Fast, strict"},{"label":"npm"}]},
    {"question":"Which checks should run?","multiSelect":true,
     "options":[{"label":"lint"},{"label":"test"},{"label":"typecheck"}]},
    {"header":"no question text"}
]})";

std::vector<AgentQuestion> questions() {
    const auto interaction = AgentInteraction::parse("AskUserQuestion", questionInput);
    EXPECT_TRUE(interaction.has_value());
    return interaction ? std::get<AgentInteraction::Questions>(interaction->value).questions
                       : std::vector<AgentQuestion>{};
}

} // namespace

// Single and multiple choice, and a plan's text: tests/panel AgentsSection.
TEST(AgentInteraction, ParsesQuestionsAndPlans) {
    const std::vector<AgentQuestion> parsed = questions();
    ASSERT_EQ(parsed.size(), 2u);
    EXPECT_EQ(
        parsed[0],
        (AgentQuestion{
            "Which package manager?", "Tooling", {{"pnpm", "Fast, strict"}, {"npm", std::nullopt}}, false}));
    EXPECT_EQ(parsed[1].header, std::nullopt);
    EXPECT_EQ(parsed[1].options.size(), 3u);

    const auto plan = AgentInteraction::parse(
        "ExitPlanMode", R"({"plan":"1. Rename\n2. Test","plan_file_path":"/home/ada/.claude/plans/p.md"})");
    ASSERT_TRUE(plan.has_value());
    EXPECT_TRUE(plan->isPlan());
    EXPECT_EQ(plan->value, (decltype(plan->value){AgentInteraction::Plan{"1. Rename\n2. Test",
                                                                         "/home/ada/.claude/plans/p.md"}}));
    const auto camel =
        AgentInteraction::parse("ExitPlanMode", R"({"plan":"x","planFilePath":"/a","plan_file_path":"/b"})");
    EXPECT_EQ(std::get<AgentInteraction::Plan>(camel->value).filePath, "/a");

    EXPECT_EQ(AgentInteraction::parse("Bash", questionInput), std::nullopt);
    EXPECT_EQ(AgentInteraction::parse("AskUserQuestion", "[1]"), std::nullopt);
    EXPECT_EQ(AgentInteraction::parse("AskUserQuestion", R"({"questions":[{"header":"h"}]})"), std::nullopt);
    EXPECT_TRUE(AgentInteraction::isInteractiveTool("ExitPlanMode"));
    EXPECT_FALSE(AgentInteraction::isInteractiveTool("exitplanmode"));
}

// Picking and unpicking single and multiple choices, and answers in the order of the options
// whatever order they were picked in, are proven through the Agents section in tests/panel.
TEST(AgentQuestionAnswer, LeavesOutUnansweredQuestionsAndReadsABadInputAsEmpty) {
    EXPECT_EQ(AgentQuestionAnswer::updatedInput("not json", questions(), {{"Which package manager?", {}}}),
              AgentDecision::allowUpdating({{"answers", JSON::object()}}));
}

TEST(AgentQuestionAnswer, WritesTheKeepPlanningReason) {
    const std::string plain =
        "The user reviewed the plan in vantaquill and wants to keep planning. Ask what to "
        "change, then present a revised plan.";
    EXPECT_EQ(AgentQuestionAnswer::keepPlanningReason(std::nullopt), plain);
    EXPECT_EQ(AgentQuestionAnswer::keepPlanningReason("  \n"), plain);
    EXPECT_EQ(AgentQuestionAnswer::keepPlanningReason("Split step 2 "),
              "The user reviewed the plan in vantaquill and wants changes before you start: Split step 2");
}
