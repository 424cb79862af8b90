#pragma once

#include <max/function_publishing.h>

#include <cstddef>
#include <memory>

namespace quorvel::FPWrapper {

/// Bytes laid out as the platform's variable-argument list: one slot an item, whole numbers and addresses
/// alike. Texts are referred to, not copied.
class VarArgBuffer {
public:
    static constexpr std::size_t initial_capacity = 1024;

    void append(FPSlot item);
    void append(const char* text) { append(reinterpret_cast<FPSlot>(text)); }

    const FPSlot* list() const { return reinterpret_cast<const FPSlot*>(m_start.get()); }
    /// Bytes written and bytes there is room for.
    std::size_t size() const { return m_position; }
    std::size_t capacity() const { return m_capacity; }

private:
    void make_room();

    std::unique_ptr<std::byte[]> m_start = std::make_unique<std::byte[]>(initial_capacity);
    std::size_t m_capacity = initial_capacity;
    std::size_t m_position = 0;
};

}  // namespace quorvel::FPWrapper
