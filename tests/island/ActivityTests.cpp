// What clients send and receive about activities over the SDK: exact texts are a wire format.

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/island/LiveActivity.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace brind;

namespace {

const Date now{1'700'000'000};

LiveActivity bare(std::string id, std::string source = "unknown") {
    LiveActivity activity;
    activity.id = std::move(id);
    activity.source = std::move(source);
    activity.postedAt = now;
    return activity;
}

LiveActivity decoded(const std::string& text) {
    auto activity = LiveActivity::fromJSON(JSON::parse(text), now);
    EXPECT_TRUE(activity) << text << ": " << (activity ? "" : activity.error());
    return activity.value_or(LiveActivity{});
}

/// An activity "x" with one more key.
LiveActivity decodedWith(const std::string& key, const std::string& value) {
    return decoded(R"({"id": "x", ")" + key + R"(": )" + value + "}");
}

/// Bodies the SDK must refuse, by what they claim to be.
JSON refused(const char* what) {
    return JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/island/refused.json").value()).at(what);
}

ActivityGlyph decodedGlyph(const char* text) {
    auto glyph = ActivityGlyph::fromJSON(JSON::parse(text));
    EXPECT_TRUE(glyph) << text << ": " << (glyph ? "" : glyph.error());
    return glyph.value_or(ActivityGlyph::spinner());
}

} // namespace

namespace brind {
void PrintTo(const LiveActivity& activity, std::ostream* out) {
    *out << activity.toJSON().dump() << " posted at " << activity.postedAt.secondsSince1970;
}
} // namespace brind

TEST(ActivityGlyph, DecodesTheFirstMatchingCaseInFixedOrder) {
    const RGBA red{1, 0, 0, 1};
    const std::pair<const char*, ActivityGlyph> cases[] = {
        {R"({"symbol": "timer", "text": "5s", "tint": "#F00"})", ActivityGlyph::symbol("timer", red)},
        {R"({"text": "5s", "ring": 0.5})", ActivityGlyph::text("5s")},
        {R"({"ring": 1.7, "tint": {"r": 1, "g": 0, "b": 0}})", ActivityGlyph::ring(1, red)},
        {R"({"ring": -2})", ActivityGlyph::ring(0)},
        {R"({"image": "aGk=", "app": "org.example"})", ActivityGlyph::image("hi")},
        // Text that is not base64 passes over the image case.
        {R"({"image": "not base64!", "app": "org.example"})", ActivityGlyph::appIcon("org.example")},
        {R"({"app": "org.example", "visualiser": true, "tint": "#F00"})",
         ActivityGlyph::appIcon("org.example")},
        {R"({"visualiser": true, "spinner": true})", ActivityGlyph::visualiser()},
        {R"({"visualiser": false, "spinner": true})", ActivityGlyph::spinner()},
        {R"({"symbol": 4, "tint": null})", ActivityGlyph::none()},
        {R"("star")", ActivityGlyph::none()},
    };
    for (const auto& [text, glyph] : cases)
        EXPECT_EQ(decodedGlyph(text), glyph) << text;
    // Only a malformed colour fails.
    for (const JSON& body : refused("glyphs"))
        EXPECT_FALSE(ActivityGlyph::fromJSON(body)) << body.dump();
}

TEST(ActivityGlyph, EncodesOneKeyPerCaseAndRoundTrips) {
    const RGBA blue{0, 0, 1, 1};
    const std::pair<ActivityGlyph, const char*> cases[] = {
        {ActivityGlyph::symbol("bolt", blue), R"({"symbol":"bolt","tint":"#0000FF"})"},
        {ActivityGlyph::image(std::string("\x89PNG", 4)), R"({"image":"iVBORw=="})"},
        {ActivityGlyph::appIcon("org.gnome.Terminal"), R"({"app":"org.gnome.Terminal"})"},
        {ActivityGlyph::ring(0.25, blue), R"({"ring":0.25,"tint":"#0000FF"})"},
        {ActivityGlyph::text("3:00"), R"({"text":"3:00"})"},
        {ActivityGlyph::visualiser(), R"({"visualiser":true})"},
        {ActivityGlyph::spinner(), R"({"spinner":true})"},
        {ActivityGlyph::dot(blue), R"({"dot":"#0000FF"})"},
        {ActivityGlyph::none(), R"({})"},
    };
    for (const auto& [glyph, text] : cases) {
        EXPECT_EQ(glyph.toJSON().dump(), text);
        EXPECT_EQ(ActivityGlyph::fromJSON(glyph.toJSON()), glyph) << text;
    }
}

TEST(LiveActivity, MemberwiseInitialiserClampsProgress) {
    const auto make = [](std::optional<double> progress) {
        return LiveActivity::make("a", "s", ActivityPriority::normal, {}, {}, "t", std::nullopt, progress,
                                  std::nullopt, std::nullopt, {}, false, std::nullopt, true, Date{});
    };
    EXPECT_EQ(make(1.7).progress, 1.0);
    EXPECT_EQ(make(std::nullopt).progress, std::nullopt);
    EXPECT_EQ(make(std::nan("")).progress, 0.0);
}

TEST(LiveActivity, DecodesATypicalClientActivity) {
    const auto text = AtomicFile::read(BRIND_TEST_DATA "/island/activity.json");
    ASSERT_TRUE(text);
    const RGBA green = *RGBA::fromHex("#34C759");
    // "postedAt" in the body is ignored: a decoded activity carries the moment of decoding.
    const LiveActivity expected = LiveActivity::make(
        "sdk.build.ci", "build-bot", ActivityPriority::important, ActivityGlyph::symbol("hammer.fill", green),
        ActivityGlyph::ring(0.42), "Building vantaquill", "step 3 of 7", 0.42, green,
        Date::parseISO8601("2025-03-01T17:30:00Z"),
        {{"cancel", "Cancel", ActivityAction::Role::destructive, "xmark"},
         {"open", "Open log", ActivityAction::Role::primary, std::nullopt}},
        true, "open", false, now);
    EXPECT_EQ(decoded(*text), expected);
}

TEST(LiveActivity, ReadsPriorityAndExpiryLeniently) {
    const std::pair<const char*, ActivityPriority> names[] = {
        {"ambient", ActivityPriority::ambient},     {"low", ActivityPriority::ambient},
        {"normal", ActivityPriority::normal},       {"Default", ActivityPriority::normal},
        {"important", ActivityPriority::important}, {"HIGH", ActivityPriority::important},
        {"High", ActivityPriority::important},      {"Urgent", ActivityPriority::critical},
        {"CRITICAL", ActivityPriority::critical},
    };
    for (const auto& [text, priority] : names)
        EXPECT_EQ(activityPriorityNamed(text), priority) << text;
    for (const char* text : {"", "medium", " high", "3"})
        EXPECT_FALSE(activityPriorityNamed(text)) << text;

    EXPECT_EQ(decodedWith("priority", "0").priority, ActivityPriority::ambient);
    EXPECT_EQ(decodedWith("priority", "2.0").priority, ActivityPriority::important);
    EXPECT_EQ(decodedWith("priority", "3").priority, ActivityPriority::critical);
    EXPECT_EQ(decodedWith("priority", R"("Urgent")").priority, ActivityPriority::critical);
    // Raw values past either end, fractional, too large for an integer, unknown or of another type.
    for (const char* value : {"4", "-1", "2.5", "1e30", "18446744073709551615", R"("meh")", "true", "[3]"})
        EXPECT_EQ(decodedWith("priority", value).priority, ActivityPriority::normal) << value;

    EXPECT_EQ(decodedWith("expiresAt", "0").expiresAt, Date{0});
    EXPECT_EQ(decodedWith("expiresAt", "1700000123.5").expiresAt, Date{1700000123.5});
    for (const char* value : {R"("tomorrow")", "false", "{}"})
        EXPECT_EQ(decodedWith("expiresAt", value).expiresAt, std::nullopt) << value;
}

TEST(LiveActivity, TreatsWronglyTypedOptionalKeysAsAbsent) {
    const LiveActivity activity = decoded(R"({"id": "x", "source": 4, "title": ["t"], "subtitle": 1,
        "progress": "half", "actions": "none", "alert": "yes", "tapAction": false, "dismissible": 0,
        "leading": "star", "trailing": null, "tint": null})");
    EXPECT_EQ(activity, bare("x"));
    EXPECT_EQ(decodedWith("progress", "-3").progress, 0.0);
    // An action's role defaults to normal.
    EXPECT_EQ(decodedWith("actions", R"([{"id": "ok", "label": "OK"}])").actions,
              (std::vector<ActivityAction>{{"ok", "OK", ActivityAction::Role::normal, std::nullopt}}));
}

TEST(LiveActivity, FailsOnMissingIdentityAndMalformedParts) {
    for (const JSON& body : refused("activities")) {
        const auto activity = LiveActivity::fromJSON(body, now);
        ASSERT_FALSE(activity) << body.dump();
        EXPECT_FALSE(activity.error().empty());
    }
    EXPECT_EQ(LiveActivity::fromJSON(JSON::parse(R"({"id": "x", "tint": "plum"})"), now).error(),
              "tint: not a hex colour: plum");
}

TEST(LiveActivity, EncodesEveryFieldButPostedAtAndRoundTrips) {
    LiveActivity minimal = bare("m", "s");
    minimal.title = "T";
    EXPECT_EQ(minimal.toJSON().dump(),
              R"({"actions":[],"alert":false,"dismissible":true,"id":"m",)"
              R"("leading":{},"priority":"normal","source":"s","title":"T","trailing":{}})");

    // Colours travel as hex bytes, so the round trip uses components that are whole bytes.
    const LiveActivity full =
        LiveActivity::make("f", "timer", ActivityPriority::critical, ActivityGlyph::visualiser(),
                           ActivityGlyph::text("4:05", RGBA::white), "Tea", "green", 0.5, RGBA{1, 0, 0.2, 1},
                           Date{1700000100.25},
                           {{"rm", "Delete", ActivityAction::Role::destructive, "trash"},
                            {"stop", "Stop", ActivityAction::Role::cancel, std::nullopt}},
                           true, "open", false, now);
    const JSON json = full.toJSON();
    EXPECT_EQ(json["priority"], "critical");
    EXPECT_EQ(json["expiresAt"], 1700000100.25);
    EXPECT_EQ(json["tint"], "#FF0033");
    EXPECT_EQ(json["actions"][0].dump(),
              R"({"id":"rm","label":"Delete","role":"destructive","symbol":"trash"})");
    EXPECT_FALSE(json.contains("postedAt"));
    EXPECT_EQ(LiveActivity::fromJSON(json, now), full);
}
