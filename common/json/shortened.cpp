#include "json/shortened.h"

#include <algorithm>

namespace corrivane::json {

namespace {

bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

}  // namespace

std::string shortened(std::string_view text, std::size_t most) {
    std::size_t length = std::min(text.size(), most);
    while (length < text.size() && length > 0 && is_continuation(text[length]))
        --length;
    std::string result(text.substr(0, length));
    std::replace_if(
        result.begin(), result.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    if (length < text.size()) result += "…";
    return result;
}

}  // namespace corrivane::json
