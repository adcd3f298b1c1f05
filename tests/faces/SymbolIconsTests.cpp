#include "vantaquill/island/faces/SymbolIcons.hpp"

#include "tests/support/TemporaryFolder.hpp"

#include <QDir>
#include <QFile>
#include <QIcon>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

using vq::SymbolIcons;

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
    const brindtest::TemporaryFolder folder("faces-theme");
    const QString root = QString::fromStdString(folder.path().string()) + QStringLiteral("/icons");
    ASSERT_TRUE(QDir().mkpath(root + QStringLiteral("/FacesTest/status")));
    QFile index(root + QStringLiteral("/FacesTest/index.theme"));
    ASSERT_TRUE(index.open(QIODevice::WriteOnly));
    index.write("[Icon Theme]\nName=FacesTest\nDirectories=status\n\n"
                "[status]\nSize=24\nType=Scalable\nMinSize=8\nMaxSize=512\n");
    index.close();
    QImage dark(24, 24, QImage::Format_ARGB32);
    dark.fill(Qt::transparent);
    QPainter(&dark).fillRect(QRect(4, 4, 16, 16), QColor(0x2e, 0x34, 0x36));
    ASSERT_TRUE(dark.save(root + QStringLiteral("/FacesTest/status/audio-volume-medium-symbolic.png")));

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
    const char* symbols[] = {"speaker.slash.fill",
                             "speaker.wave.1.fill",
                             "speaker.wave.3.fill",
                             "sun.min.fill",
                             "sun.max.fill",
                             "light.min",
                             "light.max",
                             "info.circle.fill",
                             "wifi",
                             "wifi.slash",
                             "questionmark.circle",
                             "figure.walk",
                             "brain.head.profile",
                             ""};
    for (const char* symbol : symbols) {
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
