// What the history records of a copy, and which copies it leaves out.

#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "BrindKit/clipboard/ClipPrivacy.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
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

using Types = std::vector<std::string>;

std::optional<ClipSkipReason> skipOf(const Types& types, std::optional<std::string> source,
                                     const ClipSettings& settings = {}, Date now = Date{1000}) {
    return ClipPrivacy::evaluate(types, source, settings, now).skipReason();
}

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
        EXPECT_EQ(candidate->contentHash, ClipClassifier::hash(test.hashKind, test.hashPayload))
            << test.string;
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
    EXPECT_EQ(candidate->contentHash,
              ClipClassifier::classify(textSnapshot("Hello world"), ClipSettings{})->contentHash);
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

TEST(ClipPrivacy, FirstMatchingRuleDecides) {
    const Types plain{"public.utf8-plain-text"};
    const std::string concealed = "org.nspasteboard.ConcealedType";
    const std::string transient = "org.nspasteboard.TransientType";
    const std::string generated = "org.nspasteboard.AutoGeneratedType";
    const std::string own(ClipPrivacy::ownMarkerType);

    ClipSettings disabled;
    disabled.enabled = false;
    EXPECT_EQ(skipOf({own, concealed}, "com.bitwarden.desktop", disabled), ClipSkipReason::disabled);

    ClipSettings paused;
    paused.pausedUntil = ClipPrivacy::pauseEnd(Date{200}, 0.5);
    EXPECT_EQ(paused.pausedUntil, Date{2000});
    EXPECT_EQ(skipOf({own}, std::nullopt, paused, Date{1999}), ClipSkipReason::paused);
    EXPECT_EQ(skipOf(plain, std::nullopt, paused, Date{2000}), std::nullopt);

    EXPECT_EQ(skipOf({"public.utf8-plain-text", own, concealed}, std::nullopt), ClipSkipReason::ownWrite);
    EXPECT_EQ(skipOf({transient, concealed}, std::nullopt), ClipSkipReason::concealed);
    EXPECT_EQ(skipOf({generated, transient}, std::nullopt), ClipSkipReason::transient);
    EXPECT_EQ(skipOf({"public.utf8-plain-text", generated}, "com.bitwarden.desktop"),
              ClipSkipReason::autoGenerated);

    ClipSettings excluding;
    excluding.excludedBundleIDs = {"org.example.vault", "com.bitwarden.desktop"};
    EXPECT_EQ(skipOf(plain, "com.bitwarden.desktop", excluding), ClipSkipReason::passwordManager);
    EXPECT_EQ(skipOf(plain, "org.example.vault", excluding), ClipSkipReason::excludedApp);
    EXPECT_EQ(skipOf(plain, "org.example.editor", excluding), std::nullopt);
    // A password manager with nothing on the clipboard is still a password manager.
    EXPECT_EQ(skipOf({}, "com.bitwarden.desktop"), ClipSkipReason::passwordManager);
    EXPECT_EQ(skipOf({}, std::nullopt), ClipSkipReason::empty);
    EXPECT_TRUE(ClipPrivacy::evaluate(plain, std::nullopt, ClipSettings{}, Date{0}).isRecord());
}

TEST(ClipPrivacy, MarkerTypesOfOtherToolsAreRecognised) {
    for (const auto type : ClipPrivacy::concealedTypes)
        EXPECT_EQ(skipOf({std::string(type)}, std::nullopt), ClipSkipReason::concealed) << type;
    for (const auto type : ClipPrivacy::transientTypes)
        EXPECT_EQ(skipOf({std::string(type)}, std::nullopt), ClipSkipReason::transient) << type;
    // Types compare exactly: a type that merely resembles a marker is ordinary content.
    EXPECT_EQ(skipOf({"org.nspasteboard.concealedtype"}, std::nullopt), std::nullopt);
}

// An identifier matches with any case and any auxiliary bundle after a separator; the same letters
// without a separator after them are a different application.
TEST(ClipPrivacy, BundleIdentifiersMatchTheirAuxiliaryBundles) {
    const JSON cases =
        JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/clipboard/password-managers.json").value());
    for (const std::string bundleID : cases.at("passwordManagers"))
        EXPECT_TRUE(ClipPrivacy::isPasswordManager(bundleID)) << bundleID;
    for (const std::string bundleID : cases.at("otherApplications"))
        EXPECT_FALSE(ClipPrivacy::isPasswordManager(bundleID)) << bundleID;

    const std::vector<std::string> entries{"Org.Example.Vault"};
    EXPECT_TRUE(ClipPrivacy::matches("org.example.vault-beta", entries));
    EXPECT_FALSE(ClipPrivacy::matches("org.example.vaulted", entries));
    EXPECT_FALSE(ClipPrivacy::matches("org.example.vault", std::vector<std::string>{}));
}
