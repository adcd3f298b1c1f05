#include "BrindKit/island/ActivityPriority.hpp"

#include <gtest/gtest.h>

using namespace brind;

TEST(ActivityPriority, ReadsNamesAndAliasesInAnyCase) {
    const std::pair<const char*, ActivityPriority> cases[] = {
        {"ambient", ActivityPriority::ambient},     {"low", ActivityPriority::ambient},
        {"normal", ActivityPriority::normal},       {"Default", ActivityPriority::normal},
        {"important", ActivityPriority::important}, {"HIGH", ActivityPriority::important},
        {"High", ActivityPriority::important},      {"Urgent", ActivityPriority::critical},
        {"CRITICAL", ActivityPriority::critical},
    };
    for (const auto& [text, priority] : cases)
        EXPECT_EQ(activityPriorityNamed(text), priority) << text;
    for (const char* text : {"", "medium", " high", "3"})
        EXPECT_FALSE(activityPriorityNamed(text)) << text;
}
