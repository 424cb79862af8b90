#pragma once

namespace corrivane::worker {

/// One function for each kind of event, for std::visit.
template <typename... Case>
struct Cases : Case... {
    using Case::operator()...;
};
// Not every compiler deduces this by itself.
template <typename... Case>
Cases(Case...) -> Cases<Case...>;

}  // namespace corrivane::worker
