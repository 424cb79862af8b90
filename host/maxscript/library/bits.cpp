#include "maxscript/library/library.h"
#include "maxscript/machine/signature.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

/// The functions of `bit`: whole numbers as 32 bits, counted from 1.
namespace corrivane::host {

namespace {

std::uint32_t mask_of(int number) {
    if (number < 1 || number > 32)
        raise_runtime_error("bit: there are bits 1 to 32, got: " + std::to_string(number));
    return std::uint32_t{1} << (number - 1);
}

int set_bit(int bits, int number, bool in) {
    const auto before = static_cast<std::uint32_t>(bits);
    return static_cast<int>(in ? before | mask_of(number) : before & ~mask_of(number));
}

/// Leftwards by a positive number of places. The sign is shifted in from the left.
int shift(int bits, int places) {
    if (places <= -32) return bits < 0 ? -1 : 0;
    if (places >= 32) return 0;
    if (places < 0) return bits >> -places;
    return static_cast<int>(static_cast<std::uint32_t>(bits) << places);
}

int from_hex(const std::string& text) {
    const std::size_t start = text.starts_with("0x") || text.starts_with("0X") ? 2 : 0;
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, fault] = std::from_chars(text.data() + start, end, number, 16);
    if (fault != std::errc() || stopped != end)
        raise_runtime_error("bit.hexAsInt: no hexadecimal number: \"" + text + "\"");
    return static_cast<int>(number);
}

std::string to_hex(int number) {
    char text[9];
    return {text, std::to_chars(text, text + sizeof text, static_cast<std::uint32_t>(number), 16).ptr};
}

/// A character of one byte.
std::string character(int number) {
    if (number < 0 || number > 255)
        raise_runtime_error("bit.intAsChar takes 0 to 255, got: " + std::to_string(number));
    return std::string(1, static_cast<char>(number));
}

int character_number(const std::string& text) {
    if (text.empty()) raise_runtime_error("bit.charAsInt: the string is empty");
    return static_cast<unsigned char>(text.front());
}

}  // namespace

void define_bit_functions() {
    define_functions({
        {"bit.and", [](int left, int right) { return left & right; }},
        {"bit.or", [](int left, int right) { return left | right; }},
        {"bit.xor", [](int left, int right) { return left ^ right; }},
        {"bit.not", [](int bits) { return ~bits; }},
        {"bit.shift", shift},
        {"bit.set", set_bit},
        {"bit.get",
         [](int bits, int number) { return (static_cast<std::uint32_t>(bits) & mask_of(number)) != 0; }},
        {"bit.flip", [](int bits, int number) { return bits ^ static_cast<int>(mask_of(number)); }},
        {"bit.hexAsInt", from_hex},
        {"bit.intAsHex", to_hex},
        {"bit.intAsChar", character},
        {"bit.charAsInt", character_number},
        {"bit.floatAsInt", [](float number) { return std::bit_cast<int>(number); }},
        {"bit.intAsFloat", [](int bits) { return std::bit_cast<float>(bits); }},
        {"bit.isNAN", [](float number) { return std::isnan(number); }},
        {"bit.isFinite", [](float number) { return std::isfinite(number); }},
        {"bit.swapBytes",
         [](int bits, int first, int second) {
             const auto byte = [&](int number) {
                 return (static_cast<std::uint32_t>(bits) >> (8 * (number - 1))) & 0xFFU;
             };
             mask_of(8 * first);
             mask_of(8 * second);
             const std::uint32_t difference = byte(first) ^ byte(second);
             return static_cast<int>(static_cast<std::uint32_t>(bits) ^ (difference << (8 * (first - 1))) ^
                                     (difference << (8 * (second - 1))));
         }},
    });
}

}  // namespace corrivane::host
