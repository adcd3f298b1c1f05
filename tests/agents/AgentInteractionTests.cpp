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

TEST(AgentInteraction, ParsesQuestionsAndPlans) {
    const std::vector<AgentQuestion> parsed = questions();
    ASSERT_EQ(parsed.size(), 2u);
    EXPECT_EQ(
        parsed[0],
        (AgentQuestion{
            "Which package manager?", "Tooling", {{"pnpm", "Fast, strict"}, {"npm", std::nullopt}}, false}));
    EXPECT_TRUE(parsed[1].multiSelect);
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

TEST(AgentQuestionAnswer, TogglesSingleAndMultipleChoicePicks) {
    const std::vector<AgentQuestion> parsed = questions();
    AgentQuestionAnswer::Picks picks;
    AgentQuestionAnswer::toggle("pnpm", parsed[0], picks);
    AgentQuestionAnswer::toggle("npm", parsed[0], picks);
    EXPECT_EQ(picks["Which package manager?"], (std::vector<std::string>{"npm"}));
    AgentQuestionAnswer::toggle("test", parsed[1], picks);
    AgentQuestionAnswer::toggle("lint", parsed[1], picks);
    AgentQuestionAnswer::toggle("typecheck", parsed[1], picks);
    AgentQuestionAnswer::toggle("test", parsed[1], picks);
    EXPECT_EQ(picks["Which checks should run?"], (std::vector<std::string>{"lint", "typecheck"}));
}

TEST(AgentQuestionAnswer, AddsAnswersToTheOriginalInput) {
    const std::vector<AgentQuestion> parsed = questions();
    const AgentQuestionAnswer::Picks picks = {
        {"Which package manager?", {"pnpm"}},
        {"Which checks should run?", {"typecheck", "lint"}},
    };
    // Labels follow the order of the options, whatever order they were picked in.
    JSON expected = JSON::parse(questionInput);
    expected["answers"] = {{"Which package manager?", "pnpm"},
                           {"Which checks should run?", "lint, typecheck"}};
    EXPECT_EQ(AgentQuestionAnswer::updatedInput(questionInput, parsed, picks),
              AgentDecision::allowUpdating(expected));

    // Questions with no pick are left out; an input that is not an object counts as empty.
    EXPECT_EQ(AgentQuestionAnswer::updatedInput("not json", parsed, {{"Which package manager?", {}}}),
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
