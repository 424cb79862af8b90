#include "maxscript/machine/heap.h"

#include "maxscript/machine/heap_pages.h"
#include "maxscript/machine/thread_state.h"

#include <max/maxscript/thread_locals.h>

#include <algorithm>
#include <new>
#include <vector>

namespace corrivane::host {

namespace {

// Small, so that a session of short scripts comes to a collection too, and large enough that marking what
// lives, which few scripts make large, costs little beside the allocations.
constexpr std::size_t least_debt = std::size_t{1} << 20;

/// Reaches the destructor that Collectable keeps to itself and its children.
struct EndOfLife : Collectable {
    static bool of(void* cell) {
        // The vtable pointer of an object is null until its constructor has begun: somebody is about to
        // build it.
        if (*static_cast<void**>(cell) == nullptr) return false;
        destroy(static_cast<Collectable*>(cell));
        return true;
    }
};

class Heap {
public:
    void* allocate(std::size_t size) {
        if (m_stress || m_debt >= m_debt_limit) collect();
        if (m_pages.bytes_in_use() + m_held + size > m_limit) collect_or_fail(size);
        m_debt += size;
        return m_pages.allocate(size);
    }

    void release(void* memory) { m_pages.release(memory); }

    void mark(Collectable* object) {
        // Values that are not on the heap, `ok` among them, live for ever.
        if (m_pages.state(object) != HeapPages::CellState::used) return;
        m_pages.set_marked(object);
        if (*reinterpret_cast<void**>(object) != nullptr) m_pending.push_back(object);
    }

    void collect() {
        if (m_collecting) return;
        m_collecting = true;
        trace_thread_roots();
        for (void (*trace)() : m_tracers)
            trace();
        while (!m_pending.empty()) {
            Collectable* object = m_pending.back();
            m_pending.pop_back();
            object->gc_trace();
        }
        m_pages.sweep(EndOfLife::of);
        ++m_collections;
        m_debt = 0;
        m_debt_limit = std::max(least_debt, m_pages.bytes_in_use() + m_held);
        m_collecting = false;
    }

    void change_held(std::size_t from, std::size_t to) {
        if (to > from) {
            const std::size_t more = to - from;
            if (more > m_limit || m_pages.bytes_in_use() + m_held > m_limit - more) throw std::bad_alloc();
            m_debt += more;
        }
        m_held += to - from;
    }

    HeapStatistics statistics() const {
        return {m_pages.cells_in_use(), m_pages.bytes_in_use(), m_held, m_collections};
    }
    void set_stress(bool stress) { m_stress = stress; }
    void set_limit(std::size_t bytes) { m_limit = bytes; }
    void add_tracer(void (*trace)()) { m_tracers.push_back(trace); }

private:
    void collect_or_fail(std::size_t size) {
        collect();
        if (m_pages.bytes_in_use() + m_held + size > m_limit) throw std::bad_alloc();
    }

    HeapPages m_pages;
    std::vector<Collectable*> m_pending;
    std::vector<void (*)()> m_tracers;
    /// Bytes taken since the last collection, and how many ask for the next one.
    std::size_t m_debt = 0;
    std::size_t m_debt_limit = least_debt;
    std::size_t m_held = 0;
    std::size_t m_limit = default_heap_limit;
    std::size_t m_collections = 0;
    bool m_stress = false;
    bool m_collecting = false;
};

Heap& heap() {
    // Never destroyed: a library may end its objects after the host's own statics are gone.
    static auto* const instance = new Heap;
    return *instance;
}

}  // namespace

HeapStatistics heap_statistics() {
    return heap().statistics();
}

void collect_garbage() {
    heap().collect();
}

void set_gc_stress(bool collect_always) {
    heap().set_stress(collect_always);
}

void set_heap_limit(std::size_t bytes) {
    heap().set_limit(bytes);
}

void add_root_tracer(void (*trace)()) {
    heap().add_tracer(trace);
}

void HeldBytes::update(std::size_t bytes) {
    heap().change_held(m_bytes, bytes);
    m_bytes = bytes;
}

}  // namespace corrivane::host

void* Collectable::heap_alloc(std::size_t size) {
    return corrivane::host::heap().allocate(size);
}

void Collectable::heap_free(void* memory) {
    corrivane::host::heap().release(memory);
}

void Collectable::gc_mark(Collectable* object) {
    corrivane::host::heap().mark(object);
}
