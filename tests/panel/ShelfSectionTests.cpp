#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/shelf/ShelfEntryRow.hpp"
#include "vantaquill/panel/shelf/ShelfSection.hpp"

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QMimeData>
#include <QPushButton>
#include <QTest>
#include <fstream>
#include <gtest/gtest.h>

namespace vq {
namespace {

namespace fs = std::filesystem;

class ShelfSectionTests : public ::testing::Test {
  protected:
    brindtest::TemporaryFolder temporary{"vantaquill-shelf-section"};
    fs::path data = temporary.path() / "data";
    ManualScheduler scheduler;
    std::unique_ptr<ShelfStore> store;
    std::unique_ptr<ShelfSection> section;
    std::vector<QUrl> opened;
    int closeRequests = 0;

    std::string file(const std::string& name) {
        const fs::path path = temporary.path() / name;
        std::ofstream(path) << name;
        return path.string();
    }

    // The store and the section as the application wires them.
    void show() {
        if (!store)
            store = std::make_unique<ShelfStore>(data);
        section = std::make_unique<ShelfSection>(*store, scheduler);
        section->opener = [this](const QUrl& url) {
            opened.push_back(url);
            return true;
        };
        section->onCloseRequested = [this] { ++closeRequests; };
        store->onChange = [this] { section->refresh(); };
        section->setPalette(PanelStyle::palette());
        section->setStyleSheet(PanelStyle::styleSheet());
        section->resize(640, 300);
        section->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(section.get()));
    }

    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const ShelfEntryRow* row : section->rows())
            result.push_back(row->nameLabel()->text().toStdString());
        return result;
    }
};

// Removing takes the entry off the shelf and out of its file; it deletes only a file the shelf made
// inside its own folder, never one the user put there, nor one an edited file calls "owned" elsewhere.
TEST_F(ShelfSectionTests, RemoveTakesTheEntryOffAndDeletesOnlyFilesTheShelfMade) {
    fs::create_directories(data);
    const std::string converted = (data / "converted.png").string();
    std::ofstream(converted) << "png";
    const std::string elsewhere = file("precious.txt");
    const std::string notes = file("notes.txt");
    brind::ShelfLibrary library;
    for (const auto& path : {converted, elsewhere, notes})
        library.entries.push_back({.id = brind::UUID::random(),
                                   .path = path,
                                   .title = fs::path(path).filename(),
                                   .owned = path != notes});
    ASSERT_TRUE(brind::AtomicFile::write(data / ShelfStore::fileName, library.encoded()));
    show();
    ASSERT_EQ(names(), (std::vector<std::string>{"converted.png", "precious.txt", "notes.txt"}));

    for (int i = 0; i < 2; ++i)
        QTest::mouseClick(section->rows().front()->removeButton(), Qt::LeftButton);
    EXPECT_EQ(names(), (std::vector<std::string>{"notes.txt"}));
    EXPECT_EQ(ShelfStore(data).library().entries, store->library().entries) << "the removal is saved";
    EXPECT_FALSE(fs::exists(converted));
    EXPECT_TRUE(fs::exists(elsewhere));
    QTest::mouseClick(section->rows().front()->removeButton(), Qt::LeftButton);
    EXPECT_TRUE(section->rows().empty());
    EXPECT_TRUE(fs::exists(notes));
    EXPECT_EQ(closeRequests, 0);
}

TEST_F(ShelfSectionTests, OpenHandsFilesAndLinksToTheDesktopAndClosesTheIsland) {
    const std::string report = file("report.pdf");
    brind::ShelfLibrary library;
    library.entries.push_back({.id = brind::UUID::random(),
                               .kind = brind::ShelfEntry::Kind::text,
                               .text = "a snippet",
                               .title = "a snippet"});
    library.entries.push_back({.id = brind::UUID::random(),
                               .kind = brind::ShelfEntry::Kind::link,
                               .text = "example.com/page",
                               .title = "example.com"});
    library.entries.push_back({.id = brind::UUID::random(),
                               .kind = brind::ShelfEntry::Kind::file,
                               .path = report,
                               .title = "report.pdf"});
    fs::create_directories(data);
    ASSERT_TRUE(brind::AtomicFile::write(data / ShelfStore::fileName, library.encoded()));
    show();
    ASSERT_EQ(section->rows().size(), 3u);

    EXPECT_FALSE(section->rows()[0]->openButton()->isVisible()) << "a snippet has nothing to open";
    QTest::mouseClick(section->rows()[1]->openButton(), Qt::LeftButton);
    QTest::mouseClick(section->rows()[2]->openButton(), Qt::LeftButton);
    EXPECT_EQ(opened, (std::vector<QUrl>{QUrl("http://example.com/page"),
                                         QUrl::fromLocalFile(QString::fromStdString(report))}));
    EXPECT_EQ(closeRequests, 2);

    QTest::keyClick(section.get(), Qt::Key_Escape);
    EXPECT_EQ(closeRequests, 3);
}

// A long name ends in an ellipsis inside its row, its extension still shown.
TEST_F(ShelfSectionTests, CopyPutsTheFileOnTheClipboardAsAFileAndAPath) {
    const std::string report = file(std::string(120, 'a') + ".pdf");
    store = std::make_unique<ShelfStore>(data);
    store->addFiles({report}, scheduler.now());
    show();
    const ElidedLabel* name = section->rows().front()->nameLabel();
    EXPECT_LT(name->geometry().right(), section->rows().front()->openButton()->geometry().left());
    EXPECT_TRUE(name->shownText().contains(QChar(0x2026)));
    EXPECT_TRUE(name->shownText().endsWith(".pdf"));

    QTest::mouseClick(section->rows().front()->copyButton(), Qt::LeftButton);
    const QMimeData* copied = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->urls(), QList<QUrl>{QUrl::fromLocalFile(QString::fromStdString(report))});
    EXPECT_EQ(copied->data("x-special/gnome-copied-files").toStdString(),
              "copy\n" + QUrl::fromLocalFile(QString::fromStdString(report)).toString().toStdString());
    EXPECT_EQ(copied->text().toStdString(), report);
}

// An empty shelf says how files get there; files dropped on it join.
TEST_F(ShelfSectionTests, FilesDroppedOnTheSectionJoinTheShelf) {
    show();
    ASSERT_TRUE(section->emptyHint()->isVisible());
    EXPECT_EQ(section->badge(), "");
    EXPECT_TRUE(section->emptyHint()->text().contains("vantaquill shelf add FILE"));
    EXPECT_TRUE(section->emptyHint()->text().contains("Drop files"));

    const std::string dropped = file("dropped.txt");
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(dropped)),
                  QUrl("https://example.com/not-a-file"),
                  QUrl::fromLocalFile(QString::fromStdString((temporary.path() / "missing.txt").string()))});
    const QPointF point = section->rect().center();
    QDragEnterEvent enter(point.toPoint(), Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(section.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(point, Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(section.get(), &drop);

    ASSERT_EQ(store->library().entries.size(), 1u) << "only files that exist join";
    EXPECT_EQ(store->library().entries.front().path, dropped);
    EXPECT_EQ(names(), (std::vector<std::string>{"dropped.txt"}));
    EXPECT_FALSE(section->emptyHint()->isVisible());
    EXPECT_EQ(section->badge(), "1") << "the section's button counts the entries";
}

} // namespace
} // namespace vq
