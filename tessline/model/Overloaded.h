/// @file
/// Visiting variants.
#pragma once

namespace tessline {

/// One function object of several: `std::visit(Overloaded{[](const A&) {...}, [](const B&) {...}},
/// variant)` compiles only if every alternative has its handler.
template <class... Handlers>
struct Overloaded : Handlers... {
  using Handlers::operator()...;
};

/// Lets the handlers be written down without naming their types.
template <class... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace tessline
