#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"
#include "BrindKit/island/TimeFormat.hpp"

#include <gtest/gtest.h>
#include <string>

using namespace brind;

// Each case is [seconds or minutes, text]; "nan" and "inf" stand for the numbers JSON cannot write.
// Without a bound an endless countdown would convert infinity to an integer and print garbage.
TEST(TimeFormat, FormatsClocksCountdownsAndDurations) {
    const JSON cases = JSON::parse(AtomicFile::read(BRIND_TEST_DATA "/island/time-format.json").value());
    const auto number = [](const JSON& value) {
        return value.is_string() ? std::stod(value.get<std::string>()) : value.get<double>();
    };
    const std::pair<const char*, std::string (*)(double)> formats[] = {
        {"clock", TimeFormat::clock}, {"countdown", TimeFormat::countdown}, {"until", TimeFormat::until}};
    for (const auto& [name, format] : formats) {
        for (const JSON& test : cases.at(name))
            EXPECT_EQ(format(number(test[0])), test[1].get<std::string>()) << name << " " << test[0];
    }
    for (const JSON& test : cases.at("duration"))
        EXPECT_EQ(TimeFormat::duration(test[0].get<long long>()), test[1].get<std::string>()) << test[0];

    // The time left never goes below zero.
    EXPECT_EQ(TimeFormat::remaining(30, 90), "-1:00");
    EXPECT_EQ(TimeFormat::remaining(100, 90), "-0:00");
    EXPECT_EQ(TimeFormat::remaining(0, 3725), "-1:02:05");
}
