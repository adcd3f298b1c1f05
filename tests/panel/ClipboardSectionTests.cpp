#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/clipboard/ClipFlavourMapping.hpp"
#include "vantaquill/clipboard/ClipboardStore.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/clipboard/ClipListModel.hpp"
#include "vantaquill/panel/clipboard/ClipboardSection.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QTest>
#include <gtest/gtest.h>

namespace vq {
namespace {

brind::ClipSnapshot textCopy(const std::string& text, std::optional<std::string> source = std::nullopt) {
    brind::ClipSnapshot snapshot;
    snapshot.types = snapshot.allTypes = {"public.utf8-plain-text"};
    snapshot.string = text;
    snapshot.sourceBundleID = std::move(source);
    return snapshot;
}

class ClipboardSectionTests : public ::testing::Test {
  protected:
    brindtest::TemporaryFolder temporary{"vantaquill-clipboard-section"};
    ManualScheduler scheduler;
    LiveActivityCenter center{scheduler};
    ClipboardStore store{brind::ClipArchive{temporary.path() / "Clipboard"}, scheduler, {}};
    std::unique_ptr<ClipboardSection> section;
    int closeRequests = 0;

    // The section as the panel shows it, told of every change of the store as the application does.
    void show() {
        section = std::make_unique<ClipboardSection>(store, center);
        section->onCloseRequested = [this] { ++closeRequests; };
        store.onChange = [this] { section->refresh(); };
        section->setPalette(PanelStyle::palette());
        section->setStyleSheet(PanelStyle::styleSheet());
        section->resize(640, 300);
        section->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(section.get()));
    }

    brind::ClipItem copy(const std::string& text, std::optional<std::string> source = std::nullopt) {
        scheduler.advance(1);
        return *store.capture(textCopy(text, std::move(source)));
    }

    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        const auto& model = static_cast<const ClipListModel&>(*section->list()->model());
        for (const ClipRow& row : model.rows())
            result.push_back(row.title.toStdString());
        return result;
    }

    QPoint pointOf(int row, ClipItemDelegate::Part part) const {
        const QRect rect = section->list()->visualRect(section->list()->model()->index(row, 0));
        for (int x = rect.right(); x > rect.left(); --x)
            if (ClipItemDelegate::partAt(rect, {x, rect.center().y()}) == part)
                return {x, rect.center().y()};
        return rect.center();
    }
};

TEST_F(ClipboardSectionTests, TypingFiltersAtOnceAndEnterCopiesTheBestMatchBackMarkedAsOurOwn) {
    const auto older = copy("apple pie");
    copy("banana split");
    const auto juice = copy("apple juice");
    copy("cherry");
    store.setPinned(older.id, true);
    show();
    EXPECT_EQ(titles(), (std::vector<std::string>{"apple pie", "cherry", "apple juice", "banana split"}));

    QTest::keyClicks(section->searchField(), "apple");
    EXPECT_EQ(titles(), (std::vector<std::string>{"apple pie", "apple juice"})) << "pinned matches first";
    QTest::keyClicks(section->searchField(), "zzz");
    EXPECT_TRUE(titles().empty());
    EXPECT_TRUE(section->emptyHint()->isVisible());
    EXPECT_TRUE(section->emptyHint()->text().contains("applezzz"));
    for (int press = 0; press < 3; ++press)
        QTest::keyClick(section->searchField(), Qt::Key_Backspace);
    QTest::keyClicks(section->searchField(), " j");
    EXPECT_EQ(titles(), (std::vector<std::string>{"apple juice"}));

    QTest::keyClick(section->searchField(), Qt::Key_Return);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->data("text/plain").toStdString(), "apple juice");
    EXPECT_EQ(data->data(QString::fromUtf8(ClipFlavourMapping::ownMarkerMimeType)).toStdString(),
              juice.id.string());
    ASSERT_TRUE(center.hud());
    EXPECT_EQ(center.hud()->label, "Copied");
    EXPECT_EQ(center.hud()->kind, brind::HUDEvent::Kind::custom);
    EXPECT_EQ(closeRequests, 1);
    EXPECT_EQ(store.history().items().front().id, juice.id) << "a copied item moves to the front";
    EXPECT_TRUE(section->searchField()->text().isEmpty()) << "the island opens again on the whole history";
}

TEST_F(ClipboardSectionTests, AConcealedItemIsMaskedAndNeverFoundByItsContent) {
    copy("hunter2-secret", "com.example.vault");
    copy("hunter green");
    brind::ClipSettings settings = store.settings();
    settings.excludedBundleIDs = {"com.example.vault"};
    store.setSettings(settings);
    show();

    const auto& model = *section->list()->model();
    ASSERT_EQ(model.rowCount(), 2);
    for (int row = 0; row < model.rowCount(); ++row)
        EXPECT_FALSE(model.data(model.index(row, 0), Qt::DisplayRole).toString().contains("secret"));
    EXPECT_EQ(titles()[1], ClipRow::maskedTitle);

    QTest::keyClicks(section->searchField(), "hunter");
    EXPECT_EQ(titles(), (std::vector<std::string>{"hunter green"}));
}

TEST_F(ClipboardSectionTests, KeysMoveBetweenFieldAndListAndEscapeClearsThenCloses) {
    const auto older = copy("older");
    copy("newer");
    show();
    section->searchField()->setFocus();

    QTest::keyClick(section->searchField(), Qt::Key_Down);
    EXPECT_TRUE(section->list()->hasFocus());
    for (int press = 0; press < 4; ++press)
        QTest::keyClick(section->list(), Qt::Key_Down);
    EXPECT_EQ(section->list()->currentIndex().row(), 1) << "Down on the last row does not wrap round";
    QTest::keyClick(section->list(), Qt::Key_Enter);
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->data("text/plain").toStdString(), "older");
    QTest::keyClick(section->list(), Qt::Key_Up);
    EXPECT_TRUE(section->searchField()->hasFocus()) << "Up from the first row goes back to the field";

    QTest::keyClicks(section->searchField(), "old");
    QTest::keyClick(section->searchField(), Qt::Key_P, Qt::ControlModifier);
    EXPECT_TRUE(store.history().item(older.id)->pinned);
    EXPECT_EQ(section->searchField()->text(), "old") << "Ctrl+P types nothing";

    const int closes = closeRequests;
    QTest::keyClick(section->searchField(), Qt::Key_Escape);
    EXPECT_TRUE(section->searchField()->text().isEmpty());
    EXPECT_EQ(closeRequests, closes) << "the first Escape only clears the search";
    EXPECT_EQ(titles().size(), 2u);
    QTest::keyClick(section->searchField(), Qt::Key_Escape);
    EXPECT_EQ(closeRequests, closes + 1);
}

TEST_F(ClipboardSectionTests, CtrlAndADigitCopyThatRowBackFromTheFieldOrTheList) {
    for (int n = 10; n >= 1; --n)
        copy("clip " + std::to_string(n));
    const auto pinned = copy("pinned clip");
    store.setPinned(pinned.id, true);
    show();

    const auto& model = static_cast<const ClipListModel&>(*section->list()->model());
    ASSERT_EQ(model.rows().size(), 11u);
    EXPECT_EQ(model.rows()[0].shortcut, "Ctrl+1");
    EXPECT_EQ(model.rows()[8].shortcut, "Ctrl+9");
    EXPECT_TRUE(model.rows()[9].shortcut.isEmpty()) << "only nine rows have a quick key";

    enum class Where { field, list };
    const struct {
        Where where;
        std::string query;
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        std::optional<std::string> copied; // nothing: the key copies nothing and the island stays open
    } cases[] = {
        {Where::field, "", Qt::Key_1, Qt::ControlModifier, "pinned clip"},
        {Where::field, "", Qt::Key_3, Qt::ControlModifier | Qt::KeypadModifier, "clip 2"},
        {Where::list, "", Qt::Key_9, Qt::ControlModifier, "clip 8"},
        // The digits name the rows as the search shows them, best match first.
        {Where::field, "clip 1", Qt::Key_2, Qt::ControlModifier, "clip 10"},
        {Where::field, "clip 1", Qt::Key_3, Qt::ControlModifier, std::nullopt},
        {Where::list, "", Qt::Key_0, Qt::ControlModifier, std::nullopt},
    };
    for (const auto& test : cases) {
        section->searchField()->setText(QString::fromStdString(test.query));
        QGuiApplication::clipboard()->clear();
        const int closesBefore = closeRequests;
        QWidget* target =
            test.where == Where::field ? static_cast<QWidget*>(section->searchField()) : section->list();
        QTest::keyClick(target, test.key, test.modifiers);
        const std::string label = test.query + " / " + QKeySequence(test.key).toString().toStdString();
        if (!test.copied) {
            EXPECT_EQ(closeRequests, closesBefore) << label;
            EXPECT_TRUE(QGuiApplication::clipboard()->text().isEmpty()) << label;
            EXPECT_EQ(section->searchField()->text().toStdString(), test.query)
                << "the digit is not typed: " << label;
            continue;
        }
        EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), *test.copied) << label;
        EXPECT_EQ(closeRequests, closesBefore + 1) << label;
    }
}

TEST_F(ClipboardSectionTests, AnEmptyHistorySaysWhatWouldAppearAndANewCopyTakesTheSelection) {
    show();
    EXPECT_FALSE(section->list()->isVisible());
    ASSERT_TRUE(section->emptyHint()->isVisible());
    EXPECT_TRUE(section->emptyHint()->text().contains("you copy appear here"));
    EXPECT_GT(section->contentHeight(640), section->searchField()->height());

    copy("first");
    EXPECT_TRUE(section->list()->isVisible());
    EXPECT_FALSE(section->emptyHint()->isVisible());
    copy("second");
    EXPECT_EQ(section->list()->currentIndex().row(), 0) << "Enter takes the newest copy";

    // Unless the user moved the selection: the chosen item stays chosen.
    section->list()->setFocus();
    QTest::keyClick(section->list(), Qt::Key_Down);
    copy("third");
    ASSERT_EQ(titles(), (std::vector<std::string>{"third", "second", "first"}));
    EXPECT_EQ(section->list()->currentIndex().row(), 2);
}

TEST_F(ClipboardSectionTests, EachRowPinsUnpinsAndDeletes) {
    const auto older = copy("older");
    const auto newer = copy("newer");
    show();
    QListView* list = section->list();

    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, pointOf(1, ClipItemDelegate::Part::pin));
    EXPECT_TRUE(store.history().item(older.id)->pinned);
    EXPECT_EQ(titles(), (std::vector<std::string>{"older", "newer"}));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, pointOf(0, ClipItemDelegate::Part::pin));
    EXPECT_FALSE(store.history().item(older.id)->pinned);

    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, pointOf(0, ClipItemDelegate::Part::remove));
    EXPECT_EQ(store.history().item(newer.id), nullptr);
    EXPECT_EQ(titles(), (std::vector<std::string>{"older"}));
    EXPECT_EQ(closeRequests, 0) << "pinning and deleting keep the island open";

    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, pointOf(0, ClipItemDelegate::Part::body));
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->data("text/plain").toStdString(), "older");
    EXPECT_EQ(closeRequests, 1);
}

} // namespace
} // namespace vq
