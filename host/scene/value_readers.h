#pragma once

#include "json/value.h"

#include <array>
#include <string>
#include <string_view>

// Members of a part that may not be there and have a default then. Each throws json::Error for one of the wrong type
// or range.
namespace corrivane::host {

inline std::string text_or(const json::Value& part, std::string_view key, const char* fallback) {
    const auto value = part.find(key);
    return std::string(value ? value->text() : fallback);
}

inline bool flag_or(const json::Value& part, std::string_view key, bool fallback) {
    const auto value = part.find(key);
    return value ? value->boolean() : fallback;
}

inline int whole_or(const json::Value& part, std::string_view key, int low, int high, int fallback) {
    const auto value = part.find(key);
    return value ? static_cast<int>(value->whole(low, high)) : fallback;
}

struct Range {
    double low = 0;
    double high = 1;
};

inline float number_or(const json::Value& part, std::string_view key, Range range, float fallback) {
    const auto value = part.find(key);
    return value ? static_cast<float>(value->number(range.low, range.high)) : fallback;
}

/// An array of so many numbers.
template <std::size_t count>
std::array<float, count> numbers_or(const json::Value& part, std::string_view key, Range range,
                                    std::array<float, count> fallback) {
    const auto list = part.find(key);
    if (!list) return fallback;
    if (!list->is_array() || list->count() != count) {
        list->refuse(std::to_string(count) + " numbers" +
                     (list->is_array() ? ", not " + std::to_string(list->count()) : ""));
    }
    std::size_t i = 0;
    for (const json::Value number : list->elements())
        fallback[i++] = static_cast<float>(number.number(range.low, range.high));
    return fallback;
}

}  // namespace corrivane::host
