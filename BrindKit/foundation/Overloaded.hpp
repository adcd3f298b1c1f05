#pragma once

namespace brind {

/// Visits a variant with one lambda per case: `std::visit(Overloaded{[](const A&) {...}, ...}, value)`.
template <typename... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};

} // namespace brind
