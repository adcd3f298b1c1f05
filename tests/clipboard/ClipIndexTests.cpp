#include "BrindKit/clipboard/ClipIndex.hpp"

#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "tests/support/DecimalCommaLocale.hpp"

#include <gtest/gtest.h>

#include <cmath>

using namespace brind;

namespace {

const std::string canonicalFields =
    R"("byteSize":5,"contentHash":"h","created":1700000000.25,"fileURLs":[],)"
    R"("id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","kind":"text","lastUsed":1700000001,)"
    R"("pinned":false,"useCount":2)";

std::string indexWith(const std::string& record) {
    return R"({"version":1,"items":[)" + record + "]}";
}

// A record made of the canonical fields with one more member text appended.
std::string recordWith(const std::string& extra) {
    return "{" + canonicalFields + (extra.empty() ? "" : "," + extra) + "}";
}

} // namespace

// The fast reader takes records in the writer's shape and hands the rest to ClipItem::fromJSON;
// every oddity must come out exactly as the tree reader decodes it.
TEST(ClipIndex, OddRecordsDecodeAsTheTreeReaderDecodesThem) {
    struct Case {
        std::string record;
        bool kept;
    };
    const Case cases[] = {
        {recordWith(""), true},
        {recordWith(R"("text":"hello")"), true},
        {recordWith(R"("text":null)"), true},
        {recordWith(R"("text":42)"), true},
        {recordWith(R"("text":"first","text":"second")"), true},
        {recordWith(R"("colour":"#FF8000")"), true},
        {recordWith(R"("colour":"not a colour")"), true},
        {recordWith(R"("colour":{"r":1,"g":0.5,"b":0})"), true},
        {recordWith(R"("imageWidth":"wide","imageHeight":3)"), true},
        {recordWith(R"("imageWidth":1.5)"), true},
        {recordWith(R"("sourceAppName":"Editor","unknownKey":[1,{"x":null}])"), true},
        {recordWith(R"("pinned":true)"), true},
        {R"({"byteSize":1.5,)" + canonicalFields.substr(canonicalFields.find("\"contentHash")) + "}", false},
        // Past the signed range: a wrong type, not a wrapped negative size.
        {R"({"byteSize":9223372036854775808,)" +
             canonicalFields.substr(canonicalFields.find("\"contentHash")) + "}",
         false},
        {recordWith(R"("imageWidth":18446744073709551615)"), true},
        {recordWith(R"("created":"yesterday")"), false},
        {recordWith(R"("created":-0)"), true},
        {recordWith(R"("created":1e308)"), true},
        {recordWith(R"("id":"not-a-uuid")"), false},
        {recordWith(R"("kind":"hologram")"), false},
        {recordWith(R"("kind":"colour","colour":"#123")"), true},
        {recordWith(R"("fileURLs":["file:///a",7])"), false},
        {recordWith(R"("fileURLs":["file:///a","file:///b%20c"])"), true},
        {recordWith(R"("pinned":"yes")"), false},
        {recordWith(R"("useCount":null)"), false},
        {R"({"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F"})", false},
        {"[]", false},
        {R"("a string")", false},
        {"null", false},
    };
    for (const Case& test : cases) {
        const std::string text = indexWith(test.record);
        const auto fast = ClipIndex::decode(text);
        const auto tree = ClipIndex::decodeThroughTree(text);
        ASSERT_TRUE(fast.has_value()) << test.record;
        ASSERT_TRUE(tree.has_value()) << test.record;
        EXPECT_EQ(*fast, *tree) << test.record;
        EXPECT_EQ(fast->size(), test.kept ? 1u : 0u) << test.record;
    }
}

TEST(ClipIndex, FieldsOfOddRecordsFollowTheLenientRules) {
    const auto duplicate =
        ClipIndex::decode(indexWith(recordWith(R"("text":"first","text":"second")"))).value();
    EXPECT_EQ(duplicate.at(0).text, "second");
    const auto wrongType =
        ClipIndex::decode(indexWith(recordWith(R"("text":42,"imageWidth":"wide")"))).value();
    EXPECT_EQ(wrongType.at(0).text, std::nullopt);
    EXPECT_EQ(wrongType.at(0).imageWidth, std::nullopt);
    const auto huge = ClipIndex::decode(indexWith(recordWith(R"("imageWidth":18446744073709551615)"))).value();
    EXPECT_EQ(huge.at(0).imageWidth, std::nullopt);
    const auto colourObject =
        ClipIndex::decode(indexWith(recordWith(R"("colour":{"r":1,"g":0.5,"b":0})"))).value();
    ASSERT_TRUE(colourObject.at(0).colour);
    EXPECT_EQ(colourObject.at(0).colour->a, 1.0);
    EXPECT_EQ(colourObject.at(0).colour->g, 0.5);
    const auto canonical = ClipIndex::decode(indexWith(recordWith(""))).value();
    EXPECT_EQ(canonical.at(0).created.secondsSince1970, 1700000000.25);
    EXPECT_EQ(canonical.at(0).lastUsed.secondsSince1970, 1700000001.0);
    EXPECT_EQ(canonical.at(0).useCount, 2);
    EXPECT_EQ(canonical.at(0).id.string(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
}

TEST(ClipIndex, DocumentsAreAcceptedOrRefusedAsTheTreeReaderDoes) {
    struct Case {
        std::string text;
        std::optional<std::size_t> items;
    };
    const std::string record = recordWith("");
    const Case cases[] = {
        {R"({"version":1,"items":[]})", 0},
        {R"({"version":1.0,"items":[)" + record + "]}", 1},
        {R"({"version":2,"items":[)" + record + "],\"version\":1}", 1},
        {R"({"version":1,"items":[],"items":[)" + record + "]}", 1},
        {R"({"version":"1","items":[]})", std::nullopt},
        {R"({"version":2,"items":[]})", std::nullopt},
        {R"({"items":[]})", std::nullopt},
        {R"({"version":1,"items":{}})", std::nullopt},
        {R"({"version":1})", std::nullopt},
        {"[]", std::nullopt},
        {"", std::nullopt},
        {R"({"version":1,"items":[)", std::nullopt},
        {R"({"version":1,"items":[]} trailing)", std::nullopt},
        {"{\"version\":1,\"items\":[\"\xFF\"]}", std::nullopt},
        // Integers past 64 bits are refused by the fast reader and read by the tree reader.
        {R"({"version":1,"items":[)" + recordWith(R"("created":123456789012345678901234567890)") + "]}", 1},
        {R"({"version":1,"items":[)" + recordWith(R"("created":1e400)") + "]}", std::nullopt},
    };
    for (const Case& test : cases) {
        const auto fast = ClipIndex::decode(test.text);
        EXPECT_EQ(fast, ClipIndex::decodeThroughTree(test.text)) << test.text;
        ASSERT_EQ(fast.has_value(), test.items.has_value()) << test.text;
        if (fast) {
            EXPECT_EQ(fast->size(), *test.items) << test.text;
        }
    }
}

TEST(ClipIndex, EncodedHistoriesDecodeToThemselves) {
    std::vector<ClipItem> items;
    const std::string texts[] = {
        "plain",
        std::string("controls \x01\x1F \t\n and nul \0 inside", 31),
        "quotes \" and \\ backslashes \\\"",
        "unicode \u00E9 \u2028 \U0001F600",
        "",
        std::string(20000, 'x') + "\"",
    };
    double when = 1e9;
    for (const std::string& text : texts) {
        ClipItem item;
        item.id = UUID::random();
        item.text = text;
        item.created = Date{when += 0.1};
        item.lastUsed = Date{when + 1.0 / 3.0};
        item.contentHash = ClipClassifier::hash("text", text);
        item.byteSize = static_cast<std::int64_t>(text.size());
        items.push_back(item);
    }
    items[1].kind = ClipKind::colour;
    items[1].colour = RGBA{0.1, 0.2, 0.3, 0.4};
    items[2].kind = ClipKind::file;
    items[2].fileURLs = {"file:///tmp/a", "file:///tmp/b"};
    items[3].imageWidth = -7;
    items[3].imageHeight = INT64_MAX;
    items[3].pinned = true;
    items[3].useCount = INT64_MIN;
    items[4].sourceBundleID = "org.example";
    items[4].sourceAppName = "Example";
    items[4].rtfFile = items[4].id.string() + ".rtf";
    items[5].imageFile = items[5].id.string() + ".png";
    // RGBA keeps only what its hex form holds.
    items[1].colour = RGBA::fromHex(items[1].colour->hex());

    const std::string text = ClipIndex::encode(ClipHistory(items));
    EXPECT_EQ(ClipIndex::decode(text), items);
    EXPECT_EQ(ClipIndex::decodeThroughTree(text), items);
}

// The application runs with the user's locale, where the C library may write "0,25"; the index
// must stay JSON, or every start would find it damaged and lose the history.
TEST(ClipIndex, NumbersKeepTheirDecimalPointInEveryLocale) {
    brindtest::DecimalCommaLocale locale;
    if (!locale.active())
        GTEST_SKIP() << "this machine cannot make a locale with a decimal comma";
    ClipItem item;
    item.id = UUID::random();
    item.text = "x";
    item.created = Date{1700000000.25};
    item.lastUsed = Date{0.5};
    const std::string text = ClipIndex::encode(ClipHistory({item}));
    EXPECT_NE(text.find("\"created\":1700000000.25"), std::string::npos) << text;
    EXPECT_EQ(ClipIndex::decode(text), std::vector<ClipItem>{item});
    EXPECT_EQ(ClipIndex::decodeThroughTree(text), std::vector<ClipItem>{item});
}
