#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/settings/Eventually.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/qt/Preferences.hpp"
#include "vantaquill/settings/AutostartEntry.hpp"
#include "vantaquill/settings/PreferenceCatalog.hpp"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace vq {
namespace {

struct PreferencesFile : ::testing::Test {
    std::filesystem::path file() const { return folder.path() / "vantaquill.conf"; }

    void write(const std::string& lines) const {
        ASSERT_TRUE(brind::AtomicFile::write(file(), "[General]\n" + lines));
    }

    std::unique_ptr<Preferences> open() {
        return std::make_unique<Preferences>(file(),
                                             [this](const std::string& line) { logged.push_back(line); });
    }

    brindtest::TemporaryFolder folder{"vantaquill-preferences"};
    std::vector<std::string> logged;
};

// Good values are read, numbers kept in their range; a value of the wrong type reads as its default,
// with one log line however often it is read.
TEST_F(PreferencesFile, ValuesAreReadInRangeAndWrongOnesAsTheirDefaultWithOneLogLine) {
    struct WrongValue {
        std::string key;
        std::string raw;
        QVariant expected;
    };
    const std::vector<WrongValue> wrong{
        {"island.notchWidthOffset", "soon", 0.0},      {"island.clickToOpen", "maybe", true},
        {"widgets.pomodoro.auto", "sometimes", false}, {"island.size", "huge", "medium"},
        {"clipboard.maxItems", "lots", 300LL},         {"agents.approvalTimeout", "1,5", 60.0},
    };
    std::string lines = "island.hoverDelay=0.001\nisland.cornerRadius=30\nisland.hoverToOpen=false\n"
                        "island.displayModes=all\nshelf.shakeSensitivity=7\nisland.housing= 200x32 \n";
    for (const auto& each : wrong)
        lines += each.key + "=" + each.raw + "\n";
    write(lines);
    const auto preferences = open();
    for (const auto& each : wrong) {
        EXPECT_EQ(preferences->value(each.key), each.expected) << each.key;
        EXPECT_EQ(preferences->value(each.key), each.expected) << each.key << ", read again";
    }
    const auto island = preferences->island();
    EXPECT_DOUBLE_EQ(island.hoverDelay, Preferences::minimumHoverDelay);
    EXPECT_DOUBLE_EQ(island.cornerRadius, 30);
    EXPECT_FALSE(island.hoverToOpen);
    EXPECT_EQ(island.displayModes, "all");
    EXPECT_EQ(island.housing, "200x32");
    EXPECT_EQ(preferences->value("shelf.shakeSensitivity"), 2LL);
    ASSERT_EQ(logged.size(), wrong.size()) << "one line per wrong value, however often it is read";
    for (std::size_t index = 0; index < wrong.size(); ++index)
        EXPECT_NE(logged[index].find(wrong[index].key), std::string::npos) << logged[index];
    EXPECT_NE(logged[0].find("\"soon\" is not a number; using the default 0"), std::string::npos)
        << logged[0];
}

TEST_F(PreferencesFile, EveryKeyReadsItsDefaultFromAnEmptyFile) {
    const auto preferences = open();
    for (const auto& entry : PreferenceCatalog::all()) {
        const QVariant value = preferences->value(entry.key);
        ASSERT_TRUE(value.isValid()) << entry.key;
        EXPECT_EQ(value.toString().toStdString(), std::string(entry.fallback)) << entry.key;
    }
    EXPECT_FALSE(preferences->value("island.noSuchKey").isValid());
}

// The store's folder is made when it is missing, so that a file written there later by hand is followed.
TEST_F(PreferencesFile, ChangesReachTheListenersFromSetAndFromEditsByHandInAFolderMadeForThem) {
    const auto file = folder.path() / "config" / "vantaquill" / "vantaquill.conf";
    Preferences preferences(file, [this](const std::string& line) { logged.push_back(line); });
    int changes = 0;
    preferences.onChange([&] { ++changes; });
    ASSERT_TRUE(brind::AtomicFile::write(file, "[General]\nisland.clickToOpen=false\n"));
    ASSERT_TRUE(eventually([&] { return changes == 1; }))
        << "a file written by hand into a new folder was not noticed";
    EXPECT_FALSE(preferences.island().clickToOpen);

    preferences.set("island.hoverDelay", 1.5);
    EXPECT_EQ(changes, 2);
    const auto text = brind::AtomicFile::read(file);
    ASSERT_TRUE(text);
    EXPECT_NE(text->find("island.hoverDelay=1.5"), std::string::npos) << *text;
    // The store's own write comes back through the file watch; it is not a second change.
    QCoreApplication::processEvents(QEventLoop::AllEvents, 200);
    EXPECT_EQ(changes, 2);

    // The same length as the store's own write a moment ago: only the content tells them apart.
    std::string edited = *text;
    edited.replace(edited.find("=1.5"), 4, "=2.5");
    ASSERT_TRUE(brind::AtomicFile::write(file, edited));
    ASSERT_TRUE(eventually([&] { return changes == 3; })) << "an edit by hand was not noticed";
    EXPECT_DOUBLE_EQ(preferences.island().hoverDelay, 2.5);

    ASSERT_TRUE(brind::AtomicFile::write(file, "[General]\nisland.hoverDelay=2.5\n"));
    ASSERT_TRUE(eventually([&] { return changes == 4; })) << "a second edit by hand was not noticed";
    EXPECT_TRUE(preferences.island().clickToOpen) << "the key removed by hand reads its default again";
    EXPECT_TRUE(logged.empty());
}

TEST(AutostartEntry, LaunchAtLoginWritesAndRemovesTheEntry) {
    brindtest::TemporaryFolder folder{"vantaquill-autostart"};
    const auto file = folder.path() / "autostart/vantaquill.desktop";
    const AutostartEntry entry(file, "/opt/vq/bin/vantaquill-island");
    EXPECT_FALSE(entry.enabled());

    ASSERT_TRUE(entry.setEnabled(true));
    EXPECT_TRUE(entry.enabled());
    const auto text = brind::AtomicFile::read(file);
    ASSERT_TRUE(text);
    EXPECT_NE(text->find("\nExec=/opt/vq/bin/vantaquill-island\n"), std::string::npos) << *text;

    ASSERT_TRUE(entry.setEnabled(false));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_FALSE(entry.enabled());

    // A desktop's own switch for an entry it keeps.
    ASSERT_TRUE(brind::AtomicFile::write(file, entry.contents() + "Hidden=true\n"));
    EXPECT_FALSE(entry.enabled());
}

} // namespace
} // namespace vq
