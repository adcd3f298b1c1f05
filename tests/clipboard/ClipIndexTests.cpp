#include "BrindKit/clipboard/ClipIndex.hpp"

#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/DecimalCommaLocale.hpp"

#include <gtest/gtest.h>

#include <sstream>

using namespace brind;

// The fast reader takes records in the writer's shape and hands the rest to ClipItem::fromJSON; every
// index, odd records and damaged documents included, must come out exactly as the tree reader decodes
// it. Each line of the file is how many items an index holds ("-" when it is refused), a tab, the index.
TEST(ClipIndex, DecodesEveryIndexAsTheTreeReaderDoes) {
    std::istringstream lines(AtomicFile::read(BRIND_TEST_DATA "/clipboard/index-cases.txt").value());
    int checked = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('#'))
            continue;
        const std::string text = line.substr(line.find('\t') + 1);
        const auto fast = ClipIndex::decode(text);
        EXPECT_EQ(fast, ClipIndex::decodeThroughTree(text)) << text;
        EXPECT_EQ(fast ? std::to_string(fast->size()) : "-", line.substr(0, line.find('\t'))) << text;
        ++checked;
    }
    EXPECT_EQ(checked, 45);
}

TEST(ClipIndex, FieldsOfOddRecordsFollowTheLenientRules) {
    // A record of the fields every item has, with one more member.
    const std::string head =
        R"({"version":1,"items":[{"byteSize":5,"contentHash":"h","created":1700000000.25,)"
        R"("fileURLs":[],"id":"E621E1F8-C36C-495A-93FC-0C247A3E6E5F","kind":"text",)"
        R"("lastUsed":1700000001,"pinned":false,"useCount":2,)";
    const auto decoded = [&](const std::string& extra) {
        return ClipIndex::decode(head + extra + "}]}").value().at(0);
    };
    EXPECT_EQ(decoded(R"("text":"first","text":"second")").text, "second");
    const ClipItem wrongType = decoded(R"("text":42,"imageWidth":"wide")");
    EXPECT_EQ(wrongType.text, std::nullopt);
    EXPECT_EQ(wrongType.imageWidth, std::nullopt);
    EXPECT_EQ(decoded(R"("imageWidth":18446744073709551615)").imageWidth, std::nullopt);
    const auto colour = decoded(R"("colour":{"r":1,"g":0.5,"b":0})").colour;
    ASSERT_TRUE(colour);
    EXPECT_EQ(colour->a, 1.0);
    EXPECT_EQ(colour->g, 0.5);
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
