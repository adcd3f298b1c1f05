#include "BrindKit/island/ActivityAction.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ActivityAction, DecodesWithRoleDefaultAndOptionalSymbol) {
    const auto plain = ActivityAction::fromJSON(JSON::parse(R"({"id": "ok", "label": "OK"})"));
    ASSERT_TRUE(plain);
    EXPECT_EQ(*plain, (ActivityAction{"ok", "OK", ActivityAction::Role::normal, std::nullopt}));

    const auto full = ActivityAction::fromJSON(
        JSON::parse(R"({"id": "rm", "label": "Delete", "role": "destructive", "symbol": "trash"})"));
    ASSERT_TRUE(full);
    EXPECT_EQ(*full, (ActivityAction{"rm", "Delete", ActivityAction::Role::destructive, "trash"}));
    EXPECT_EQ(ActivityAction::fromJSON(full->toJSON()), full);
    EXPECT_EQ(full->toJSON().dump(), R"({"id":"rm","label":"Delete","role":"destructive","symbol":"trash"})");
}

TEST(ActivityAction, RefusesMissingFieldsAndUnknownRoles) {
    for (const char* text : {R"({"label": "OK"})", R"({"id": "ok"})", R"({"id": 1, "label": "OK"})",
                             R"({"id": "ok", "label": "OK", "role": "loud"})",
                             R"({"id": "ok", "label": "OK", "role": 2})", R"(["ok"])"}) {
        const auto action = ActivityAction::fromJSON(JSON::parse(text));
        ASSERT_FALSE(action) << text;
        EXPECT_FALSE(action.error().empty());
    }
}
