#include "BrindKit/sdk/SDKSSE.hpp"

#include <gtest/gtest.h>

namespace SDKSSE = brind::SDKSSE;

TEST(SDKSSE, WritesOneDataLinePerLineAndCommentsAsIgnoredLines) {
    EXPECT_EQ(SDKSSE::event("action", "first\nsecond"), "event: action\ndata: first\ndata: second\n\n");
    EXPECT_EQ(SDKSSE::event("hello", "{\"app\":\"lumetta\"}", "7"),
              "id: 7\nevent: hello\ndata: {\"app\":\"lumetta\"}\n\n");
    EXPECT_EQ(SDKSSE::event("empty", ""), "event: empty\ndata: \n\n");
    EXPECT_EQ(SDKSSE::event("edge", "a\n"), "event: edge\ndata: a\ndata: \n\n");
    EXPECT_EQ(SDKSSE::comment("keep-alive"), ": keep-alive\n\n");
}
