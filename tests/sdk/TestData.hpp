#pragma once

#include "BrindKit/foundation/AtomicFile.hpp"
#include "BrindKit/foundation/JSON.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace brindtest {

/// The bytes of a file under tests/data, or "" (and a failure) when it cannot be read.
inline std::string testData(const std::string& relative) {
    const auto text = brind::AtomicFile::read(std::string(BRIND_TEST_DATA) + "/" + relative);
    EXPECT_TRUE(text.has_value()) << relative;
    return text.value_or("");
}

/// A JSON file under tests/data: the rows of a table-driven test.
inline brind::JSON testTable(const std::string& relative) {
    return brind::JSON::parse(testData(relative));
}

/// A text of a table's row where null stands for nothing.
inline std::optional<std::string> optionalText(const brind::JSON& value) {
    return value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
}

} // namespace brindtest
