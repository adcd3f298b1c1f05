// How the faces find and draw their icons: the desktop's icon theme, application icons through
// desktop files, and symbol names drawn from the theme or by hand.

#include "tests/faces/FaceScenes.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/island/faces/AppIcons.hpp"
#include "vantaquill/island/faces/FaceLayout.hpp"
#include "vantaquill/island/faces/IconTheme.hpp"
#include "vantaquill/island/faces/SymbolIcons.hpp"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <gtest/gtest.h>

using namespace vq;

namespace {

class ScopedVariable {
  public:
    ScopedVariable(const char* name, const QByteArray& value) : name_(name), previous_(qgetenv(name)) {
        qputenv(name, value);
    }
    ~ScopedVariable() { qputenv(name_, previous_); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    const char* name_;
    QByteArray previous_;
};

void write(const QString& path, const QByteArray& contents = {}) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

} // namespace

TEST(IconTheme, PrefersQtsThemeThenTheGTKSettingThenACommonInstalledTheme) {
    const brindtest::TemporaryFolder folder("faces-icon-theme");
    const QString root = QString::fromStdString(folder.path().string());
    write(root + QStringLiteral("/share/icons/breeze/index.theme"));
    write(root + QStringLiteral("/home/.local/share/icons/Mine/index.theme"));
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

    write(root + QStringLiteral("/home/.config/gtk-3.0/settings.ini"),
          "[Settings]\ngtk-theme-name=Adwaita-dark\ngtk-icon-theme-name = \"Mine\"\n");
    EXPECT_EQ(IconTheme::choose({}, {}, environment).name, QStringLiteral("Mine"));

    // A setting that names a theme not installed falls back rather than showing no icons at all.
    write(root + QStringLiteral("/home/.config/gtk-3.0/settings.ini"),
          "[Settings]\ngtk-icon-theme-name=Gone\n");
    EXPECT_EQ(IconTheme::choose({}, {}, environment).name, QStringLiteral("breeze"));
}

TEST(AppIcons, FindsTheIconOfAnApplicationThroughItsDesktopFile) {
    const brindtest::TemporaryFolder folder("faces-apps");
    const QString root = QString::fromStdString(folder.path().string());
    QImage red(32, 32, QImage::Format_RGB32);
    red.fill(QColor(220, 30, 30));
    ASSERT_TRUE(red.save(root + QStringLiteral("/red.png")));
    // The user's folder comes first; the system folder's entry for the same id is not used. An Icon=
    // in an action group is not the application's icon.
    write(root + QStringLiteral("/home/applications/org.example.Painter.desktop"),
          "[Desktop Entry]\nName=Painter\nIcon=" + root.toUtf8() +
              "/red.png\n\n[Desktop Action new]\nIcon=none\n");
    write(root + QStringLiteral("/system/applications/org.example.Painter.desktop"),
          "[Desktop Entry]\nIcon=/nowhere/blue.png\n");
    // Reverse-domain ids are often installed under their last component.
    write(root + QStringLiteral("/system/applications/sketcher.desktop"),
          "[Desktop Action x]\nIcon=/nowhere.png\n[Desktop Entry]\nIcon=" + root.toUtf8() + "/red.png\n");
    const ScopedVariable home("XDG_DATA_HOME", (root + QStringLiteral("/home")).toUtf8());
    const ScopedVariable dirs("XDG_DATA_DIRS", (root + QStringLiteral("/system")).toUtf8());

    EXPECT_EQ(AppIcons::applicationFolders(), QStringList({root + QStringLiteral("/home/applications"),
                                                           root + QStringLiteral("/system/applications")}));
    for (const char* id : {"org.example.Painter", "com.example.Sketcher"}) {
        const QIcon icon = AppIcons::find(id);
        ASSERT_FALSE(icon.isNull()) << id;
        EXPECT_EQ(icon.pixmap(16, 16).toImage().pixelColor(8, 8), QColor(220, 30, 30)) << id;
    }
    EXPECT_TRUE(AppIcons::find("org.example.Missing").isNull());
    EXPECT_TRUE(AppIcons::iconKey(root + QStringLiteral("/absent.desktop")).isEmpty());

    // In a wing: the icon's own colours, not a tint.
    IslandScene scene;
    scene.top = facetest::activity(brind::ActivityGlyph::appIcon("org.example.Painter"),
                                   brind::ActivityGlyph::none());
    scene = facetest::settledScene(brind::IslandState::compact, facetest::housingInput(), scene);
    const QRectF wing = FaceLayout::wings(scene).leading;
    EXPECT_EQ(facetest::render(scene).pixelColor(wing.center().toPoint()), QColor(220, 30, 30));
}

// The table itself is data; what is checked is how a name finds its entry.
TEST(SymbolIcons, MapsSymbolNamesToFreedesktopIcons) {
    const std::pair<const char*, const char*> cases[] = {
        // ".fill" only says the symbol is solid.
        {"speaker.slash.fill", "audio-volume-muted"},
        {"wifi.slash", "network-wireless-offline"},
        // A family's longer name finds its nearest entry, not the family's.
        {"cloud.moon.rain.fill", "weather-showers-scattered"},
        {"cloud.sun.fill", "weather-few-clouds"},
        {"cloud.fill", "weather-overcast"},
    };
    for (const auto& [symbol, icon] : cases) {
        const QStringList names = SymbolIcons::themeNames(symbol);
        ASSERT_FALSE(names.isEmpty()) << symbol;
        EXPECT_EQ(names.front().toStdString(), icon) << symbol;
    }
    EXPECT_TRUE(SymbolIcons::themeNames("figure.walk").isEmpty());
    EXPECT_TRUE(SymbolIcons::themeNames("").isEmpty());
}

TEST(SymbolIcons, RecoloursThemeIconsAndDrawsTheRest) {
    // A theme whose one icon is drawn dark, as themes draw symbolic icons for light backgrounds.
    const QString root = QStringLiteral(BRIND_TEST_DATA "/faces/icons");
    const QString previousName = QIcon::themeName();
    const QStringList previousPaths = QIcon::themeSearchPaths();
    QIcon::setThemeSearchPaths({root});
    QIcon::setThemeName(QStringLiteral("FacesTest"));
    QImage image(48, 24, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QColor tint(250, 20, 240);
    SymbolIcons::paint(painter, "speaker.wave.2.fill", QRectF(0, 0, 24, 24), tint);
    SymbolIcons::paint(painter, "speaker.wave.3.fill", QRectF(24, 0, 24, 24), tint); // not in the theme
    painter.end();
    QIcon::setThemeName(previousName);
    QIcon::setThemeSearchPaths(previousPaths);

    EXPECT_EQ(image.pixelColor(6, 6), tint);
    EXPECT_EQ(qAlpha(image.pixel(1, 1)), 0);
    // The drawn speaker: its body is solid in the tint, left of the centre.
    EXPECT_EQ(image.pixelColor(24 + 8, 12), tint);
}

TEST(SymbolIcons, DrawsEverySymbolTheIslandUsesWithoutATheme) {
    for (const char* symbol :
         {"speaker.slash.fill", "speaker.wave.1.fill", "speaker.wave.3.fill", "sun.min.fill", "sun.max.fill",
          "light.min", "light.max", "info.circle.fill", "wifi", "wifi.slash", "questionmark.circle",
          "figure.walk", "brain.head.profile", ""}) {
        QImage image(48, 48, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        SymbolIcons::paintDrawn(painter, symbol, QRectF(4, 4, 40, 40), Qt::white);
        painter.end();
        int painted = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                painted += qAlpha(image.pixel(x, y)) > 128 ? 1 : 0;
                EXPECT_TRUE(qAlpha(image.pixel(x, y)) == 0 || QRect(3, 3, 42, 42).contains(x, y)) << symbol;
            }
        }
        EXPECT_GT(painted, 60) << symbol;
    }
}

TEST(SymbolIcons, RasterisesAtTheDevicePixelSize) {
    // A surface may set a pixel ratio on its buffer or scale the painter; icons are sharp either way.
    QImage scaledPainter(8, 8, QImage::Format_ARGB32_Premultiplied);
    QPainter first(&scaledPainter);
    first.scale(2, 2);
    EXPECT_EQ(SymbolIcons::devicePixels(first, 22), 44);
    QImage ratio(8, 8, QImage::Format_ARGB32_Premultiplied);
    ratio.setDevicePixelRatio(2);
    QPainter second(&ratio);
    EXPECT_EQ(SymbolIcons::devicePixels(second, 22), 44);
    second.scale(1.5, 1.5);
    EXPECT_EQ(SymbolIcons::devicePixels(second, 22), 66);
}
