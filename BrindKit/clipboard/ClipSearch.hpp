#pragma once

#include "BrindKit/clipboard/ClipItem.hpp"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brind::ClipSearch {

/// The lower-cased text a query is matched against: the item's text (its first 20000 characters),
/// the names of its files and its colour's hex, one per line.
std::string haystack(const ClipItem& item);

/// True when the characters of `needle` occur in `haystack` in the same order.
bool isSubsequence(std::string_view needle, std::string_view haystack);

/// How well an item matches a typed query; 0 when any word of the query matches nothing.
/// An exact match scores highest, then a prefix, a word start, an inner match, the source
/// application's name, the kind's keywords and finally a scattered match; pinned items get a bonus.
int score(const ClipItem& item, std::string_view query);

/// The items with a positive score, best first; equal scores keep their order.
std::vector<ClipItem> rank(const std::vector<ClipItem>& items, std::string_view query);

/// Which byte values occur in a text: a word with a byte its haystack lacks can match neither
/// inside it nor scattered through it, which spares scanning long haystacks.
using ByteSet = std::array<std::uint64_t, 4>;

ByteSet byteSet(std::string_view text);

/// What scoring needs of one item, computed once so that every keystroke of a search does not
/// lower-case the whole history again.
struct Prepared {
    std::string haystack;
    std::string appName; ///< the lower-cased source application name
    ByteSet haystackBytes{};

    friend bool operator==(const Prepared&, const Prepared&) = default;
};

Prepared prepare(const ClipItem& item);

/// One lower-cased word of a query.
struct Token {
    std::string text;
    bool fuzzy = false; ///< long enough to match keywords and scattered letters
    ByteSet bytes{};

    friend bool operator==(const Token&, const Token&) = default;
};

/// The query's words, split at blanks.
std::vector<Token> tokens(std::string_view query);

int score(const ClipItem& item, const Prepared& prepared, std::span<const Token> tokens);

} // namespace brind::ClipSearch
