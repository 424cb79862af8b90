#pragma once

#include <exception>
#include <string>

namespace corrivane::test {

/// The text of the std::exception that an operation throws; "no exception" when it returns.
template <typename Operation>
std::string message_of(Operation operation) {
    try {
        operation();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no exception";
}

}  // namespace corrivane::test
