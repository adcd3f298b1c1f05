// The history's records as they are stored on disk.

#include "BrindKit/clipboard/ClipItem.hpp"
#include "BrindKit/clipboard/ClipSettings.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <set>

using namespace brind;

namespace {

// The keys every record holds, in the order they are written; the others are left out when absent.
const std::vector<std::string> requiredKeys{"byteSize", "contentHash", "created", "fileURLs", "id",
                                            "kind",     "lastUsed",    "pinned",  "useCount"};

ClipItem fullItem() {
    ClipItem item;
    item.id = *UUID::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    item.kind = ClipKind::image;
    item.text = "caption";
    item.fileURLs = {"file:///tmp/a.png"};
    item.rtfFile = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F.rtf";
    item.imageFile = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F.png";
    item.imageWidth = 1280;
    item.imageHeight = 720;
    item.colour = RGBA{1, 0.5, 0, 1};
    item.sourceBundleID = "org.example.editor";
    item.sourceAppName = "Editor";
    item.created = Date{1700000000.25};
    item.lastUsed = Date{1700000100.5};
    item.useCount = 3;
    item.pinned = true;
    item.contentHash = std::string(64, 'a');
    item.byteSize = 12345;
    return item;
}

ClipItem item(ClipKind kind, std::optional<std::string> text) {
    ClipItem result;
    result.kind = kind;
    result.text = std::move(text);
    return result;
}

} // namespace

// Every field survives the round trip; absent optionals are left out of the record.
TEST(ClipItem, JSONRoundTripsEveryFieldAndLeavesOutAbsentOptionals) {
    const ClipItem original = fullItem();
    const JSON json = original.toJSON();
    EXPECT_EQ(json["created"], 1700000000.25);
    EXPECT_EQ(json["kind"], "image");
    EXPECT_EQ(json["colour"], "#FF8000");
    const auto decoded = ClipItem::fromJSON(json);
    ASSERT_TRUE(decoded) << decoded.error();
    // The colour travels as hex, so compare it through hex and the rest exactly.
    EXPECT_EQ(decoded->colour->hex(), "#FF8000");
    ClipItem expected = original;
    expected.colour = decoded->colour;
    EXPECT_EQ(*decoded, expected);

    ClipItem minimal;
    minimal.id = UUID::random();
    const JSON minimalJSON = minimal.toJSON();
    std::vector<std::string> keys;
    for (const auto& member : minimalJSON.items())
        keys.push_back(member.key());
    EXPECT_EQ(keys, requiredKeys);
    EXPECT_EQ(ClipItem::fromJSON(minimalJSON).value(), minimal);
}

TEST(ClipItem, DecodingRequiresEveryRequiredKey) {
    const JSON good = fullItem().toJSON();
    for (const std::string& key : requiredKeys) {
        JSON missing = good;
        missing.erase(key);
        EXPECT_FALSE(ClipItem::fromJSON(missing)) << key;
        JSON mistyped = good;
        mistyped[key] = JSON::object();
        EXPECT_FALSE(ClipItem::fromJSON(mistyped)) << key;
    }
    EXPECT_FALSE(ClipItem::fromJSON(JSON::array()));
}

TEST(ClipItem, DecodingTreatsMistypedOptionalsAsAbsent) {
    JSON json = fullItem().toJSON();
    json["text"] = 5;
    json["imageWidth"] = "wide";
    // Past the signed range: read as it is, it would wrap to a negative width.
    json["imageHeight"] = std::numeric_limits<std::uint64_t>::max();
    json["colour"] = "not a colour";
    json["sourceAppName"] = JSON::array();
    const auto decoded = ClipItem::fromJSON(json);
    ASSERT_TRUE(decoded);
    EXPECT_FALSE(decoded->text);
    EXPECT_FALSE(decoded->imageWidth);
    EXPECT_FALSE(decoded->imageHeight);
    EXPECT_FALSE(decoded->colour);
    EXPECT_FALSE(decoded->sourceAppName);
    EXPECT_EQ(decoded->sourceBundleID, "org.example.editor");
    // A colour written as components is read too.
    json["colour"] = JSON::parse(R"({"r":1,"g":0.5,"b":0})");
    EXPECT_EQ(ClipItem::fromJSON(json)->colour, (RGBA{1, 0.5, 0, 1}));
}

TEST(ClipItem, DisplayTitleForTextKinds) {
    const struct {
        std::optional<std::string> text;
        std::string title;
    } cases[] = {
        {"Hello", "Hello"},
        {"\n\n  first line  \nsecond", "first line"},
        {"\r\n\r\nafter crlf", "after crlf"},
        {"a\u2028b", "a"},
        {" \n \t\n", "Whitespace"},
        {"", "Whitespace"},
        {std::nullopt, "Whitespace"},
        {std::string(400, 'x'), std::string(300, 'x')},
    };
    for (const ClipKind kind : {ClipKind::text, ClipKind::richText, ClipKind::link}) {
        for (const auto& test : cases)
            EXPECT_EQ(item(kind, test.text).displayTitle(), test.title) << test.text.value_or("<none>");
    }
    // 300 characters, not bytes: each "é" written with a combining accent is one character.
    std::string accented;
    for (int index = 0; index < 301; ++index)
        accented += "e\u0301";
    EXPECT_EQ(item(ClipKind::text, accented).displayTitle().size(), 300u * 3);
}

TEST(ClipItem, DisplayTitleForImagesColoursAndFiles) {
    ClipItem image = item(ClipKind::image, std::nullopt);
    EXPECT_EQ(image.displayTitle(), "Image");
    image.imageWidth = 1280;
    EXPECT_EQ(image.displayTitle(), "Image");
    image.imageHeight = 720;
    EXPECT_EQ(image.displayTitle(), "Image 1280\u00D7720");

    ClipItem colour = item(ClipKind::colour, std::nullopt);
    EXPECT_EQ(colour.displayTitle(), "Colour");
    colour.text = "rgb(255, 128, 0)";
    EXPECT_EQ(colour.displayTitle(), "rgb(255, 128, 0)");
    colour.colour = RGBA{1, 128 / 255.0, 0, 1};
    EXPECT_EQ(colour.displayTitle(), "#FF8000");

    ClipItem files = item(ClipKind::file, std::nullopt);
    EXPECT_EQ(files.displayTitle(), "File");
    files.fileURLs = {"not a url"};
    EXPECT_EQ(files.displayTitle(), "File");
    files.fileURLs = {"file:///tmp/My%20Report.pdf"};
    EXPECT_EQ(files.displayTitle(), "My Report.pdf");
    files.fileURLs = {"file:///tmp/a.pdf", "bad url", "file:///tmp/b.pdf", "file:///tmp/c/"};
    EXPECT_EQ(files.displayTitle(), "a.pdf + 2 more");
}

TEST(ClipItem, PlainTextIsWhatGetsPasted) {
    EXPECT_EQ(item(ClipKind::text, "a\r\nb\u00A0c").plainText(), "a\nb c");
    EXPECT_EQ(item(ClipKind::link, "https://example.org").plainText(), "https://example.org");
    EXPECT_FALSE(item(ClipKind::richText, std::nullopt).plainText());
    EXPECT_FALSE(item(ClipKind::image, "caption").plainText());

    ClipItem colour = item(ClipKind::colour, "rgb(0, 0, 0)");
    EXPECT_EQ(colour.plainText(), "rgb(0, 0, 0)");
    colour.colour = RGBA::black;
    EXPECT_EQ(colour.plainText(), "#000000");
    EXPECT_FALSE(item(ClipKind::colour, std::nullopt).plainText());

    ClipItem files = item(ClipKind::file, "ignored");
    files.fileURLs = {"file:///tmp/a%20b.txt", "bad url", "file:///home/c.txt"};
    EXPECT_EQ(files.plainText(), "/tmp/a b.txt\n/home/c.txt");
}

// The raw values are stored in the index on disk: renaming one would drop every stored clip of that kind.
// The raw values are stored in the index on disk: renaming one would drop every stored clip of that kind.
TEST(ClipKind, RawValuesAreTheStoredNamesInCaseOrder) {
    const char* names[] = {"text", "richText", "link", "image", "file", "colour"};
    ASSERT_EQ(allClipKinds.size(), std::size(names));
    std::set<std::string_view> titles;
    std::set<std::string_view> symbols;
    for (std::size_t index = 0; index < allClipKinds.size(); ++index) {
        const ClipKind kind = allClipKinds[index];
        EXPECT_EQ(static_cast<std::size_t>(kind), index);
        EXPECT_EQ(name(kind), names[index]);
        EXPECT_EQ(clipKindNamed(names[index]), kind);
        titles.insert(title(kind));
        symbols.insert(symbol(kind));
    }
    // Each kind is told apart in filters and lists.
    EXPECT_EQ(titles.size(), allClipKinds.size());
    EXPECT_EQ(symbols.size(), allClipKinds.size());
    for (const char* unknown : {"Text", "text ", "color", ""})
        EXPECT_FALSE(clipKindNamed(unknown)) << unknown;
}

TEST(ClipSettings, JSONRoundTripsEveryField) {
    ClipSettings custom;
    custom.enabled = false;
    custom.maxItems = 50;
    custom.maxDays = 0;
    custom.captureImages = false;
    custom.captureFiles = false;
    custom.captureRichText = false;
    custom.maxImageBytes = 1024;
    custom.excludedBundleIDs = {"org.example.vault", "com.example.notes"};
    custom.hotkeyEnabled = false;
    custom.pasteDirectly = false;
    custom.pausedUntil = Date{1700000000.5};
    EXPECT_EQ(ClipSettings::fromJSON(custom.toJSON()), custom);
    EXPECT_FALSE(ClipSettings{}.toJSON().contains("pausedUntil"));
}

TEST(ClipSettings, MissingOrMistypedValuesTakeTheDefaults) {
    EXPECT_EQ(ClipSettings::fromJSON(JSON::object()), ClipSettings{});
    EXPECT_EQ(ClipSettings::fromJSON(JSON("garbage")), ClipSettings{});

    ClipSettings custom;
    custom.maxDays = 0;
    custom.excludedBundleIDs = {"org.example.vault"};
    JSON mistyped = custom.toJSON();
    mistyped["maxItems"] = "many";
    mistyped["enabled"] = 0;
    mistyped["pausedUntil"] = "tomorrow";
    // Past the signed range: read as it is, it would wrap to a negative limit.
    mistyped["maxImageBytes"] = std::numeric_limits<std::uint64_t>::max();
    // A stray non-string keeps the list's strings: dropping the list would record excluded applications.
    mistyped["excludedBundleIDs"] = JSON::array({"org.example.vault", 7});
    EXPECT_EQ(ClipSettings::fromJSON(mistyped), custom);
}
