#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/SDKService.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/panel/IslandPanel.hpp"
#include "vantaquill/panel/PanelStyle.hpp"
#include "vantaquill/panel/activities/ActivitiesSection.hpp"
#include "vantaquill/panel/activities/ActivityCard.hpp"
#include "vantaquill/panel/activities/ConsentCard.hpp"
#include "vantaquill/qt/QtScheduler.hpp"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>

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

/// Another section of the panel, for a prompt that has to bring its own section forward.
class OtherSection final : public PanelSection {
  public:
    QString title() const override { return "Other"; }
    bool needsUser() const override { return false; }
    int contentHeight(int) const override { return 40; }
};

// The section in the island's panel as the application runs it: the SDK service hands the bridge's
// question for consent to the queue on the main thread, and the answer goes back through the bridge's
// callback.
class ActivitiesSectionTest : public ::testing::Test {
  protected:
    ActivitiesSectionTest() {
        panel.addSection(section);
        panel.addSection(new OtherSection);
        consents.onChange = [this] { section->refresh(); };
        center.onChange = [this](LiveActivityCenter::Change) { section->refresh(); };
        panel.onOpenRequested = [this] { ++openRequests; };
        panel.onCloseRequested = [this] { ++closeRequests; };
        panel.setStyleSheet(PanelStyle::styleSheet());
        panel.setPalette(PanelStyle::palette());
        panel.resize(640, 330);
        panel.show();
        QApplication::setActiveWindow(&panel);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&panel));
    }

    /// The cards of type `Card` shown, top to bottom. Cards have no meta-object of their own, so they
    /// are told apart by their C++ type.
    template <typename Card>
    std::vector<Card*> shown() {
        QApplication::processEvents();
        std::vector<Card*> cards;
        for (auto* frame : section->findChildren<QFrame*>()) {
            if (auto* card = dynamic_cast<Card*>(frame); card && card->isVisible())
                cards.push_back(card);
        }
        std::ranges::sort(cards, {},
                          [](const QWidget* card) { return card->mapTo(card->window(), QPoint()).y(); });
        return cards;
    }

    std::vector<std::string> shownIDs() {
        std::vector<std::string> ids;
        for (const auto* card : shown<ActivityCard>())
            ids.push_back(card->objectName().toStdString());
        return ids;
    }

    QPushButton* button(const std::string& activityID, const QString& name) {
        for (auto* card : shown<ActivityCard>()) {
            if (card->objectName().toStdString() == activityID)
                return card->findChild<QPushButton*>(name);
        }
        return nullptr;
    }

    /// Asks as the bridge does, and waits until the question reached the prompt.
    void ask(const std::string& appID, std::vector<brind::SDKScope> scopes = {brind::SDKScope::activities}) {
        const auto asked = [this] {
            return std::ranges::count_if(
                lines, [](const std::string& line) { return line.starts_with("consent asked"); });
        };
        const auto before = asked();
        service.askConsent(appID, "Lumetta", std::move(scopes),
                           [this, appID](bool allowed) { answers.emplace_back(appID, allowed); });
        ASSERT_TRUE(QTest::qWaitFor([&] { return asked() > before; }, 2000)) << "no prompt for " << appID;
        ASSERT_TRUE(prompt(appID));
    }

    ConsentCard* prompt(const std::string& appID) {
        for (auto* card : shown<ConsentCard>()) {
            if (card->request().appID == appID)
                return card;
        }
        return nullptr;
    }

    bool displayed(const std::string& line) const { return std::ranges::find(lines, line) != lines.end(); }

    brindtest::TemporaryFolder folder{"vantaquill-activities-section"};
    QtScheduler scheduler;
    LiveActivityCenter center{scheduler};
    ShelfStore shelf{folder.path()};
    /// Before the queue: questions still waiting when the test ends are denied as it goes away.
    std::vector<std::pair<std::string, bool>> answers;
    std::vector<std::string> lines;
    HeadlessDisplay display{[this](const std::string& line) { lines.push_back(line); },
                            [](const std::string&) {}};
    double timeout = 120;
    ConsentQueue consents{scheduler, [this] { return timeout; }};
    SDKService service{onMainThread, center, shelf, scheduler, display, [](const brind::AgentHookEvent&) {},
                       &consents};
    IslandPanel panel;
    ActivitiesSection* section = new ActivitiesSection(center, consents);
    int openRequests = 0;
    int closeRequests = 0;

    static void onMainThread(std::function<void()> work) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
    }
};

TEST_F(ActivitiesSectionTest, CardsFollowTheQueueAndUpdateInPlace) {
    // Empty, the section says what would appear and how.
    auto* empty = section->findChild<QLabel*>("empty");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->isVisible());
    EXPECT_TRUE(empty->text().contains("vantaquill notify"));
    EXPECT_TRUE(empty->text().contains("/v1/activities"));
    EXPECT_FALSE(section->needsUser());
    int changes = 0;
    panel.onChanged = [&] { ++changes; };
    const int emptyHeight = section->contentHeight(640);

    center.post(activity("build", "Build"));
    center.post(activity("upload", "Upload"));
    center.post(activity("deploy", "Deploy", brind::ActivityPriority::important));
    EXPECT_EQ(shownIDs(), (std::vector<std::string>{"deploy", "build", "upload"}));
    EXPECT_FALSE(empty->isVisible());
    EXPECT_GT(changes, 0) << "the panel was not told that the content's height changed";
    EXPECT_NE(section->contentHeight(640), emptyHeight);

    auto update = activity("build", "Build", brind::ActivityPriority::normal);
    update.subtitle = "step 2 of 3";
    update.progress = 0.4;
    update.actions = {
        {.id = "stop", .label = "Stop", .role = brind::ActivityAction::Role::destructive, .symbol = {}}};
    center.post(update);
    auto* stop = button("build", "action:stop");
    ASSERT_TRUE(stop);
    EXPECT_EQ(stop->property("role").toString(), "destructive");
    stop->setFocus();
    ActivityCard* card = shown<ActivityCard>()[1];
    EXPECT_EQ(card->findChild<QProgressBar*>()->value(), 400);

    // A running activity reports its progress often; the user's focus must survive every report.
    update.progress = 0.6;
    center.post(update);
    EXPECT_EQ(shown<ActivityCard>()[1], card) << "the card was rebuilt instead of updated";
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
    upload.actions = {
        {.id = "open", .label = "Open", .role = brind::ActivityAction::Role::primary, .symbol = "folder"},
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
    // Titles come from other programs: a long one must end in an ellipsis, not widen the panel.
    auto pinned = activity("meeting", std::string(400, 'W'));
    pinned.dismissible = false;
    center.post(pinned);
    center.post(activity("timer", "Tea"));
    EXPECT_FALSE(button("meeting", "dismiss")) << "offered to dismiss what may not be dismissed";
    auto* dismiss = button("timer", "dismiss");
    ASSERT_TRUE(dismiss);

    QTest::mouseClick(dismiss, Qt::LeftButton);
    EXPECT_TRUE(center.queue().isDismissed("timer"));
    EXPECT_EQ(shownIDs(), std::vector<std::string>{"meeting"});
    EXPECT_LE(shown<ActivityCard>()[0]->width(), section->width());
    EXPECT_LE(section->contentHeight(640), 120);
}

TEST_F(ActivitiesSectionTest, AConsentPromptShowsWhoAsksAndWhatForAndOpensTheIslandOnDontAllow) {
    panel.step(1);
    // An activity with a button, shown before the prompt, must not come first for the keyboard.
    brind::LiveActivity upload = activity("upload", "Uploading");
    upload.actions = {
        {.id = "stop", .label = "Stop", .role = brind::ActivityAction::Role::normal, .symbol = {}}};
    center.post(upload);
    ask("lumetta", {brind::SDKScope::activities, brind::SDKScope::shelf});
    ConsentCard* card = prompt("lumetta");
    EXPECT_EQ(openRequests, 1);
    EXPECT_EQ(panel.current(), section) << "the island opened on another section";
    EXPECT_TRUE(section->needsUser());
    EXPECT_EQ(card->findChild<QLabel*>("consentTitle")->text(), "“Lumetta” wants to connect");
    QStringList scopes;
    for (const auto* line : card->findChildren<QLabel*>("scope"))
        scopes << line->text();
    EXPECT_EQ(scopes, QStringList({"•  show live activities in the island", "•  add files to your shelf"}));
    EXPECT_EQ(card->allowButton()->property("role").toString(), "primary");
    EXPECT_EQ(QApplication::focusWidget(), card->denyButton()) << "the focus must start on the safe answer";
    // Opening the island later gives the keyboard to the section's first control: the same button.
    panel.focusCurrent();
    EXPECT_EQ(QApplication::focusWidget(), card->denyButton());
    EXPECT_TRUE(displayed(R"(consent asked app=lumetta name="Lumetta" scopes=activities,shelf)"));
}

// Allow clicked on the island's window answers the client: tests/desktop
// IslandOnX11.AllowClickedInTheIslandGivesAConnectingClientAWorkingToken.
TEST_F(ActivitiesSectionTest, DontAllowAnswersOnceByMouseOrKeyboard) {
    ask("quill");
    QTest::mouseClick(prompt("quill")->denyButton(), Qt::LeftButton);
    // The press key on the button that has the focus, as a user answering by keyboard would.
    ask("ink");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);

    EXPECT_EQ(answers, (std::vector<std::pair<std::string, bool>>{{"quill", false}, {"ink", false}}));
    EXPECT_FALSE(prompt("quill") || prompt("ink"));
    EXPECT_FALSE(section->needsUser());
    EXPECT_EQ(closeRequests, 2) << "the island stays open after its last prompt was answered";
    EXPECT_TRUE(displayed(R"(consent denied app=quill name="Lumetta" reason=user)"));
}

// The click and the time-out race for the same question: only the first may answer the bridge.
TEST_F(ActivitiesSectionTest, AConsentTimeOutDeniesOnceAndTakesThePromptAway) {
    timeout = 0.2;
    ask("lumetta");
    const std::uint64_t serial = consents.pending().front().serial;
    ASSERT_TRUE(QTest::qWaitFor([&] { return !answers.empty(); }, 2000));
    EXPECT_FALSE(prompt("lumetta"));
    EXPECT_FALSE(consents.answer(serial, true)) << "a settled question was answered again";
    QTest::qWait(50);
    EXPECT_EQ(answers, (std::vector<std::pair<std::string, bool>>{{"lumetta", false}}));
    EXPECT_TRUE(displayed(R"(consent denied app=lumetta name="Lumetta" reason=timeout)"));
}

TEST_F(ActivitiesSectionTest, ANewConsentRequestFromTheSameAppDeniesTheOldOneWhileOthersWait) {
    ask("lumetta");
    ask("quill");
    ask("lumetta");
    EXPECT_EQ(answers, (std::vector<std::pair<std::string, bool>>{{"lumetta", false}}));
    ASSERT_EQ(consents.pending().size(), 2u);
    EXPECT_EQ(consents.pending()[0].appID, "quill");
    EXPECT_EQ(consents.pending()[1].appID, "lumetta");
    EXPECT_TRUE(displayed(R"(consent denied app=lumetta name="Lumetta" reason=replaced)"));
}

} // namespace
} // namespace vq
