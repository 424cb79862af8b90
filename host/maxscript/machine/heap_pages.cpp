#include "maxscript/machine/heap_pages.h"

#include "os/memory_pages.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#endif
#endif
#ifndef ASAN_POISON_MEMORY_REGION
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(0)
#endif

namespace corrivane::host {

namespace {

constexpr std::array<std::uint32_t, 13> cell_sizes{16,  32,  48,   64,   96,   128, 192,
                                                   256, 512, 1024, 2048, 4096, 8192};
// Address space, not memory. Less is taken where a limit forbids so much.
constexpr std::size_t wanted_reserve = std::size_t{1} << (sizeof(void*) > 4 ? 33 : 29);
constexpr std::size_t least_reserve = std::size_t{16} << 20;

}  // namespace

std::size_t HeapPages::size_class(std::size_t size) {
    const auto* found = std::lower_bound(cell_sizes.begin(), cell_sizes.end(), size);
    if (found == cell_sizes.end()) throw std::bad_alloc();
    return static_cast<std::size_t>(found - cell_sizes.begin());
}

void HeapPages::reserve() {
    for (std::size_t size = wanted_reserve; size >= least_reserve; size /= 2) {
        // One page more, to start at a multiple of the page size.
        void* memory = reserve_pages(size + page_size);
        if (memory == nullptr) continue;
        const auto address = reinterpret_cast<std::uintptr_t>(memory);
        m_base = reinterpret_cast<std::byte*>((address + page_size - 1) / page_size * page_size);
        m_reserved = size;
        return;
    }
    throw std::bad_alloc();
}

HeapPages::Page* HeapPages::new_page(std::size_t cell_size) {
    if (m_base == nullptr) reserve();
    void* memory = nullptr;
    if (!m_spare_pages.empty()) {
        memory = m_spare_pages.back();
        m_spare_pages.pop_back();
    } else {
        if ((m_pages_taken + 1) * page_size > m_reserved) throw std::bad_alloc();
        memory = m_base + m_pages_taken * page_size;
        if (!commit_pages(memory, page_size)) throw std::bad_alloc();
        ++m_pages_taken;
    }
    const std::size_t count = (page_size - sizeof(Page) - 16) / (cell_size + sizeof(CellState));
    const std::size_t first_cell = (sizeof(Page) + count * sizeof(CellState) + 15) / 16 * 16;
    auto* page = ::new (memory) Page{static_cast<std::uint32_t>(cell_size), static_cast<std::uint32_t>(count),
                                     0, 0, static_cast<std::uint32_t>(first_cell)};
    std::memset(page->states(), 0, count * sizeof(CellState));
    ASAN_POISON_MEMORY_REGION(page->cell(0), count * cell_size);
    return page;
}

void* HeapPages::take_cell(Page& page) {
    CellState* states = page.states();
    while (page.cursor < page.cell_count && states[page.cursor] != CellState::free)
        ++page.cursor;
    if (page.cursor == page.cell_count) return nullptr;
    states[page.cursor] = CellState::used;
    ++page.used;
    return page.cell(page.cursor++);
}

void* HeapPages::allocate(std::size_t size) {
    const std::size_t index = size_class(size);
    SizeClass& cells = m_classes[index];
    void* cell = nullptr;
    while (cells.current < cells.pages.size() && (cell = take_cell(*cells.pages[cells.current])) == nullptr)
        ++cells.current;
    if (cell == nullptr) {
        cells.pages.push_back(new_page(cell_sizes[index]));
        cell = take_cell(*cells.pages.back());
    }
    ASAN_UNPOISON_MEMORY_REGION(cell, cell_sizes[index]);
    std::memset(cell, 0, sizeof(void*));
    ++m_cells_in_use;
    m_bytes_in_use += cell_sizes[index];
    return cell;
}

void HeapPages::free_cell(Page& page, std::size_t index) {
    page.states()[index] = CellState::free;
    page.cursor = std::min(page.cursor, static_cast<std::uint32_t>(index));
    --page.used;
    --m_cells_in_use;
    m_bytes_in_use -= page.cell_size;
    ASAN_POISON_MEMORY_REGION(page.cell(index), page.cell_size);
}

void HeapPages::release(void* cell) {
    Page* page = page_of(cell);
    free_cell(*page,
              static_cast<std::size_t>(static_cast<std::byte*>(cell) - page->cell(0)) / page->cell_size);
    // Its page may lie before the one that is filled now; allocate must find it again.
    m_classes[size_class(page->cell_size)].current = 0;
}

void HeapPages::drop_empty_pages(SizeClass& cells) {
    const auto empty = std::stable_partition(cells.pages.begin(), cells.pages.end(),
                                             [](const Page* page) { return page->used != 0; });
    for (auto page = empty; page != cells.pages.end(); ++page) {
        ASAN_UNPOISON_MEMORY_REGION((*page)->cell(0), (*page)->cell_count * (*page)->cell_size);
        m_spare_pages.push_back(*page);
        // The memory goes back to the system; the addresses stay ours and read as zero.
        empty_pages(*page, page_size);
    }
    cells.pages.erase(empty, cells.pages.end());
}

HeapPages::Page* HeapPages::page_of(const void* address) const {
    const auto offset = static_cast<std::size_t>(static_cast<const std::byte*>(address) - m_base);
    return reinterpret_cast<Page*>(m_base + offset / page_size * page_size);
}

HeapPages::CellState* HeapPages::state_of(const void* cell) const {
    Page* page = page_of(cell);
    const auto offset = static_cast<std::size_t>(static_cast<const std::byte*>(cell) - page->cell(0));
    return page->states() + offset / page->cell_size;
}

HeapPages::CellState HeapPages::state(const void* address) const {
    const auto offset = reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(m_base);
    if (offset >= m_pages_taken * page_size) return CellState::free;
    Page* page = page_of(address);
    if (page->cell_size == 0) return CellState::free;
    const std::size_t in_page = offset % page_size;
    if (in_page < page->first_cell) return CellState::free;
    const std::size_t in_cells = in_page - page->first_cell;
    const std::size_t index = in_cells / page->cell_size;
    if (index >= page->cell_count || in_cells % page->cell_size != 0) return CellState::free;
    return page->states()[index];
}

}  // namespace corrivane::host
