#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/SHA256.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

using namespace brind;

TEST(Base64, EncodesDecodesAndRefusesAnythingButStrictText) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xff\xfe", "//4="}};
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64::encode(plain), encoded);
        EXPECT_EQ(Base64::decode(encoded), plain) << encoded;
    }
    for (const char* text : {"Zg", "Zg=", "Z===", "Zm9v\n", "Zm 9v", "-_4=", "Zg==Zg==", "=Zg=", "Zm9v!"})
        EXPECT_FALSE(Base64::decode(text)) << text;
    // The URL form swaps the alphabet and drops the padding.
    EXPECT_EQ(Base64::encodeURL("\xff\xfe"), "__4");
    EXPECT_EQ(Base64::encodeURL(std::string(32, '\xfb')).size(), 43u);
}

// The digest is nettle's; what is ours is the hexadecimal form and feeding the hasher in pieces.
TEST(SHA256, WritesKnownDigestsInLowerCaseHexAlsoFromPieces) {
    EXPECT_EQ(SHA256::hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(SHA256::hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    SHA256::Hasher hasher;
    const std::string piece(7, 'a'); // never a block's size, so pieces straddle blocks
    for (std::size_t fed = 0; fed < 1'000'000; fed += piece.size())
        hasher.update(std::string_view(piece).substr(0, std::min(piece.size(), 1'000'000 - fed)));
    EXPECT_EQ(SHA256::hex(hasher.finish()),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(UUID, RandomIdentifiersAreVersionFourAndDistinctAndParseInEitherCase) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const UUID uuid = UUID::random();
        const std::string text = uuid.string();
        EXPECT_EQ(text.size(), 36u);
        EXPECT_EQ(text[14], '4');
        EXPECT_TRUE(seen.insert(text).second);
        EXPECT_EQ(UUID::parse(text), uuid);
    }
    const auto upper = UUID::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    const auto lower = UUID::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(upper);
    EXPECT_EQ(upper, lower);
    EXPECT_EQ(lower->string(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    for (const char* text : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "G621E1F8-C36C-495A-93FC-0C247A3E6E5F", "E621E1F8-C36C-495A-93FC_0C247A3E6E5F",
                             "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"})
        EXPECT_FALSE(UUID::parse(text)) << text;
}
