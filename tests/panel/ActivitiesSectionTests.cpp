#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/activities/ActivitiesSection.hpp"
#include "vantaquill/panel/activities/ActivityCard.hpp"
#include "vantaquill/qt/QtScheduler.hpp"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>

namespace vq {
namespace {

brind::LiveActivity activity(std::string id, std::string title,
                             brind::ActivityPriority priority = brind::ActivityPriority::normal) {
    brind::LiveActivity made;
    made.id = std::move(id);
    made.source = "test";
    made.title = std::move(title);
    made.priority = priority;
    made.leading = brind::ActivityGlyph::symbol("timer");
    return made;
}

class ActivitiesSectionTest : public ::testing::Test {
protected:
    ActivitiesSectionTest() {
        center.onChange = [this](LiveActivityCenter::Change) { section.refresh(); };
        section.onCloseRequested = [this] { ++closeRequests; };
        section.setStyleSheet(PanelStyle::styleSheet());
        section.setPalette(PanelStyle::palette());
        section.resize(640, 300);
        section.show();
        QApplication::setActiveWindow(&section);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&section));
    }

    /// The cards shown, top to bottom.
    std::vector<ActivityCard*> cards() {
        QApplication::processEvents();
        std::vector<ActivityCard*> shown;
        // The cards have no meta-object of their own, so they are told apart by their C++ type.
        for (auto* frame : section.findChildren<QFrame*>()) {
            if (auto* card = dynamic_cast<ActivityCard*>(frame); card && card->isVisible())
                shown.push_back(card);
        }
        std::ranges::sort(shown, {}, [](const ActivityCard* card) { return card->mapTo(card->window(), QPoint()).y(); });
        return shown;
    }

    std::vector<std::string> shownIDs() {
        std::vector<std::string> ids;
        for (const auto* card : cards())
            ids.push_back(card->objectName().toStdString());
        return ids;
    }

    QPushButton* button(const std::string& activityID, const QString& name) {
        for (auto* card : cards()) {
            if (card->objectName().toStdString() == activityID)
                return card->findChild<QPushButton*>(name);
        }
        return nullptr;
    }

    QtScheduler scheduler;
    LiveActivityCenter center{scheduler};
    ConsentQueue consents{scheduler, [] { return 120.0; }};
    ActivitiesSection section{center, consents};
    int closeRequests = 0;
};

TEST_F(ActivitiesSectionTest, CardsFollowTheQueueAndUpdateInPlace) {
    center.post(activity("build", "Build"));
    center.post(activity("upload", "Upload"));
    center.post(activity("deploy", "Deploy", brind::ActivityPriority::important));
    EXPECT_EQ(shownIDs(), (std::vector<std::string>{"deploy", "build", "upload"}));

    auto update = activity("build", "Build", brind::ActivityPriority::normal);
    update.subtitle = "step 2 of 3";
    update.progress = 0.4;
    update.actions = {{.id = "stop", .label = "Stop", .role = brind::ActivityAction::Role::destructive, .symbol = {}}};
    center.post(update);
    auto* stop = button("build", "action:stop");
    ASSERT_TRUE(stop);
    EXPECT_EQ(stop->property("role").toString(), "destructive");
    stop->setFocus();
    ActivityCard* card = cards()[1];
    EXPECT_EQ(card->findChild<QProgressBar*>()->value(), 400);

    // A running activity reports its progress often; the user's focus must survive every report.
    update.progress = 0.6;
    center.post(update);
    EXPECT_EQ(cards()[1], card) << "the card was rebuilt instead of updated";
    EXPECT_EQ(card->findChild<QProgressBar*>()->value(), 600);
    EXPECT_EQ(QApplication::focusWidget(), stop);

    center.end("deploy");
    EXPECT_EQ(shownIDs(), (std::vector<std::string>{"build", "upload"}));
}

TEST_F(ActivitiesSectionTest, PressesReachTheCentreByMouseAndKeyboard) {
    std::vector<std::pair<std::string, std::string>> pressed;
    center.handleActions("sdk.", [&](const std::string& activityID, const std::string& actionID) {
        pressed.emplace_back(activityID, actionID);
    });
    auto upload = activity("sdk.lumetta.upload", "Uploading");
    upload.actions = {{.id = "open", .label = "Open", .role = brind::ActivityAction::Role::primary, .symbol = "folder"},
                      {.id = "cancel", .label = "Cancel", .role = brind::ActivityAction::Role::cancel, .symbol = {}}};
    center.post(upload);
    auto tea = activity("tea", "Tea", brind::ActivityPriority::ambient);
    center.post(tea);

    auto* open = button("sdk.lumetta.upload", "action:open");
    ASSERT_TRUE(open);
    EXPECT_EQ(open->property("role").toString(), "primary");
    QTest::mouseClick(open, Qt::LeftButton);
    open->setFocus();
    QTest::keyClick(open, Qt::Key_Right);
    auto* cancel = button("sdk.lumetta.upload", "action:cancel");
    EXPECT_EQ(QApplication::focusWidget(), cancel);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    // Down leaves the card for the next one's first button, Up comes back to this card's first.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    EXPECT_EQ(QApplication::focusWidget(), button("tea", "dismiss"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
    EXPECT_EQ(QApplication::focusWidget(), open);
    EXPECT_EQ(pressed, (std::vector<std::pair<std::string, std::string>>{{"sdk.lumetta.upload", "open"},
                                                                           {"sdk.lumetta.upload", "cancel"}}));

    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_EQ(closeRequests, 1);
}

TEST_F(ActivitiesSectionTest, DismissRemovesWhatTheUserMayDismiss) {
    auto pinned = activity("meeting", "Stand-up in 5 min");
    pinned.dismissible = false;
    center.post(pinned);
    center.post(activity("timer", "Tea"));
    EXPECT_FALSE(button("meeting", "dismiss")) << "offered to dismiss what may not be dismissed";
    auto* dismiss = button("timer", "dismiss");
    ASSERT_TRUE(dismiss);

    QTest::mouseClick(dismiss, Qt::LeftButton);
    EXPECT_TRUE(center.queue().isDismissed("timer"));
    EXPECT_EQ(shownIDs(), std::vector<std::string>{"meeting"});
}

TEST_F(ActivitiesSectionTest, AnEmptySectionSaysWhatWouldAppearAndHow) {
    auto* empty = section.findChild<QLabel*>("empty");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->isVisible());
    EXPECT_TRUE(empty->text().contains("vantaquill notify"));
    EXPECT_TRUE(empty->text().contains("/v1/activities"));
    EXPECT_FALSE(section.needsUser());

    int changes = 0;
    section.onChanged = [&] { ++changes; };
    const int emptyHeight = section.contentHeight(640);
    center.post(activity("timer", "Tea"));
    QApplication::processEvents();
    EXPECT_FALSE(empty->isVisible());
    EXPECT_GT(changes, 0) << "the panel was not told that the content's height changed";
    EXPECT_NE(section.contentHeight(640), emptyHeight);
}

// Titles come from other programs: a long one must end in an ellipsis, not widen the panel.
TEST_F(ActivitiesSectionTest, LongTitlesStayInsideThePanel) {
    center.post(activity("long", std::string(400, 'W')));
    QApplication::processEvents();
    ASSERT_EQ(cards().size(), 1u);
    EXPECT_LE(cards()[0]->width(), section.width());
    EXPECT_LE(section.contentHeight(640), 120);
}

} // namespace
} // namespace vq
