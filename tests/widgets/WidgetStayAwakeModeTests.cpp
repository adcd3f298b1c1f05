#include "BrindKit/widgets/WidgetStayAwakeMode.hpp"

#include <gtest/gtest.h>

using namespace brind;
using Mode = WidgetStayAwakeMode;

TEST(WidgetStayAwakeMode, ActivityAndRemainingTimeDependOnTheMode) {
    const auto until = Mode::until(Date{500});
    EXPECT_TRUE(until.isActive(Date{499.9}));
    EXPECT_FALSE(until.isActive(Date{500}));
    EXPECT_EQ(until.remaining(Date{200}), 300);
    EXPECT_EQ(until.remaining(Date{900}), 0);
    EXPECT_TRUE(Mode::indefinite().isActive(Date{1e12}));
    EXPECT_FALSE(Mode::off().isActive(Date{0}));
    EXPECT_EQ(Mode::preset(0, Date{0}), Mode::off());
    EXPECT_EQ(Mode::indefinite().remaining(Date{0}), std::nullopt);
    EXPECT_EQ(Mode::off().remaining(Date{0}), std::nullopt);

    EXPECT_EQ(until.normalised(Date{499}), until);
    EXPECT_EQ(until.normalised(Date{500}), Mode::off()) << "the moment itself has come";
    EXPECT_EQ(Mode::indefinite().normalised(Date{1e12}), Mode::indefinite());
}

TEST(WidgetStayAwakeMode, StatusLabelRoundsTheTimeLeftUp) {
    const Date end{100000};
    const std::vector<std::pair<double, std::string>> cases = {
        {0.2, "1s left"},   {59, "59s left"},      {59.2, "1m left"},     {90, "2m left"},
        {3599, "60m left"}, {3600, "1h 00m left"}, {3661, "1h 01m left"}, {36000 + 59 * 60, "10h 59m left"},
        {0, "Off"},         {-30, "Off"},
    };
    for (const auto& [left, label] : cases)
        EXPECT_EQ(Mode::until(end).statusLabel(end - left), label) << left;
}

TEST(WidgetStayAwakeMode, StoresTheCaseAndDate) {
    for (const auto& mode : {Mode::until(Date{1700000000.5}), Mode::off(), Mode::indefinite()})
        EXPECT_EQ(Mode::fromJSON(mode.json()), mode) << mode.json().dump();
    EXPECT_EQ(Mode::until(Date{12}).json(), JSON::parse(R"({"mode": "until", "date": 12})"));
    for (const char* text : {R"({"mode": "until"})", R"({"mode": "until", "date": "soon"})",
                             R"({"mode": "always"})", R"("indefinite")", "null"})
        EXPECT_EQ(Mode::fromJSON(JSON::parse(text)), Mode::off()) << text;
}
