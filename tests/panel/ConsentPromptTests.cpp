#include "tests/support/TemporaryFolder.hpp"
#include "vantaquill/ConsentQueue.hpp"
#include "vantaquill/HeadlessDisplay.hpp"
#include "vantaquill/LiveActivityCenter.hpp"
#include "vantaquill/SDKService.hpp"
#include "vantaquill/ShelfStore.hpp"
#include "vantaquill/panel/IslandPanel.hpp"
#include "vantaquill/panel/activities/ActivitiesSection.hpp"
#include "vantaquill/panel/activities/ConsentCard.hpp"
#include "vantaquill/qt/QtScheduler.hpp"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>

namespace vq {
namespace {

void onMainThread(std::function<void()> work) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(work), Qt::QueuedConnection);
}

// The prompt as the application runs it: the SDK service hands the bridge's question to the consent
// queue on the main thread, the section shows it in the island's panel, and the answer goes back
// through the bridge's callback.
/// Another section, shown first, so that the prompt has to bring its own section forward.
class OtherSection final : public PanelSection {
public:
    QString title() const override { return "Other"; }
    bool needsUser() const override { return false; }
    int contentHeight(int) const override { return 40; }
};

class ConsentPromptTest : public ::testing::Test {
protected:
    ConsentPromptTest() {
        panel.addSection(new OtherSection);
        panel.addSection(section);
        consents.onChange = [this] { section->refresh(); };
        center.onChange = [this](LiveActivityCenter::Change) { section->refresh(); };
        panel.onOpenRequested = [this] { ++openRequests; };
        panel.onCloseRequested = [this] { ++closeRequests; };
        panel.resize(640, 330);
        panel.show();
        QApplication::setActiveWindow(&panel);
        EXPECT_TRUE(QTest::qWaitForWindowActive(&panel));
    }

    /// Asks as the bridge does, and waits until the question reached the prompt.
    void ask(const std::string& appID, std::vector<brind::SDKScope> scopes = {brind::SDKScope::activities}) {
        const auto asked = [this] { return std::ranges::count_if(lines, [](const std::string& line) { return line.starts_with("consent asked"); }); };
        const auto before = asked();
        service.askConsent(appID, "Lumetta", std::move(scopes), [this, appID](bool allowed) {
            answers.emplace_back(appID, allowed);
        });
        ASSERT_TRUE(QTest::qWaitFor([&] { return asked() > before; }, 2000)) << "no prompt for " << appID;
        ASSERT_TRUE(card(appID));
    }

    ConsentCard* card(const std::string& appID) {
        for (auto* frame : section->findChildren<QFrame*>()) {
            auto* found = dynamic_cast<ConsentCard*>(frame);
            if (found && found->isVisible() && found->request().appID == appID)
                return found;
        }
        return nullptr;
    }

    bool displayed(const std::string& line) const { return std::ranges::find(lines, line) != lines.end(); }

    brindtest::TemporaryFolder folder{"vantaquill-consent"};
    QtScheduler scheduler;
    LiveActivityCenter center{scheduler};
    ShelfStore shelf{folder.path()};
    /// Before the queue: questions still waiting when the test ends are denied as it goes away.
    std::vector<std::pair<std::string, bool>> answers;
    std::vector<std::string> lines;
    HeadlessDisplay display{[this](const std::string& line) { lines.push_back(line); }, [](const std::string&) {}};
    double timeout = 120;
    ConsentQueue consents{scheduler, [this] { return timeout; }};
    SDKService service{onMainThread, center, shelf, scheduler, display, [](const brind::AgentHookEvent&) {}, &consents};
    IslandPanel panel;
    ActivitiesSection* section = new ActivitiesSection(center, consents);
    int openRequests = 0;
    int closeRequests = 0;
};

TEST_F(ConsentPromptTest, ShowsWhoAsksAndWhatForAndOpensTheIslandOnDontAllow) {
    // An activity with a button, shown before the prompt, must not come first for the keyboard.
    brind::LiveActivity upload;
    upload.id = "upload";
    upload.title = "Uploading";
    upload.actions = {{.id = "stop", .label = "Stop", .role = brind::ActivityAction::Role::normal, .symbol = {}}};
    center.post(upload);
    ask("lumetta", {brind::SDKScope::activities, brind::SDKScope::shelf});
    ConsentCard* prompt = card("lumetta");
    EXPECT_EQ(openRequests, 1);
    EXPECT_EQ(panel.current(), section) << "the island opened on another section";
    EXPECT_TRUE(section->needsUser());
    EXPECT_EQ(prompt->findChild<QLabel*>("consentTitle")->text(), "“Lumetta” wants to connect");
    QStringList scopes;
    for (const auto* line : prompt->findChildren<QLabel*>("scope"))
        scopes << line->text();
    EXPECT_EQ(scopes, QStringList({"•  show live activities in the island", "•  add files to your shelf"}));
    EXPECT_EQ(prompt->allowButton()->property("role").toString(), "primary");
    EXPECT_EQ(QApplication::focusWidget(), prompt->denyButton()) << "the focus must start on the safe answer";
    // Opening the island later gives the keyboard to the section's first control: the same button.
    panel.focusCurrent();
    EXPECT_EQ(QApplication::focusWidget(), prompt->denyButton());
    EXPECT_TRUE(displayed(R"(consent asked app=lumetta name="Lumetta" scopes=activities,shelf)"));
}

// Allow clicked on the island's window answers the client: tests/desktop ConsentOnScreen.
TEST_F(ConsentPromptTest, DontAllowAnswersOnceByMouseOrKeyboard) {
    ask("quill");
    QTest::mouseClick(card("quill")->denyButton(), Qt::LeftButton);
    // The press key on the button that has the focus, as a user answering by keyboard would.
    ask("ink");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);

    EXPECT_EQ(answers, (std::vector<std::pair<std::string, bool>>{{"quill", false}, {"ink", false}}));
    QApplication::processEvents();
    EXPECT_FALSE(card("quill") || card("ink"));
    EXPECT_FALSE(section->needsUser());
    EXPECT_EQ(closeRequests, 2) << "the island stays open after its last prompt was answered";
    EXPECT_TRUE(displayed(R"(consent denied app=quill name="Lumetta" reason=user)"));
}

// The click and the time-out race for the same question: only the first may answer the bridge.
TEST_F(ConsentPromptTest, TimeOutDeniesOnceAndTakesThePromptAway) {
    timeout = 0.2;
    ask("lumetta");
    const std::uint64_t serial = consents.pending().front().serial;
    ASSERT_TRUE(QTest::qWaitFor([&] { return !answers.empty(); }, 2000));
    QApplication::processEvents();
    EXPECT_FALSE(card("lumetta"));
    EXPECT_FALSE(consents.answer(serial, true)) << "a settled question was answered again";
    QTest::qWait(50);
    EXPECT_EQ(answers, (std::vector<std::pair<std::string, bool>>{{"lumetta", false}}));
    EXPECT_TRUE(displayed(R"(consent denied app=lumetta name="Lumetta" reason=timeout)"));
}

TEST_F(ConsentPromptTest, ANewRequestFromTheSameAppDeniesTheOldOneWhileOthersWait) {
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
