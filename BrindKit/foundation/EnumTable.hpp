#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

/// One table of rows per enumeration keeps each case's facts (its stored name, label, symbol, ...)
/// together. A row is an aggregate with a `value` member (the case) and, for an enumeration with a
/// text form, a `name` member (that text); the other columns are the enumeration's own. The table
/// lists the cases in declaration order, and `static_assert(EnumTable::coversEveryCase(rows))`
/// beside it stops the build when a case is added to the enumeration without its row.
namespace brind::EnumTable {

/// The row of an enumeration that has nothing but a name per case.
template <typename Enum>
struct NameRow {
    Enum value;
    std::string_view name;
};

namespace detail {

/// True when `value` is one of its enumeration's named cases. GCC and Clang spell a template
/// argument that names a case as `Scope::Enum::name` and any other value as `(Scope::Enum)N`.
template <auto value>
consteval bool isNamedCase() {
    const std::string_view signature = __PRETTY_FUNCTION__;
    const std::size_t argument = signature.rfind("= ");
    return argument != std::string_view::npos && signature[argument + 2] != '(';
}

enum class Probe { first, second };
// Should a compiler spell the cases differently, this stops the build instead of letting every
// table pass unchecked.
static_assert(isNamedCase<Probe::second>() && !isNamedCase<static_cast<Probe>(2)>(),
              "the compiler does not name enumeration cases the way EnumTable reads them");

/// The case a row is for; a list of the cases themselves is its own rows.
template <typename Row>
constexpr auto caseOf(const Row& row) {
    if constexpr (std::is_enum_v<Row>)
        return row;
    else
        return row.value;
}

} // namespace detail

/// True when the rows (or a plain list of cases, such as an `all...` array) hold every case of the
/// enumeration exactly once, in declaration order: row i holds the case whose value is i, and the
/// value after the last row names no case.
template <typename Row, std::size_t count>
consteval bool coversEveryCase(const std::array<Row, count>& rows) {
    using Enum = decltype(detail::caseOf(rows[0]));
    for (std::size_t index = 0; index < count; ++index) {
        if (std::cmp_not_equal(std::to_underlying(detail::caseOf(rows[index])), index))
            return false;
    }
    return !detail::isNamedCase<static_cast<Enum>(count)>();
}

/// The row of a case. The table covers every case (see `coversEveryCase`), so the case's value is
/// its row's index.
template <typename Row, std::size_t count>
constexpr const Row& row(const std::array<Row, count>& rows, decltype(Row::value) value) {
    return rows[static_cast<std::size_t>(std::to_underlying(value))];
}

/// The case whose name is `name`, byte for byte; nothing for any other text.
template <typename Row, std::size_t count>
constexpr std::optional<decltype(Row::value)> named(const std::array<Row, count>& rows,
                                                    std::string_view name) {
    for (const Row& candidate : rows) {
        if (candidate.name == name)
            return candidate.value;
    }
    return std::nullopt;
}

} // namespace brind::EnumTable
