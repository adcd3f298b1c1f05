#include "BrindKit/agents/AgentDecisionEncoder.hpp"
#include "tests/sdk/TestData.hpp"

#include <gtest/gtest.h>

using namespace brind;

using D = AgentDecision;

// What each agent reads from the answer printed for each decision, byte for byte (compact, keys in
// order), or nothing where printing would change nothing or mislead the agent; notes say why.
TEST(AgentDecisionEncoder, WritesEachAgentsAnswer) {
    const JSON answers = {{"questions", JSON::array()}, {"answers", {{"Which/where?", "src/a"}}}};
    const JSON rows = brindtest::testTable("agents/decision-answers.json");
    ASSERT_EQ(rows.size(), 44u);
    for (const JSON& row : rows) {
        const std::string decision = row["decision"];
        const std::optional<std::string> reason =
            row.contains("reason") ? std::optional(row["reason"].get<std::string>()) : std::nullopt;
        AgentHookEvent event;
        event.agent = agentKindNamed(row["agent"].get<std::string>()).value();
        event.rawName = row["event"];
        event.sessionID = "s";
        const AgentDecision given = decision == "answers" ? D::allowUpdating(answers)
                                    : decision == "deny"  ? D::deny(reason)
                                                          : D::parse(decision).value();
        const auto expected = row["output"].is_null() ? std::nullopt : std::optional(row["output"].dump());
        EXPECT_EQ(AgentDecisionEncoder::output(given, event), expected) << row.dump();
    }
}

TEST(AgentDecision, ParsesLabelsIgnoringCase) {
    EXPECT_EQ(D::parse("Allow"), D::allow());
    EXPECT_EQ(D::parse("APPROVE"), D::allow());
    EXPECT_EQ(D::parse("yes", "ignored"), D::allow());
    EXPECT_EQ(D::parse("deny", "Because"), D::deny("Because"));
    EXPECT_EQ(D::parse("Block"), D::deny());
    EXPECT_EQ(D::parse("ask"), D::ask());
    EXPECT_EQ(D::parse("NONE"), D::none());
    EXPECT_EQ(D::parse("maybe"), std::nullopt);
    EXPECT_EQ(D::parse(""), std::nullopt);
    EXPECT_EQ(D::allowUpdating(JSON::object()).label(), "allow");
    EXPECT_EQ(D::deny("x").label(), "deny");
    EXPECT_EQ(D::none().label(), "none");
}

// Offers only answers that change what the agent does, and falls back without blocking when the
// application is away.
TEST(AgentDecisionEncoder, OffersMeaningfulAnswersAndFallsBackWhenTheAppIsAway) {
    for (const JSON& row : brindtest::testTable("agents/decision-meaning.json")) {
        SCOPED_TRACE(row.dump());
        AgentHookEvent event;
        event.agent = agentKindNamed(row["agent"].get<std::string>()).value();
        event.rawName = row["event"];
        if (row.contains("meaningful")) {
            const JSON& m = row["meaningful"];
            EXPECT_EQ(
                AgentDecisionEncoder::meaningful(event),
                (AgentDecisionEncoder::Meaningful{m[0].get<bool>(), m[1].get<bool>(), m[2].get<bool>()}));
        }
        if (row.contains("unreachable")) {
            EXPECT_EQ(AgentDecisionEncoder::unreachableFallback(event.agent, event.rawName),
                      row["unreachable"]);
            // The hook command reads no event for the agents whose answer does not vary.
            if (!AgentDecisionEncoder::unreachableFallbackVaries(event.agent)) {
                EXPECT_EQ(row["unreachable"], "");
            }
        }
    }
}
