#include "BrindKit/clipboard/ClipArchive.hpp"
#include "BrindKit/clipboard/ClipClassifier.hpp"
#include "BrindKit/clipboard/ClipIndex.hpp"
#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/DecimalCommaLocale.hpp"
#include "tests/support/TemporaryFolder.hpp"

#include <chrono>
#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace brind;
namespace fs = std::filesystem;

namespace {

using brindtest::TemporaryFolder;

ClipItem textItem(const std::string& text, double when) {
    ClipItem item;
    item.id = UUID::random();
    item.text = text;
    item.created = Date{when};
    item.lastUsed = Date{when + 0.125};
    item.contentHash = ClipClassifier::hash("text", text);
    item.byteSize = static_cast<std::int64_t>(text.size());
    return item;
}

ClipItem imageItem(const ClipArchive& archive, const std::string& bytes) {
    ClipItem item;
    item.id = UUID::random();
    item.kind = ClipKind::image;
    item.imageWidth = 2;
    item.imageHeight = 1;
    item.imageFile = archive.writeSideFile(bytes, item.id, "png").value();
    item.contentHash = ClipClassifier::hash("image", bytes);
    item.byteSize = static_cast<std::int64_t>(bytes.size());
    return item;
}

fs::perms modeOf(const fs::path& path) {
    return fs::status(path).permissions() & fs::perms::mask;
}

void writeRaw(const fs::path& path, const std::string& contents) {
    ASSERT_TRUE(AtomicFile::write(path, contents));
}

} // namespace

// The index writer is separate from ClipItem::toJSON for speed; both must write the same records,
// and what is saved must load back as it was.
TEST(ClipArchive, SaveThenLoadGivesTheSameHistory) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path() / "Clipboard"};
    ClipItem tricky =
        textItem(std::string("quote \" backslash \\ tab \t nul \0 bell \x07 \u2028 \U0001F600", 48), 0.1);
    tricky.kind = ClipKind::image;
    tricky.sourceAppName = "bad \xC3 UTF-8 \xFF";
    tricky.fileURLs = {"file:///a%20b", "file:///\"x\""};
    tricky.colour = RGBA{0.2, 0.4, 0.6, 0.5};
    tricky.imageWidth = -1;
    tricky.imageHeight = 0;
    tricky.rtfFile = archive.writeSideFile("{\\rtf1 x}", tricky.id, "rtf").value();
    tricky.imageFile = archive.writeSideFile("GIF89a", tricky.id, "gif").value();
    tricky.sourceBundleID = "org.example";
    tricky.useCount = INT64_MAX;
    tricky.created = Date{-1.5e-300};
    tricky.lastUsed = Date{1e300};
    tricky.pinned = true;
    ClipItem broken = textItem("not a number", 1);
    broken.created = Date{std::nan("")};
    ClipItem controls = textItem(std::string(20000, 'x') + "\x01\x1F\"", 2);
    controls.useCount = INT64_MIN;
    const ClipHistory history(
        {tricky, textItem("plain \u00E9 \"quoted\"\n", 1700000000.5), textItem("", 2), controls, broken});
    ASSERT_TRUE(archive.save(history));

    const auto index = JSONText::parse(AtomicFile::read(archive.folder / "index.json").value());
    ASSERT_TRUE(index) << index.error();
    ASSERT_EQ((*index)["items"].size(), 5u);
    for (std::size_t position = 0; position < 4; ++position)
        EXPECT_EQ((*index)["items"][position],
                  JSONText::parse(JSONText::compact(history.items()[position].toJSON())).value())
            << position;
    // A record with an unwritable date is dropped on load; its neighbours are kept, the text repaired
    // to UTF-8 and the colour as precise as its hex form.
    std::vector<ClipItem> expected(history.items().begin(), history.items().end() - 1);
    expected[0].sourceAppName = "bad \uFFFD UTF-8 \uFFFD";
    expected[0].colour = RGBA::fromHex(tricky.colour->hex());
    EXPECT_EQ(archive.load(), ClipHistory(expected));
}

TEST(ClipArchive, FilesArePrivate) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path() / "deep" / "er" / "Clipboard"};
    ASSERT_TRUE(archive.save(ClipHistory()));
    EXPECT_EQ(modeOf(archive.folder), fs::perms::owner_all);
    EXPECT_EQ(modeOf(archive.folder / "index.json"), fs::perms::owner_read | fs::perms::owner_write);
    const auto name = archive.writeSideFile("bytes", UUID::random(), "jpg");
    ASSERT_TRUE(name);
    EXPECT_EQ(modeOf(archive.url(*name)), fs::perms::owner_read | fs::perms::owner_write);

    // A folder that exists with looser permissions is narrowed.
    fs::permissions(archive.folder, fs::perms::owner_all | fs::perms::group_read | fs::perms::others_exec);
    ASSERT_TRUE(archive.ensureFolder());
    EXPECT_EQ(modeOf(archive.folder), fs::perms::owner_all);
}

// Which texts are damaged is the index reader's business; here only that the archive gives an
// empty history for them and leaves the file alone.
TEST(ClipArchive, MissingOrDamagedIndexLoadsEmpty) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path()};
    EXPECT_TRUE(archive.load().items().empty());
    for (const std::string text : {"{\"version\": 1, \"items\": [", "{\"version\": 2, \"items\": []}"}) {
        writeRaw(archive.folder / "index.json", text);
        EXPECT_TRUE(archive.load().items().empty()) << text;
        // The damaged file stays until a save replaces it.
        EXPECT_EQ(AtomicFile::read(archive.folder / "index.json").value(), text);
    }
}

TEST(ClipArchive, LoadDropsItemsItCannotUse) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path()};
    const ClipItem kept = textItem("kept", 1);
    const ClipItem image = imageItem(archive, "IMG");
    ClipItem outside = textItem("outside", 2);
    outside.rtfFile = "../escape.rtf";
    writeRaw(temporary.path() / ".." / "escape.rtf", "x");
    ASSERT_TRUE(archive.save(ClipHistory({kept, image, outside})));
    fs::remove(temporary.path() / ".." / "escape.rtf");

    fs::remove(archive.url(*image.imageFile));

    const ClipHistory loaded = archive.load();
    ASSERT_EQ(loaded.items().size(), 1u);
    EXPECT_EQ(loaded.items().front(), kept);
}

TEST(ClipArchive, RemoveOrphansTouchesOnlyUnreferencedSideFiles) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path()};
    const ClipItem referenced = imageItem(archive, "referenced");
    const std::string orphan = archive.writeSideFile("orphan", UUID::random(), "png").value();
    const std::string orphanRTF = archive.writeSideFile("orphan", UUID::random(), "rtf").value();
    const std::string uuid = UUID::random().string();
    const std::string untouched[] = {"notes.txt",   uuid + ".png.bak", uuid + ".exe",
                                     uuid + ".PNG", "a.b.png",         "index.json.tmp-0011aa"};
    for (const std::string& name : untouched)
        writeRaw(archive.url(name), "keep me");
    const ClipHistory history({referenced});
    ASSERT_TRUE(archive.save(history));
    fs::create_directory(archive.url(UUID::random().string() + ".gif"));

    EXPECT_EQ(archive.removeOrphans(history), 2u);
    EXPECT_FALSE(fs::exists(archive.url(orphan)));
    EXPECT_FALSE(fs::exists(archive.url(orphanRTF)));
    EXPECT_TRUE(fs::exists(archive.url(*referenced.imageFile)));
    EXPECT_TRUE(fs::exists(archive.url("index.json")));
    for (const std::string& name : untouched)
        EXPECT_TRUE(fs::exists(archive.url(name))) << name;
    EXPECT_EQ(archive.removeOrphans(history), 0u);
}

TEST(ClipArchive, SideFilesAreWrittenReadAndDeletedByName) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path() / "Clipboard"};
    const UUID id = UUID::random();
    EXPECT_EQ(archive.totalBytes(), 0u);
    const auto name = archive.writeSideFile(std::string("\0\x01\xff", 3), id, "heic");
    ASSERT_TRUE(name);
    EXPECT_EQ(*name, id.string() + ".heic");
    EXPECT_EQ(archive.readSideFile(*name), std::string("\0\x01\xff", 3));
    ASSERT_TRUE(archive.writeSideFile(std::string(1021, 'x'), UUID::random(), "png"));
    EXPECT_EQ(archive.totalBytes(), 1024u);
    EXPECT_FALSE(archive.readSideFile(UUID::random().string() + ".png"));
    EXPECT_FALSE(archive.writeSideFile("x", id, "../png"));
    EXPECT_FALSE(archive.writeSideFile("x", id, "exe"));

    writeRaw(temporary.path() / "outside.png", "precious");
    EXPECT_FALSE(archive.readSideFile("../outside.png"));
    ClipItem item;
    item.rtfFile = "../outside.png";
    item.imageFile = *name;
    archive.deleteSideFiles(std::vector<ClipItem>{item, item});
    EXPECT_FALSE(fs::exists(archive.url(*name)));
    EXPECT_TRUE(fs::exists(temporary.path() / "outside.png"));
}

TEST(ClipArchive, NamesAndExtensions) {
    const std::string uuid = "E621E1F8-C36C-495A-93FC-0C247A3E6E5F";
    for (const char* extension : {"png", "tiff", "jpg", "heic", "gif", "rtf"})
        EXPECT_TRUE(ClipArchive::isSafeName(uuid + "." + extension)) << extension;
    for (const std::string& name :
         {uuid, uuid + ".", uuid + ".jpeg", uuid + ".png.png", "x." + uuid + ".png", std::string("notes.png"),
          "../" + uuid + ".png", uuid + ".PNG", std::string()})
        EXPECT_FALSE(ClipArchive::isSafeName(name)) << name;

    const struct {
        std::optional<std::string_view> type;
        std::string_view extension;
    } cases[] = {
        {"public.png", "png"},         {"Apple PNG pasteboard type", "png"},
        {"public.jpeg", "jpg"},        {"public.heic", "heic"},
        {"com.compuserve.gif", "gif"}, {"public.tiff", "tiff"},
        {"image/webp", "tiff"},        {std::nullopt, "tiff"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(ClipArchive::imageExtension(test.type), test.extension) << test.type.value_or("<none>");
}

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

// A process killed at any moment while saving leaves an index that reads as the old history or
// the new one, never a torn file.
TEST(ClipArchive, IndexSurvivesBeingKilledMidSave) {
    TemporaryFolder temporary;
    const ClipArchive archive{temporary.path() / "Clipboard"};
    std::vector<ClipItem> small;
    std::vector<ClipItem> large;
    for (int index = 0; index < 20; ++index)
        small.push_back(textItem("small " + std::to_string(index), index));
    for (int index = 0; index < 400; ++index)
        large.push_back(textItem(std::string(600, 'a' + index % 26) + std::to_string(index), index));
    const ClipHistory histories[] = {ClipHistory(small), ClipHistory(large)};
    // Kill moments spread over a cycle of two saves, however fast this disk syncs.
    const auto started = std::chrono::steady_clock::now();
    ASSERT_TRUE(archive.save(histories[1]));
    ASSERT_TRUE(archive.save(histories[0]));
    const auto cycle =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - started);

    std::mt19937 random(12345);
    // A forked child on a busy machine can save much more slowly than the measured cycle; when the
    // kills keep finding the same index, they are all landing too early, so the window widens.
    long window = cycle.count() + 200;
    int sameInARow = 0;
    std::optional<bool> lastWasSmall;
    constexpr int kills = 200;
    int sawSmall = 0;
    int sawLarge = 0;
    for (int round = 0; round < kills; ++round) {
        std::uniform_int_distribution<long> delay(0, window);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (unsigned long iteration = 0;; ++iteration)
                (void)archive.save(histories[iteration % 2]);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));

        const auto text = AtomicFile::read(archive.folder / "index.json");
        ASSERT_TRUE(text) << "round " << round;
        ASSERT_TRUE(JSONText::parse(*text)) << "round " << round;
        const ClipHistory loaded = archive.load();
        const bool small = loaded == histories[0];
        if (!small && loaded != histories[1])
            FAIL() << "round " << round << ": the index holds neither history";
        ++(small ? sawSmall : sawLarge);
        sameInARow = lastWasSmall == small ? sameInARow + 1 : 0;
        lastWasSmall = small;
        if (sameInARow == 20) {
            window *= 2;
            sameInARow = 0;
        }
    }
    // Both histories were seen, so kills landed before, during and after complete saves.
    EXPECT_GT(sawSmall, 0);
    EXPECT_GT(sawLarge, 0);
    // Temporary files of interrupted saves never carry a side-file name.
    for (const auto& entry : fs::directory_iterator(archive.folder))
        EXPECT_FALSE(ClipArchive::isSafeName(entry.path().filename().string()));
}
