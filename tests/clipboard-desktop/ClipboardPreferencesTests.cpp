#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/clipboard/ClipboardPreferences.hpp"

#include <QSettings>
#include <fstream>
#include <gtest/gtest.h>

namespace vq {
namespace {

TEST(ClipboardPreferencesTests, ReadsTheClipboardKeysAndKeepsDefaultsForBadValues) {
    brindtest::TemporaryFolder folder{"vantaquill-clipboard-preferences"};
    const auto file = folder.path() / "vantaquill.conf";
    std::ofstream(file) << "[General]\n"
                           "clipboard.enabled=false\n"
                           "clipboard.maxItems=50\n"
                           "clipboard.maxDays=-3\n"
                           "clipboard.maxImageBytes=lots\n"
                           "clipboard.captureImages=false\n"
                           "clipboard.excludedBundleIDs=Firefox, org.gnome.Terminal\n"
                           "clipboard.pasteDirectly=false\n";
    const brind::ClipSettings defaults;
    const brind::ClipSettings read = ClipboardPreferences::read(file);
    EXPECT_FALSE(read.enabled);
    EXPECT_EQ(read.maxItems, 50);
    EXPECT_EQ(read.maxDays, defaults.maxDays);
    EXPECT_EQ(read.maxImageBytes, defaults.maxImageBytes);
    EXPECT_FALSE(read.captureImages);
    EXPECT_TRUE(read.captureFiles);
    EXPECT_EQ(read.excludedBundleIDs, (std::vector<std::string>{"Firefox", "org.gnome.Terminal"}));
    EXPECT_FALSE(read.pasteDirectly);

    std::ofstream(file) << "[General]\nclipboard.excludedBundleIDs=KeePassXC\n";
    EXPECT_EQ(ClipboardPreferences::read(file).excludedBundleIDs, std::vector<std::string>{"KeePassXC"});
    // As the settings window writes what the user typed: one string, quoted when it holds a comma.
    for (const char* typed : {"Firefox  KeePassXC", "Firefox, KeePassXC", " Firefox,KeePassXC "}) {
        QSettings written(QString::fromStdString(file.string()), QSettings::IniFormat);
        written.setValue("clipboard.excludedBundleIDs", QString(typed));
        written.sync();
        EXPECT_EQ(ClipboardPreferences::read(file).excludedBundleIDs,
                  (std::vector<std::string>{"Firefox", "KeePassXC"}))
            << typed;
    }
    EXPECT_EQ(ClipboardPreferences::read(folder.path() / "missing.conf"), defaults);
}

} // namespace
} // namespace vq
