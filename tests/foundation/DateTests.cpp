#include "BrindKit/foundation/Date.hpp"

#include <gtest/gtest.h>

using brind::Date;

TEST(Date, ParsesInternetDateTimesAndRefusesOtherForms) {
    struct Case {
        const char* text;
        double seconds;
    };
    const Case cases[] = {
        {"1970-01-01T00:00:00Z", 0},
        {"2025-03-01T17:30:00Z", 1740850200},
        {"2025-03-01T18:30:00+01:00", 1740850200},
        {"2025-03-01T17:30:00.250Z", 1740850200.25},
        {"2024-02-29T00:00:00z", 1709164800},
        {"1969-12-31T23:59:59Z", -1},
    };
    for (const auto& c : cases) {
        const auto date = Date::parseISO8601(c.text);
        ASSERT_TRUE(date) << c.text;
        EXPECT_DOUBLE_EQ(date->secondsSince1970, c.seconds) << c.text;
    }
    for (const char* text : {"", "2025-03-01", "2025-03-01T17:30:00", "2025-02-30T00:00:00Z",
                             "2025-03-01 17:30:00Z", "2025-03-01T24:00:00Z", "2025-03-01T17:30:00Zjunk",
                             "2025-03-01T17:30:00.Z", "2025-3-01T17:30:00Z", "2025-03-01T17:30:00+0100"})
        EXPECT_FALSE(Date::parseISO8601(text)) << text;
}

TEST(Date, WritesWholeSecondsInUTCAndRoundTrips) {
    EXPECT_EQ(Date{1740850200.75}.iso8601(), "2025-03-01T17:30:00Z");
    EXPECT_EQ(Date{-1}.iso8601(), "1969-12-31T23:59:59Z");
    const Date moment{1709164800};
    EXPECT_EQ(Date::parseISO8601(moment.iso8601()), moment);
}
