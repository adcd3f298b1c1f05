#include "BrindKit/clipboard/ClipClassifier.hpp"

#include "BrindKit/foundation/SHA256.hpp"

#include <gtest/gtest.h>

using namespace brind;

namespace {

ClipSnapshot textSnapshot(std::string text) {
    ClipSnapshot snapshot;
    snapshot.types = {"public.utf8-plain-text"};
    snapshot.allTypes = snapshot.types;
    snapshot.string = std::move(text);
    return snapshot;
}

ClipSnapshot imageSnapshot(std::string preferred, std::size_t bytes) {
    ClipSnapshot snapshot;
    snapshot.types = {std::move(preferred)};
    snapshot.image = std::string(bytes, '\x89');
    snapshot.imageType = "public.png";
    snapshot.imageWidth = 64;
    snapshot.imageHeight = 32;
    return snapshot;
}

const std::string rtfHello = R"({\rtf1\ansi{\fonttbl\f0 Helvetica;}\f0 Hello \b world\b0})";

} // namespace

TEST(ClipClassifier, HashIsSHA256OfKindZeroAndPayload) {
    const std::string expected = SHA256::hex(std::string("text\0hello", 10));
    EXPECT_EQ(ClipClassifier::hash("text", "hello"), expected);
    // The separator keeps "te" + "xthello" apart from "text" + "hello".
    EXPECT_NE(ClipClassifier::hash("te", "xthello"), expected);
    EXPECT_EQ(ClipClassifier::hash("image", std::string("\0\xff", 2)),
              SHA256::hex(std::string("image\0\0\xff", 8)));
}

TEST(ClipClassifier, FilesComeFirstAndNeverFallBackToText) {
    ClipSnapshot snapshot = textSnapshot("/tmp/a b.pdf");
    snapshot.fileURLs = {"file:///tmp/a%20b.pdf", "not a url", "file:///home/me/notes.txt"};
    snapshot.image = "png";
    snapshot.rtf = rtfHello;

    const auto candidate = ClipClassifier::classify(snapshot, ClipSettings{});
    ASSERT_TRUE(candidate);
    EXPECT_EQ(candidate->kind, ClipKind::file);
    EXPECT_EQ(candidate->text, "/tmp/a b.pdf\n/home/me/notes.txt");
    EXPECT_EQ(candidate->fileURLs, snapshot.fileURLs);
    EXPECT_EQ(candidate->contentHash,
              ClipClassifier::hash("file", "file:///tmp/a%20b.pdf\nnot a url\nfile:///home/me/notes.txt"));
    EXPECT_FALSE(candidate->image || candidate->rtf || candidate->colour);

    ClipSettings noFiles;
    noFiles.captureFiles = false;
    EXPECT_FALSE(ClipClassifier::classify(snapshot, noFiles));
}

TEST(ClipClassifier, ImagesFollowThePreferredTypeAndTheSizeLimit) {
    ClipSettings settings;
    settings.maxImageBytes = 100;

    // Text first on the clipboard: the text wins; an image first: the image wins.
    ClipSnapshot textFirst = imageSnapshot("public.utf8-plain-text", 10);
    textFirst.string = "caption";
    EXPECT_EQ(ClipClassifier::classify(textFirst, settings)->kind, ClipKind::text);
    ClipSnapshot imageFirst = textFirst;
    imageFirst.types = {"public.png", "public.utf8-plain-text"};
    EXPECT_EQ(ClipClassifier::classify(imageFirst, settings)->kind, ClipKind::image);
    // Without a string the image is taken whatever type comes first.
    ClipSnapshot onlyImage = imageSnapshot("com.example.private", 10);
    EXPECT_EQ(ClipClassifier::classify(onlyImage, settings)->kind, ClipKind::image);

    const auto atLimit = ClipClassifier::classify(imageSnapshot("public.tiff", 100), settings);
    ASSERT_TRUE(atLimit);
    EXPECT_EQ(atLimit->image->size(), 100u);
    EXPECT_EQ(atLimit->imageType, "public.png");
    EXPECT_EQ(atLimit->imageWidth, 64);
    EXPECT_EQ(atLimit->imageHeight, 32);
    EXPECT_FALSE(atLimit->text);
    EXPECT_EQ(atLimit->contentHash, ClipClassifier::hash("image", std::string(100, '\x89')));
    EXPECT_EQ(atLimit->byteSize(), 100);

    // One byte over the limit drops the copy, including the text that came with it.
    ClipSnapshot overLimit = imageSnapshot("public.png", 101);
    overLimit.string = "caption";
    EXPECT_FALSE(ClipClassifier::classify(overLimit, settings));

    ClipSettings noImages;
    noImages.captureImages = false;
    EXPECT_FALSE(ClipClassifier::classify(imageFirst, noImages));
}

TEST(ClipClassifier, TextBecomesColourLinkRichOrPlainText) {
    const struct {
        std::string string;
        bool withRTF;
        ClipKind kind;
        std::string text;
        std::string hashKind;
        std::string hashPayload;
    } cases[] = {
        {"  #FF8000 \n", false, ClipKind::colour, "#FF8000", "colour", "#FF8000"},
        {"rgb(255, 128, 0)", true, ClipKind::colour, "rgb(255, 128, 0)", "colour", "#FF8000"},
        {"#ff8000", false, ClipKind::colour, "#ff8000", "colour", "#FF8000"},
        {" https://example.org ", true, ClipKind::link, "https://example.org", "link", "https://example.org"},
        {"  Hello world ", true, ClipKind::richText, "  Hello world ", "text", "  Hello world "},
        {"  Hello world ", false, ClipKind::text, "  Hello world ", "text", "  Hello world "},
    };
    for (const auto& test : cases) {
        ClipSnapshot snapshot = textSnapshot(test.string);
        if (test.withRTF)
            snapshot.rtf = rtfHello;
        const auto candidate = ClipClassifier::classify(snapshot, ClipSettings{});
        ASSERT_TRUE(candidate) << test.string;
        EXPECT_EQ(candidate->kind, test.kind) << test.string;
        EXPECT_EQ(candidate->text, test.text) << test.string;
        EXPECT_EQ(candidate->contentHash, ClipClassifier::hash(test.hashKind, test.hashPayload)) << test.string;
        EXPECT_EQ(candidate->colour.has_value(), test.kind == ClipKind::colour) << test.string;
        EXPECT_EQ(candidate->rtf.has_value(), test.kind == ClipKind::richText) << test.string;
        EXPECT_FALSE(candidate->image || candidate->imageType || candidate->imageWidth) << test.string;
    }

    ClipSnapshot rich = textSnapshot("Hello");
    rich.rtf = rtfHello;
    ClipSettings noRichText;
    noRichText.captureRichText = false;
    EXPECT_EQ(ClipClassifier::classify(rich, noRichText)->kind, ClipKind::text);
    EXPECT_FALSE(ClipClassifier::classify(rich, noRichText)->rtf);
}

TEST(ClipClassifier, RichTextAloneIsStrippedForItsText) {
    ClipSnapshot snapshot;
    snapshot.types = {"public.rtf"};
    snapshot.rtf = rtfHello;
    const auto candidate = ClipClassifier::classify(snapshot, ClipSettings{});
    ASSERT_TRUE(candidate);
    EXPECT_EQ(candidate->kind, ClipKind::richText);
    EXPECT_EQ(candidate->text, "Hello world");
    EXPECT_EQ(candidate->rtf, rtfHello);
    // Plain and rich copies of one text are one clip.
    EXPECT_EQ(candidate->contentHash, ClipClassifier::classify(textSnapshot("Hello world"), ClipSettings{})->contentHash);
    EXPECT_EQ(candidate->byteSize(), static_cast<std::int64_t>(11 + rtfHello.size()));

    ClipSettings noRichText;
    noRichText.captureRichText = false;
    EXPECT_FALSE(ClipClassifier::classify(snapshot, noRichText));

    snapshot.rtf = R"({\rtf1{\fonttbl{\f0 Helvetica;}}})";
    EXPECT_FALSE(ClipClassifier::classify(snapshot, ClipSettings{}));
}

TEST(ClipClassifier, NothingUsableGivesNoCandidate) {
    EXPECT_FALSE(ClipClassifier::classify(ClipSnapshot{}, ClipSettings{}));
    // An empty string counts as no string.
    EXPECT_FALSE(ClipClassifier::classify(textSnapshot(""), ClipSettings{}));
    ClipSnapshot emptyWithImage = imageSnapshot("public.utf8-plain-text", 4);
    emptyWithImage.string = "";
    EXPECT_EQ(ClipClassifier::classify(emptyWithImage, ClipSettings{})->kind, ClipKind::image);
}
