#pragma once

#include <cstddef>
#include <type_traits>
#include <vector>

namespace corrivane {

using Bytes = std::vector<unsigned char>;

template <typename Number>
void put_big_endian(Bytes& bytes, Number number) {
    for (int shift = 8 * (int(sizeof number) - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(std::make_unsigned_t<Number>(number) >> shift));
}

template <typename Number>
void put_little_endian(Bytes& bytes, Number number) {
    for (std::size_t shift = 0; shift < 8 * sizeof number; shift += 8)
        bytes.push_back(static_cast<unsigned char>(std::make_unsigned_t<Number>(number) >> shift));
}

}  // namespace corrivane
