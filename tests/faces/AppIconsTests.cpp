#include "vantaquill/island/faces/AppIcons.hpp"

#include "tests/faces/FaceScenes.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/island/faces/FaceLayout.hpp"

#include <QDir>
#include <QFile>

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

void write(const QString& path, const QByteArray& contents) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

} // namespace

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
    brind::LiveActivity top;
    top.id = "app";
    top.leading = brind::ActivityGlyph::appIcon("org.example.Painter");
    scene.top = top;
    scene = facetest::settledScene(brind::IslandState::compact, facetest::housingInput(), scene);
    const QImage image = facetest::render(scene, 1, "compact-app");
    const QRectF wing = FaceLayout::wings(scene).leading;
    EXPECT_EQ(image.pixelColor(wing.center().toPoint()), QColor(220, 30, 30));
}
