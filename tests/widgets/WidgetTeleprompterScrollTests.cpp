#include "BrindKit/widgets/WidgetTeleprompterScroll.hpp"

#include <cmath>
#include <gtest/gtest.h>

using namespace brind;
using Scroll = WidgetTeleprompterScroll;

TEST(WidgetTeleprompterScroll, ClampsTheSpeedEverywhere) {
    for (const auto& [given, stored] : std::vector<std::pair<double, double>>{
             {1, 5}, {500, 200}, {-10, 5}, {60, 60}, {std::nan(""), 5}, {INFINITY, 200}}) {
        EXPECT_EQ(Scroll(given).speed(), stored) << given;
        Scroll scroll(50);
        scroll.setSpeed(given, Date{0});
        EXPECT_EQ(scroll.speed(), stored) << given;
    }
}

TEST(WidgetTeleprompterScroll, ScrollsWithTimeWithinTheTextAndOnlyWhenItOverflows) {
    Scroll scroll(40, 1000, 200);
    scroll.play(Date{10});
    EXPECT_EQ(scroll.offset(Date{15}), 200);
    EXPECT_EQ(scroll.progress(Date{15}), 0.25);
    EXPECT_EQ(scroll.offset(Date{5}), 0) << "a clock that went back never scrolls above the top";
    EXPECT_FALSE(scroll.isFinished(Date{29.9}));
    EXPECT_TRUE(scroll.isFinished(Date{30}));
    EXPECT_EQ(scroll.offset(Date{100}), 800);

    scroll.pause(Date{12.5});
    EXPECT_EQ(scroll.offset(Date{999}), 100);

    // A text shorter than the view never scrolls or finishes.
    Scroll shortText(100, 150, 400);
    shortText.play(Date{0});
    EXPECT_EQ(shortText.offset(Date{50}), 0);
    EXPECT_EQ(shortText.progress(Date{50}), 0);
    EXPECT_FALSE(shortText.isFinished(Date{50}));
}

TEST(WidgetTeleprompterScroll, PlayRestartsAFinishedTextAndIgnoresARunningOne) {
    Scroll scroll(50, 600, 100);
    scroll.play(Date{0});
    scroll.play(Date{5});
    EXPECT_EQ(scroll.runningSince, Date{0}) << "play while running changes nothing";
    scroll.pause(Date{20});
    ASSERT_TRUE(scroll.isFinished(Date{20}));
    scroll.play(Date{30});
    EXPECT_EQ(scroll.baseOffset, 0);
    EXPECT_EQ(scroll.offset(Date{31}), 50);
}

TEST(WidgetTeleprompterScroll, SpeedChangesAndNudgesNeverJump) {
    Scroll scroll(20, 2000, 200);
    scroll.play(Date{0});
    scroll.setSpeed(100, Date{10});
    EXPECT_EQ(scroll.offset(Date{10}), 200);
    EXPECT_EQ(scroll.offset(Date{11}), 300);

    scroll.nudge(-1000, Date{12});
    EXPECT_EQ(scroll.offset(Date{12}), 0) << "a nudge stops at the top";
    EXPECT_EQ(scroll.offset(Date{13}), 100) << "and the scroll continues from there";
    scroll.nudge(5000, Date{13});
    EXPECT_EQ(scroll.offset(Date{13}), 1800);

    // Changing speed at the end keeps the text at its end.
    scroll.setSpeed(30, Date{14});
    EXPECT_EQ(scroll.offset(Date{14}), 1800);

    Scroll paused(20, 2000, 200);
    paused.nudge(150, Date{0});
    EXPECT_EQ(paused.offset(Date{100}), 150);
    paused.rewind();
    EXPECT_EQ(paused, Scroll(20, 2000, 200));
}

TEST(WidgetTeleprompterScroll, ReadingTimeCountsWords) {
    EXPECT_EQ(Scroll::readingTime("one two  three\n\tfour", 120), 2);
    EXPECT_EQ(Scroll::readingTime("   ", 150), 0);
    EXPECT_EQ(Scroll::readingTime("héllo wörld\u00A0again\u3000end", 60), 4)
        << "Unicode spaces separate words";
    EXPECT_EQ(Scroll::readingTime("a b c", 0), 0);
}
