#include "function_publishing/var_arg_buffer.h"

#include <cstring>
#include <utility>

namespace quorvel::FPWrapper {

namespace {

/// The free bytes below which the buffer grows: no item is larger.
constexpr std::size_t reserve = 20;

}  // namespace

void VarArgBuffer::append(FPSlot item) {
    if (m_capacity - m_position < reserve) make_room();
    std::memcpy(m_start.get() + m_position, &item, sizeof item);
    m_position += sizeof item;
}

void VarArgBuffer::make_room() {
    const std::size_t capacity = m_capacity * 3 / 2;
    auto larger = std::make_unique<std::byte[]>(capacity);
    std::memcpy(larger.get(), m_start.get(), m_position);
    m_start = std::move(larger);
    m_capacity = capacity;
}

}  // namespace quorvel::FPWrapper
