#include "vantaquill/island/faces/IconTheme.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using vq::IconTheme;

namespace {

void touch(const QString& path, const QByteArray& contents = {}) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

} // namespace

TEST(IconTheme, PrefersQtsThemeThenTheGTKSettingThenACommonInstalledTheme) {
    const brindtest::TemporaryFolder folder("faces-icon-theme");
    const QString root = QString::fromStdString(folder.path().string());
    touch(root + QStringLiteral("/share/icons/breeze/index.theme"));
    touch(root + QStringLiteral("/home/.local/share/icons/Mine/index.theme"));
    QProcessEnvironment environment;
    environment.insert(QStringLiteral("HOME"), root + QStringLiteral("/home"));
    environment.insert(QStringLiteral("XDG_DATA_DIRS"), root + QStringLiteral("/share"));

    // Qt's platform theme knows the user's choice: it stands.
    EXPECT_EQ(IconTheme::choose(QStringLiteral("Papirus"), {QStringLiteral("/a")}, environment),
              (IconTheme::Choice{QStringLiteral("Papirus"), {QStringLiteral("/a")}}));

    const IconTheme::Choice common = IconTheme::choose({}, {}, environment);
    EXPECT_EQ(common.name, QStringLiteral("breeze"));
    // Without a desktop Qt says "hicolor", which has no symbols: the same search runs.
    EXPECT_EQ(IconTheme::choose(QStringLiteral("hicolor"), {}, environment).name, QStringLiteral("breeze"));
    EXPECT_TRUE(common.searchPaths.contains(root + QStringLiteral("/home/.local/share/icons")));
    EXPECT_TRUE(common.searchPaths.contains(root + QStringLiteral("/home/.icons")));
    EXPECT_TRUE(common.searchPaths.contains(root + QStringLiteral("/share/icons")));

    touch(root + QStringLiteral("/home/.config/gtk-3.0/settings.ini"),
          "[Settings]\ngtk-theme-name=Adwaita-dark\ngtk-icon-theme-name = \"Mine\"\n");
    EXPECT_EQ(IconTheme::choose({}, {}, environment).name, QStringLiteral("Mine"));

    // A setting that names a theme not installed falls back rather than showing no icons at all.
    touch(root + QStringLiteral("/home/.config/gtk-3.0/settings.ini"),
          "[Settings]\ngtk-icon-theme-name=Gone\n");
    EXPECT_EQ(IconTheme::choose({}, {}, environment).name, QStringLiteral("breeze"));
}
