#include "BrindKit/foundation/JSON.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

using namespace brind;

// Whole numbers arrive as JSON integers, as integers past 64 bits, and from some writers as 2.0.
TEST(JSONRead, ReadsWholeNumbersWithoutWrappingOrRounding) {
    struct Case {
        const char* text;
        std::optional<std::int64_t> integer;
        std::optional<std::int64_t> wholeNumber;
    };
    const Case cases[] = {
        {"42", 42, 42},
        {"-7", -7, -7},
        {"9223372036854775807", INT64_MAX, INT64_MAX},
        {"-9223372036854775808", INT64_MIN, INT64_MIN},
        {"9223372036854775808", std::nullopt, std::nullopt},
        {"18446744073709551615", std::nullopt, std::nullopt},
        {"2.0", std::nullopt, 2},
        {"-3.0", std::nullopt, -3},
        {"2.5", std::nullopt, std::nullopt},
        {"9007199254740992.0", std::nullopt, 9007199254740992},
        {"1e300", std::nullopt, std::nullopt},
        {"\"4\"", std::nullopt, std::nullopt},
        {"true", std::nullopt, std::nullopt},
        {"null", std::nullopt, std::nullopt},
    };
    for (const Case& test : cases) {
        const JSON value = JSONText::parse(test.text).value();
        EXPECT_EQ(JSONRead::integer(value), test.integer) << test.text;
        EXPECT_EQ(JSONRead::wholeNumber(value), test.wholeNumber) << test.text;
    }
    const JSON object = JSONText::parse(R"({"n": 5, "big": 9223372036854775808})").value();
    EXPECT_EQ(JSONRead::integer(object, "n"), 5);
    EXPECT_EQ(JSONRead::integer(object, "big"), std::nullopt);
    EXPECT_EQ(JSONRead::integer(object, "missing"), std::nullopt);
}

// Counts and codes are kept as `int`: a number past its range must read as nothing, not as a
// truncated value that looks valid.
TEST(JSONRead, NarrowsWholeNumbersToIntOnlyWhenTheyFit) {
    const JSON object =
        JSONText::parse(R"({"n": 4.0, "low": -2147483648, "high": 2147483647, "over": 2147483648,)"
                        R"( "under": -2147483649.0, "half": 0.5, "text": "3"})")
            .value();
    EXPECT_EQ(JSONRead::wholeInt(object, "n"), 4);
    EXPECT_EQ(JSONRead::wholeInt(object, "low"), INT32_MIN);
    EXPECT_EQ(JSONRead::wholeInt(object, "high"), INT32_MAX);
    for (const char* key : {"over", "under", "half", "text", "missing"})
        EXPECT_EQ(JSONRead::wholeInt(object, key), std::nullopt) << key;
}

// The quoting rule the agents' settings writer and the clip index share.
TEST(JSONText, QuotesWithShortEscapesAndLeavesSlashesAlone) {
    std::string out = "x";
    JSONText::appendQuoted(out, std::string("a/b \"q\" \\ \n\r\t \x01\x1f \xC3\xA9 end"));
    EXPECT_EQ(out, "x\"a/b \\\"q\\\" \\\\ \\n\\r\\t \\u0001\\u001f \xC3\xA9 end\"");
    EXPECT_EQ(JSONText::parse(out.substr(1)).value(), std::string("a/b \"q\" \\ \n\r\t \x01\x1f \xC3\xA9 end"));
}

TEST(JSONText, CompactTextIsNlohmannsOwn) {
    const JSON values[] = {
        JSON::object(),
        JSON::array(),
        JSON{{"ok", true}, {"none", nullptr}, {"no", false}, {"b", {1, -2, 3.5}}, {"a", "x"}},
        JSON{{"text", std::string("q\" \\ / \b\f\n\r\t \x01\x1f\x7f \xC3\xA9 \xF0\x9F\x87\xAB")}},
        JSON{{std::string("k\n\xC3\xA9"), JSON::array({JSON::object(), JSON::array()})}},
        JSON{{"bad", std::string("a\xFF" "b\xC3")}, {std::string("\xED\xA0\x80"), 1}}, // ill-formed UTF-8
        JSON{{"min", std::numeric_limits<std::int64_t>::min()}, {"max", std::numeric_limits<std::uint64_t>::max()}},
        JSON{{"floats", {0.1, 1.0, -0.0, 1e300, 2.5e-8, std::nan(""), 1e20}}},
        JSON(42), JSON("plain"), JSON(nullptr),
    };
    for (const JSON& value : values)
        EXPECT_EQ(JSONText::compact(value), value.dump(-1, ' ', false, JSON::error_handler_t::replace));
}
