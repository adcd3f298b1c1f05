#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

namespace brind {

/// The platform JSON value (nlohmann::json): objects keep their keys sorted, which makes every
/// dump a stable, sorted, compact text.
using JSON = nlohmann::json;

namespace JSONText {

/// Parses JSON without throwing; the error carries the reader's message.
std::expected<JSON, std::string> parse(std::string_view text);

/// Compact text with sorted keys; "/" is not escaped and ill-formed UTF-8 is replaced, never thrown.
std::string compact(const JSON& value);

/// Appends `text` as a JSON string exactly as `compact` writes a string value, so a caller can write
/// a small object of known keys (in sorted order) without building one.
void appendCompactString(std::string& out, std::string_view text);

/// Two-space indented text with sorted keys, for files people may read.
std::string pretty(const JSON& value);

/// Appends `text` as a JSON string: backslash, double quote, line feed, carriage return and tab as
/// short escapes, other characters below U+0020 as "\u00xx", everything else (the slash too) as it
/// is. The bytes are taken as they are; a caller whose text may be ill-formed UTF-8 repairs it first.
void appendQuoted(std::string& out, std::string_view text);

} // namespace JSONText

/// Lenient readers: a missing key or a value of another type is nothing.
namespace JSONRead {

const JSON* member(const JSON& object, std::string_view key);
/// Like `member`, but a key holding null counts as absent, as it does for every optional key.
const JSON* present(const JSON& object, std::string_view key);
std::optional<std::string> string(const JSON& object, std::string_view key);
std::optional<double> number(const JSON& object, std::string_view key);
std::optional<bool> boolean(const JSON& object, std::string_view key);

/// A JSON integer that fits 64 signed bits; a larger one is nothing, never a wrapped negative.
std::optional<std::int64_t> integer(const JSON& value);
std::optional<std::int64_t> integer(const JSON& object, std::string_view key);

/// Like `integer`, and also a floating-point number with no fraction up to 2^53, where doubles still
/// hold every whole number: some writers send 2.0 for 2.
std::optional<std::int64_t> wholeNumber(const JSON& value);

/// A whole number, read as by `wholeNumber`, that also fits an `int`; a larger one is nothing, never
/// a truncated value.
std::optional<int> wholeInt(const JSON& value);
/// The member `key` of an object read as by `wholeInt(value)`; nothing when it is missing.
std::optional<int> wholeInt(const JSON& object, std::string_view key);

} // namespace JSONRead

} // namespace brind
