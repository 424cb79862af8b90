#pragma once

namespace corrivane::worker {

/// One function for each kind of event, for std::visit.
template <typename... Case>
struct Cases : Case... {
    using Case::operator()...;
};

}  // namespace corrivane::worker
