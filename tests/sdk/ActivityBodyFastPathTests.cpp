#include "BrindKit/sdk/SDKBridgeActivityBody.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

using brind::Date;
using brind::LiveActivity;
namespace ActivityBody = brind::SDKBridgeActivityBody;
using Refusal = ActivityBody::Refusal;

namespace {

const Date now{1763770000.25};

// The activity as text (every field, the sign of a zero included, and when it was posted), or the
// refusal, so that a difference shows in the failure message.
std::string described(const ActivityBody::Result& result) {
    if (!result)
        return "refused " + std::to_string(static_cast<int>(result.error()));
    return brind::JSONText::compact(result->toJSON()) + " posted " + std::to_string(result->postedAt.secondsSince1970);
}

} // namespace

// Every body gives the same activity, or the same refusal, whichever reader takes it; the common
// shape is taken without the tree, and everything else is left to it.
TEST(ActivityBodyFastPath, GivesWhatTheTreeGivesAndTakesOnlyTheCommonShape) {
    struct Case {
        std::string body;
        bool commonShape;
        std::optional<Refusal> refusal;
    };
    const std::string longSubtitle(ActivityBody::commonShapeMaxBytes, 'x');
    const Case cases[] = {
        // The common shape, each key in each form taken.
        {R"({"id":"bench","title":"Uploading report.pdf","subtitle":"42 of 80 MB","progress":0.52})", true, {}},
        {R"({"id":"a-1_b.c","title":"T","subtitle":"S","progress":1.7,"priority":"critical","symbol":"timer",
            "tint":"#ff8800","expiresIn":30.5,"alert":true,"dismissible":false,"tapAction":"open"})", true, {}},
        {R"( { "title" : "T" , "id" : "a" , "priority" : 2 , "progress" : -3 } )", true, {}},
        {R"({"id":"a","title":"T","priority":"urgent","tint":"0F0"})", true, {}},
        {R"({"id":"a","title":"T","priority":99,"progress":18446744073709551615})", true, {}},
        {R"({"id":"a","title":"T","expiresAt":1800000000.5})", true, {}},
        {R"({"id":"a","title":"T","expiresAt":1800000000,"expiresIn":-5})", true, {}},
        {R"({"id":"a","title":"Line\nbreak \"q\" \u00e9 \ud83d\ude00 \/","progress":1e-400})", true, {}},
        {R"({"id":"a","title":"T","progress":0.1000000000000000055511151231257827})", true, {}},
        // Odd shapes, left to the tree.
        {R"({"id":"a","title":"T","colour":"red"})", false, {}},
        {R"({"id":"a","title":"T","title":"U"})", false, {}},
        {R"({"id":"a","title":"T","subtitle":null,"alert":null})", false, {}},
        {R"({"id":"a","title":"T","symbol":"x","leading":{"text":"4:05"}})", false, {}},
        {R"({"id":"a","title":"T","symbol":"x","leading":null})", false, {}},
        {R"({"id":"a","title":"T","symbol":5,"expiresIn":"soon"})", false, {}},
        {R"({"id":"a","title":"T","expiresAt":"2030-01-01T00:00:00Z"})", false, {}},
        {R"({"id":"a","title":"T","priority":2.0})", false, {}},
        {R"({"id":"a","title":"T","priority":9223372036854775808})", false, {}},
        {R"({"id":"a","title":"T","tint":{"r":1,"g":0,"b":0}})", false, {}},
        {R"({"id":"a","title":"T","actions":[{"id":"stop","label":"Stop","role":"destructive"}]})", false, {}},
        {R"({"id":"a","title":"T","source":"someone else"})", false, {}},
        {R"({"id":"a","title":"T","progress":-0,"expiresIn":-0.0})", false, {}},
        {R"({"id":"a","title":"T","progress":123456789012345678901234567890})", false, {}},
        {"\xEF\xBB\xBF" R"({"id":"a","title":"T"})", false, {}},
        {R"({"id":"a","title":"T","subtitle":")" + longSubtitle + R"("})", false, {}},
        // Refusals, all decided by the tree.
        {"", false, Refusal::notAnObject},
        {"[]", false, Refusal::notAnObject},
        {"null", false, Refusal::notAnObject},
        {"{", false, Refusal::notAnObject},
        {R"({"id":"a","title":"T"} x)", false, Refusal::notAnObject},
        {R"({"id":"a","title":"T","progress":1e400})", false, Refusal::notAnObject},
        {R"({"id":"a","title":"\ud800"})", false, Refusal::notAnObject},
        {R"({"id":"a","title":"\udc00"})", false, Refusal::notAnObject},
        {"{\"id\":\"a\",\"title\":\"\xFF\"}", false, Refusal::notAnObject},
        {R"({"id":"a"})", false, Refusal::titleRequired},
        {R"({"id":"a","title":""})", false, Refusal::titleRequired},
        {R"({"id":"has space","title":5})", false, Refusal::titleRequired},
        {R"({"title":"T"})", false, Refusal::badID},
        {R"({"id":"","title":"T"})", false, Refusal::badID},
        {R"({"id":"has space","title":"T"})", false, Refusal::badID},
        {R"({"id":5,"title":"T"})", false, Refusal::badID},
        {R"({"id":")" + std::string(65, 'a') + R"(","title":"T"})", false, Refusal::badID},
        {R"({"id":"a","title":"T","tint":"plum"})", false, Refusal::unreadable},
        {R"({"id":"a","title":"T","tint":5})", false, Refusal::unreadable},
        {R"({"id":"a","title":"T","leading":{"symbol":"x","tint":"plum"}})", false, Refusal::unreadable},
        {R"({"id":"a","title":"T","actions":[{"id":"stop"}]})", false, Refusal::unreadable},
    };
    for (const auto& [body, commonShape, refusal] : cases) {
        SCOPED_TRACE(body.substr(0, 120));
        const auto tree = ActivityBody::readThroughTree(body, "lumetta", now);
        EXPECT_EQ(described(ActivityBody::read(body, "lumetta", now)), described(tree));
        const auto fast = ActivityBody::readCommonShape(body, "lumetta", now);
        EXPECT_EQ(fast.has_value(), commonShape);
        if (fast) {
            EXPECT_EQ(described(*fast), described(tree));
            EXPECT_EQ(*fast, *tree);
        }
        if (refusal) {
            ASSERT_FALSE(tree.has_value());
            EXPECT_EQ(tree.error(), *refusal);
        } else {
            ASSERT_TRUE(tree.has_value()) << static_cast<int>(tree.error());
            EXPECT_TRUE(tree->id.starts_with("sdk.lumetta.")) << tree->id;
            EXPECT_EQ(tree->source, "sdk.lumetta");
        }
    }
}
