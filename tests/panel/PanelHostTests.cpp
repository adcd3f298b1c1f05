#include "vantaquill/panel/PanelHost.hpp"
#include "vantaquill/panel/PanelStyle.hpp"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace vq {
namespace {

using Pointer = IslandSurface::PointerEvent;

/// A section made of the controls the real ones use: a field, a button, a long scrolling list.
class SampleSection final : public PanelSection {
  public:
    explicit SampleSection(QString name) : name(std::move(name)) {
        auto* column = new QVBoxLayout(this);
        field = new QLineEdit;
        button = new QPushButton("Allow");
        QObject::connect(button, &QPushButton::clicked, [this] { ++clicks; });
        scroll = new QScrollArea;
        auto* list = new QLabel(QString("line\n").repeated(200));
        scroll->setWidget(list);
        column->addWidget(field);
        column->addWidget(button);
        column->addWidget(scroll);
    }
    QString title() const override { return name; }
    QString badge() const override { return count; }
    bool needsUser() const override { return waiting; }
    int contentHeight(int) const override { return wanted; }
    void setWanted(int height) {
        wanted = height;
        changed();
    }
    void setWaiting(bool value) {
        waiting = value;
        changed();
    }

    QString name;
    QString count;
    QLineEdit* field;
    QPushButton* button;
    QScrollArea* scroll;
    int clicks = 0;
    int wanted = 200;
    bool waiting = false;
};

class PanelHostTest : public ::testing::Test {
  protected:
    void SetUp() override {
        first = new SampleSection("First");
        second = new SampleSection("Second");
        host.panel().addSection(first);
        host.panel().addSection(second);
        host.resize({600, 300});
        host.opening();
    }

    QPointF centreOf(QWidget* widget) {
        return QPointF(widget->mapTo(&host.panel(), widget->rect().center()));
    }
    void click(QPointF at) {
        host.pointer({Pointer::Type::motion, at, Qt::NoButton, {}});
        host.pointer({Pointer::Type::press, at, Qt::LeftButton, {}});
        host.pointer({Pointer::Type::release, at, Qt::LeftButton, {}});
    }

    PanelHost host;
    SampleSection* first;
    SampleSection* second;
};

// Keys reaching the focused control (typed text, Tab, Return and Space pressing, Escape handed back
// to close the island) are proven through the real island in tests/desktop IslandOnX11 (the permission
// and question tests).
TEST_F(PanelHostTest, PointerAndWheelReachTheWidgetUnderThemAndTheSectionButtonsSwitch) {
    int repaints = 0;
    host.onRepaint = [&] { ++repaints; };
    click(centreOf(first->button));
    EXPECT_EQ(first->clicks, 1);
    // A click on a field gives it the keyboard, as on any window.
    click(centreOf(first->field));
    EXPECT_EQ(host.panel().focusWidget(), first->field);
    QCoreApplication::processEvents();
    repaints = 0;
    first->field->setText("changed");
    QCoreApplication::processEvents();
    EXPECT_GT(repaints, 0) << "a change in the panel asks for a frame";

    QScrollBar* bar = first->scroll->verticalScrollBar();
    ASSERT_GT(bar->maximum(), 0);
    host.pointer({Pointer::Type::scroll, centreOf(first->scroll), Qt::NoButton, QPoint(0, -240)});
    EXPECT_GT(bar->value(), 0);

    const auto tabs = host.panel().findChildren<QPushButton*>();
    const auto secondTab =
        std::ranges::find_if(tabs, [](QPushButton* tab) { return tab->text() == "Second"; });
    ASSERT_NE(secondTab, tabs.end());
    click(centreOf(*secondTab));
    EXPECT_EQ(host.panel().current(), second);
    // A section's count follows its name on its button.
    second->count = "3";
    second->setWaiting(false);
    EXPECT_EQ((*secondTab)->text(), "Second 3");
    // A click beside every control does nothing.
    click({-50, -50});
    EXPECT_EQ(first->clicks + second->clicks, 1);
}

TEST_F(PanelHostTest, HeightFollowsTheShownSectionAndOpeningPrefersWhatWaits) {
    int resized = 0;
    host.onResize = [&] { ++resized; };
    EXPECT_EQ(host.height(600), IslandPanel::tabsHeight + IslandPanel::tabsGap + 200);
    first->setWanted(120);
    EXPECT_EQ(host.height(600), IslandPanel::tabsHeight + IslandPanel::tabsGap + 120);
    EXPECT_GE(resized, 1);

    // The last section used comes back, unless another one waits for the user.
    host.panel().step(1);
    host.opening();
    EXPECT_EQ(host.panel().current(), second);
    first->setWaiting(true);
    host.opening();
    EXPECT_EQ(host.panel().current(), first);

    // A closed island hides the panel, so that sections stop their timers.
    host.closed();
    EXPECT_FALSE(first->isVisible());
    host.opening();
    EXPECT_TRUE(first->isVisible());
}

// Text must stay legible on the island's black in every state a control can be in.
TEST(PanelStyle, TextContrastsWithTheIslandInEveryGroup) {
    const QPalette palette = PanelStyle::palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
            const QColor colour = palette.color(group, role);
            EXPECT_GT(colour.lightnessF(), 0.55) << int(group) << " " << int(role);
        }
    }
    EXPECT_EQ(palette.color(QPalette::Active, QPalette::Window), QColor(Qt::black));
}

} // namespace
} // namespace vq
