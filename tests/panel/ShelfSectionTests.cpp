#include "BrindKit/foundation/AtomicFile.hpp"
#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/Scheduler.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/panel/ElidedLabel.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/shelf/ShelfEntryRow.hpp"
#include "vantaquill/panel/shelf/ShelfSection.hpp"

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QAction>
#include <QMenu>
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

    // A file the shelf made itself, in its own folder.
    std::string ownedFile(const std::string& name) {
        fs::create_directories(data);
        std::ofstream(data / name) << name;
        return (data / name).string();
    }

    // Writes the library the store will read: one file entry per path, in this order.
    void shelve(const std::vector<std::tuple<std::string, bool, bool>>& files) { // path, owned, pinned
        brind::ShelfLibrary library;
        for (const auto& [path, owned, pinned] : files)
            library.entries.push_back({.id = brind::UUID::random(),
                                       .path = path,
                                       .title = fs::path(path).filename(),
                                       .owned = owned,
                                       .pinned = pinned});
        fs::create_directories(data);
        ASSERT_TRUE(brind::AtomicFile::write(data / ShelfStore::fileName, library.encoded()));
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

// "Clear shelf" takes off every unpinned entry, deleting only the files the shelf made in its folder,
// says what went and saves; with only pinned entries left it has nothing to do.
TEST_F(ShelfSectionTests, ClearShelfKeepsPinnedEntriesAndDeletesOnlyFilesTheShelfMade) {
    const std::string converted = ownedFile("converted.png");
    const std::string keptCopy = ownedFile("kept.png");
    const std::string notes = file("notes.txt");
    const std::string elsewhere = file("precious.txt");
    const std::string pinnedNotes = file("pinned.txt");
    shelve({{converted, true, false},
            {keptCopy, true, true},
            {notes, false, false},
            {elsewhere, true, false},
            {pinnedNotes, false, true}});
    store = std::make_unique<ShelfStore>(data);
    std::vector<std::string> cleared;
    store->onCleared = [&](const std::vector<brind::ShelfEntry>& entries) {
        for (const auto& entry : entries)
            cleared.push_back(entry.title);
    };
    show();
    ASSERT_TRUE(section->clearButton()->isVisible());
    EXPECT_EQ(section->clearButton()->text(), "Clear shelf (keeps pinned)");
    ASSERT_TRUE(section->clearButton()->isEnabled());
    // The keyboard reaches the cards' buttons before Clear: Enter presses the button it is on.
    QApplication::setActiveWindow(section.get());
    section->setFocus();
    for (int tab = 0; tab < 5 && !qobject_cast<QPushButton*>(QApplication::focusWidget()); ++tab)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), section->rows().front()->openButton());

    // The cards' menus pin the notes, which then stay, and unpin pinned.txt, which then goes.
    const auto choose = [&](std::size_t index, const QString& text) {
        ShelfEntryRow* row = section->rows().at(index);
        QTest::mouseClick(row, Qt::RightButton, {}, QPoint(60, 10));
        ASSERT_NE(row->contextMenu(), nullptr);
        const auto actions = row->contextMenu()->actions();
        const auto found = std::ranges::find(actions, text, &QAction::text);
        ASSERT_NE(found, actions.end()) << text.toStdString();
        (*found)->trigger();
    };
    choose(2, "Pin");
    choose(4, "Unpin");
    ASSERT_TRUE(section->rows().at(2)->entry().pinned);
    EXPECT_EQ(ShelfStore(data).library().entries, store->library().entries) << "the pins are saved";

    QTest::mouseClick(section->clearButton(), Qt::LeftButton);
    EXPECT_EQ(names(), (std::vector<std::string>{"kept.png", "notes.txt"}));
    EXPECT_EQ(cleared, (std::vector<std::string>{"converted.png", "precious.txt", "pinned.txt"}));
    EXPECT_EQ(ShelfStore(data).library().entries, store->library().entries) << "the clearing is saved";
    EXPECT_FALSE(fs::exists(converted));
    for (const auto& path : {keptCopy, notes, elsewhere, pinnedNotes})
        EXPECT_TRUE(fs::exists(path)) << path;
    EXPECT_FALSE(section->clearButton()->isEnabled()) << "only pinned entries are left";
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
    EXPECT_EQ(section->focusWidget(), section->rows().front()) << "the first card is selected";
    EXPECT_FALSE(section->emptyHint()->isVisible());
    EXPECT_EQ(section->badge(), "1") << "the section's button counts the entries";
}

// Shown with cards, the newest is selected, so its keys work at once. The arrows move the selection
// and stop at the ends; it stays on its entry as the shelf changes and goes to the card that takes
// its place when its entry leaves (the one above after the last). Keys act on the selected card.
TEST_F(ShelfSectionTests, TheKeyboardIsOnACardFromTheStart) {
    const std::string first = file("a.txt");
    shelve({{first, false, false}, {file("b.txt"), false, false}, {file("c.txt"), false, false}});
    show();
    QApplication::setActiveWindow(section.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(section.get()));
    const auto selected = [this]() -> std::string {
        for (const ShelfEntryRow* row : section->rows())
            if (row->hasFocus())
                return row->entry().title;
        return "no card";
    };
    const auto press = [](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    };
    const auto entry = [this](const std::string& title) {
        return *std::ranges::find(store->library().entries, title, &brind::ShelfEntry::title);
    };

    ASSERT_EQ(selected(), "a.txt");
    press(Qt::Key_F2);
    EXPECT_TRUE(section->rows().front()->renameField()->isVisible());
    press(Qt::Key_Escape);
    EXPECT_EQ(selected(), "a.txt");
    for (int down = 0; down < 3; ++down)
        press(Qt::Key_Down);
    EXPECT_EQ(selected(), "c.txt");
    press(Qt::Key_Up);
    EXPECT_EQ(selected(), "b.txt");

    store->addFiles({file("d.txt")}, scheduler.now());
    ASSERT_EQ(names(), (std::vector<std::string>{"d.txt", "a.txt", "b.txt", "c.txt"}));
    EXPECT_EQ(selected(), "b.txt") << "a new entry took the selection";
    press(Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(entry("b.txt").pinned);
    EXPECT_EQ(selected(), "b.txt");

    press(Qt::Key_Delete);
    EXPECT_EQ(names(), (std::vector<std::string>{"d.txt", "a.txt", "c.txt"}));
    EXPECT_EQ(selected(), "c.txt");
    press(Qt::Key_Backspace);
    EXPECT_EQ(selected(), "a.txt");
    EXPECT_EQ(closeRequests, 0);
    press(Qt::Key_Return);
    EXPECT_EQ(opened, std::vector<QUrl>{QUrl::fromLocalFile(QString::fromStdString(first))});
    EXPECT_EQ(closeRequests, 1);
}

// F2 or the card's menu turns the name into a field. A file the shelf made is renamed on disk, to a
// name no other file in its folder has; a file of the user's keeps its name on disk and only its
// card changes; a name that is refused, or Escape, leaves the entry as it was.
TEST_F(ShelfSectionTests, RenamingAnEntryThroughItsCard) {
    const std::string draft = ownedFile("draft.png");
    const std::string final = ownedFile("final.png");
    const std::string notes = file("notes.txt");
    shelve({{draft, true, false}, {final, true, false}, {notes, false, false}});
    show();
    QApplication::setActiveWindow(section.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(section.get()));
    const auto row = [this](std::size_t index) { return section->rows().at(index); };
    const auto saved = [this] { return ShelfStore(data).library().entries; };

    // A click selects the card; F2 shows the field, the name without its extension selected.
    QTest::mouseClick(row(0), Qt::LeftButton, {}, QPoint(60, 10));
    QTest::keyClick(row(0), Qt::Key_F2);
    QLineEdit* field = row(0)->renameField();
    ASSERT_TRUE(field->isVisible());
    EXPECT_TRUE(field->hasFocus());
    EXPECT_EQ(field->selectedText(), "draft");
    QTest::keyClicks(field, "final");
    QTest::keyClick(field, Qt::Key_Return);
    ASSERT_EQ(names(), (std::vector<std::string>{"final (2).png", "final.png", "notes.txt"}));
    EXPECT_EQ(store->library().entries[0].path, (data / "final (2).png").string());
    EXPECT_FALSE(fs::exists(draft));
    EXPECT_TRUE(fs::exists(data / "final (2).png"));
    EXPECT_EQ(brind::AtomicFile::read(final).value_or(""), "final.png") << "the other file is left alone";
    EXPECT_EQ(saved(), store->library().entries);
    EXPECT_TRUE(row(0)->hasFocus()) << "the renamed card stays selected";

    // The menu's Rename; a name that is only blanks and dots is refused.
    const auto before = store->library().entries;
    QTest::mouseClick(row(2), Qt::RightButton, {}, QPoint(60, 10));
    ASSERT_NE(row(2)->contextMenu(), nullptr);
    EXPECT_TRUE(row(2)->contextMenu()->isVisible());
    QAction* rename = nullptr;
    for (QAction* action : row(2)->contextMenu()->actions())
        if (action->text().startsWith("Rename"))
            rename = action;
    ASSERT_NE(rename, nullptr);
    QTest::mouseClick(row(2)->contextMenu(), Qt::LeftButton, {},
                      row(2)->contextMenu()->actionGeometry(rename).center());
    EXPECT_FALSE(row(2)->contextMenu()->isVisible());
    ASSERT_TRUE(row(2)->renameField()->isVisible());
    row(2)->renameField()->setText("  ..  ");
    QTest::keyClick(row(2)->renameField(), Qt::Key_Return);
    EXPECT_FALSE(row(2)->renameField()->isVisible());
    EXPECT_EQ(store->library().entries, before);

    // Escape takes the typing back and leaves the island open.
    QTest::keyClick(row(2), Qt::Key_F2);
    QTest::keyClicks(row(2)->renameField(), "gone");
    QTest::keyClick(row(2)->renameField(), Qt::Key_Escape);
    EXPECT_FALSE(row(2)->renameField()->isVisible());
    EXPECT_EQ(store->library().entries, before);
    EXPECT_EQ(closeRequests, 0);

    // The user's own file: the card takes the name, the file on disk keeps its own.
    QTest::keyClick(row(2), Qt::Key_F2);
    QTest::keyClicks(row(2)->renameField(), "Meeting notes");
    QTest::keyClick(row(2)->renameField(), Qt::Key_Return);
    EXPECT_EQ(names(), (std::vector<std::string>{"final (2).png", "final.png", "Meeting notes.txt"}));
    EXPECT_EQ(store->library().entries[2].path, notes);
    EXPECT_EQ(brind::AtomicFile::read(notes).value_or(""), "notes.txt");
    EXPECT_FALSE(fs::exists(temporary.path() / "Meeting notes.txt"));
    EXPECT_EQ(saved(), store->library().entries);
}

} // namespace
} // namespace vq
