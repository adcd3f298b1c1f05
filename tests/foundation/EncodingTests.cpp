#include "BrindKit/foundation/Base64.hpp"
#include "BrindKit/foundation/SHA256.hpp"
#include "BrindKit/foundation/UUID.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

using namespace brind;

TEST(Base64, EncodesAndDecodesStandardText) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xff\xfe", "//4="}};
    for (const auto& [plain, encoded] : cases) {
        EXPECT_EQ(Base64::encode(plain), encoded);
        EXPECT_EQ(Base64::decode(encoded), plain) << encoded;
    }
}

TEST(Base64, RefusesAnythingButStrictStandardText) {
    for (const char* text : {"Zg", "Zg=", "Z===", "Zm9v\n", "Zm 9v", "-_4=", "Zg==Zg==", "=Zg=", "Zm9v!"}) {
        EXPECT_FALSE(Base64::decode(text)) << text;
    }
}

TEST(Base64, URLFormSwapsAlphabetAndDropsPadding) {
    EXPECT_EQ(Base64::encodeURL("\xff\xfe"), "__4");
    EXPECT_EQ(Base64::encodeURL(std::string(32, '\xfb')).size(), 43u);
}

TEST(SHA256, MatchesKnownDigests) {
    EXPECT_EQ(SHA256::hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(SHA256::hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(SHA256::hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    // Lengths around the block and padding boundaries.
    const std::pair<std::size_t, const char*> lengths[] = {
        {55, "d5e285683cd4efc02d021a5c62014694958901005d6f71e89e0989fac77e4072"},
        {56, "04c26261370ee7541549d16dee320c723e3fd14671e66a099afe0a377c16888e"},
        {63, "75220b47218278e656f2013bb8f0c455a25eaf01e86c64924e9d48d89776d6f2"},
        {64, "7ce100971f64e7001e8fe5a51973ecdfe1ced42befe7ee8d5fd6219506b5393c"},
        {119, "000b48d4edf0fa7bee3c6236ecd2785baa5db4eeb8bb54341b029e0d9fa5fb0c"},
        {120, "13f05a0b594787f5ecd315edc96141bd3243203d1b7d4f0836f37308b276ba98"},
    };
    for (const auto& [length, digest] : lengths)
        EXPECT_EQ(SHA256::hex(std::string(length, 'x')), digest) << length;
}

TEST(SHA256, PiecesHashAsTheirJoinedText) {
    SHA256::Hasher hasher;
    const std::string piece(7, 'a'); // never a block's size, so pieces straddle blocks
    for (std::size_t fed = 0; fed < 1'000'000; fed += piece.size())
        hasher.update(std::string_view(piece).substr(0, std::min(piece.size(), 1'000'000 - fed)));
    EXPECT_EQ(SHA256::hex(hasher.finish()), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(UUID, RandomIdentifiersAreVersionFourAndDistinct) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const UUID uuid = UUID::random();
        const std::string text = uuid.string();
        EXPECT_EQ(text.size(), 36u);
        EXPECT_EQ(text[14], '4');
        EXPECT_TRUE(seen.insert(text).second);
        EXPECT_EQ(UUID::parse(text), uuid);
    }
}

TEST(UUID, ParsesEitherCaseAndRefusesOtherForms) {
    const auto upper = UUID::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    const auto lower = UUID::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(upper);
    EXPECT_EQ(upper, lower);
    EXPECT_EQ(lower->string(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    for (const char* text : {"", "E621E1F8C36C495A93FC0C247A3E6E5F", "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
                             "G621E1F8-C36C-495A-93FC-0C247A3E6E5F", "E621E1F8-C36C-495A-93FC_0C247A3E6E5F",
                             "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"}) {
        EXPECT_FALSE(UUID::parse(text)) << text;
    }
}
