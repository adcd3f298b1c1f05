#include "tests/clipboard-desktop/ClipboardDisplay.hpp"
#include "vantaquill/clipboard/ClipFlavourMapping.hpp"

#include <array>
#include <cstring>
#include <gtest/gtest.h>

namespace vq {
namespace {

using clipboardtest::encodedImage;

TEST(ClipFlavourMappingTests, ReadsTextFromTheDesktopsTextTypes) {
    const struct {
        ClipFlavours flavours;
        std::optional<std::string> text;
    } cases[] = {
        {{{"text/plain;charset=utf-8", "grüße"}, {"text/plain", "gr?e"}}, "grüße"},
        {{{"UTF8_STRING", "grüße"}}, "grüße"},
        {{{"STRING", "gr\xfc\xdf"
                     "e"}},
         "grüße"},
        {{{"text/html", "<p>Hello <b>world</b> &amp; more</p>"}}, "Hello world & more"},
        {{{"text/html", "<b>ignored</b>"}, {"text/plain", "plain alternative"}}, "plain alternative"},
        {{{"image/png", encodedImage("PNG", 1, 1)}}, std::nullopt},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipFlavourMapping::snapshot(test.flavours).string, test.text)
            << test.flavours.front().mimeType;
}

TEST(ClipFlavourMappingTests, NamesTypesTheWayThePrivacyRulesAndTheClassifierKnowThem) {
    const auto snapshot = ClipFlavourMapping::snapshot({{"image/png", encodedImage("PNG", 3, 2)},
                                                        {"text/plain", "a picture"},
                                                        {"x-kde-passwordManagerHint", "secret"},
                                                        {"application/x-vantaquill-clip", "id"},
                                                        {"text/rtf", "{\\rtf1 x}"},
                                                        {"application/x-something", ""}});
    EXPECT_EQ(snapshot.types, (std::vector<std::string>{
                                  "public.png", "public.utf8-plain-text", "org.nspasteboard.ConcealedType",
                                  "app.vantaquill.clip", "public.rtf", "application/x-something"}));
    EXPECT_EQ(snapshot.allTypes, snapshot.types);
    EXPECT_EQ(snapshot.rtf, "{\\rtf1 x}");
    EXPECT_EQ(snapshot.imageType, "public.png");
    EXPECT_EQ(snapshot.imageWidth, 3);
    EXPECT_EQ(snapshot.imageHeight, 2);
}

TEST(ClipFlavourMappingTests, ReadsFileListsAsCopiesOrCuts) {
    const struct {
        ClipFlavour flavour;
        std::vector<std::string> files;
    } cases[] = {
        {{"x-special/gnome-copied-files", "copy\nfile:///home/a/one.txt\nfile:///home/a/two%20words.txt"},
         {"file:///home/a/one.txt", "file:///home/a/two%20words.txt"}},
        {{"x-special/gnome-copied-files", "cut\nfile:///tmp/x"}, {"file:///tmp/x"}},
        {{"x-special/gnome-copied-files", "file:///tmp/x"}, {}},
        {{"text/uri-list", "# dragged\r\nfile:///tmp/x\r\nhttps://example.com/\r\nfile:///tmp/y\r\n"},
         {"file:///tmp/x", "file:///tmp/y"}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipFlavourMapping::snapshot({test.flavour}).fileURLs, test.files) << test.flavour.data;
}

TEST(ClipFlavourMappingTests, ReadsColoursAndConvertsUncommonImagesToPNG) {
    std::array<std::uint16_t, 4> channels{0xFF00, 0x8000, 0x0000, 0xFFFF};
    std::string colour(sizeof channels, '\0');
    std::memcpy(colour.data(), channels.data(), sizeof channels);
    EXPECT_EQ(ClipFlavourMapping::snapshot({{"application/x-color", colour}}).string, "#FF8000");
    EXPECT_EQ(ClipFlavourMapping::snapshot({{"application/x-color", "short"}}).string, std::nullopt);

    const auto bitmap = ClipFlavourMapping::snapshot({{"image/bmp", encodedImage("BMP", 4, 5)}});
    ASSERT_TRUE(bitmap.image);
    EXPECT_EQ(bitmap.imageType, "public.png");
    EXPECT_TRUE(bitmap.image->starts_with("\x89PNG"));
    EXPECT_EQ(bitmap.imageWidth, 4);
    EXPECT_FALSE(ClipFlavourMapping::snapshot({{"image/bmp", "not an image"}}).image);
}

} // namespace
} // namespace vq
