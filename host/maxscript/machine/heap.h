#pragma once

#include <max/maxscript/value.h>

#include <cstddef>

/// The garbage-collected heap behind Collectable: mark and sweep, from precise roots. Roots are every
/// thread's local-value frames and current result, and what the root tracers mark.
namespace corrivane::host {

struct HeapStatistics {
    std::size_t objects = 0;
    /// Of the objects themselves.
    std::size_t object_bytes = 0;
    /// Of what objects hold outside the heap: texts, elements of arrays.
    std::size_t held_bytes = 0;
    std::size_t collections = 0;
};

HeapStatistics heap_statistics();

/// Takes everything that no root reaches.
void collect_garbage();

/// Collects at every allocation from now on, so that a value without a root is found out at once.
void set_gc_stress(bool collect_always);

/// 4 GiB; where addresses have 32 bits, 1 GiB.
inline constexpr std::size_t default_heap_limit = std::size_t{1} << (sizeof(std::size_t) > 4 ? 32 : 30);

/// The most that objects and what they hold may take together; what goes beyond is std::bad_alloc. 4 GiB
/// at first.
void set_heap_limit(std::size_t bytes);

/// Adds a function that marks roots, through Collectable::gc_mark, at every collection.
void add_root_tracer(void (*trace)());

/// An amount of memory outside the heap that an object holds: counts towards the limit, and towards the
/// next collection.
class HeldBytes {
public:
    HeldBytes() = default;
    ~HeldBytes() { update(0); }
    HeldBytes(const HeldBytes&) = delete;
    HeldBytes& operator=(const HeldBytes&) = delete;

    /// The amount is now this. Call it before memory is taken and after it is freed: it throws
    /// std::bad_alloc, and changes nothing, when that would go beyond the limit.
    void update(std::size_t bytes);

private:
    std::size_t m_bytes = 0;
};

}  // namespace corrivane::host
