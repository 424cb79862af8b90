#pragma once

#include <string>
#include <utility>

/// What 3ds Max itself throws: a message and no common base with std::exception.
class MAXException {
public:
    explicit MAXException(std::string text) : message(std::move(text)) {}

    std::string message;
};
