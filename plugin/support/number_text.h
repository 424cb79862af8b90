#pragma once

#include <charconv>
#include <string>

/// A float as the farm link writes it: at most 7 significant digits in general notation (50, 12.5, 33.33333,
/// 1e+07), whatever the locale.
inline std::string float_text(float value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 7).ptr;
    return {text, end};
}
