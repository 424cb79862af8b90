#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace corrivane::host {

/// The memory behind the MAXScript heap: cells of some fixed sizes in pages of one reserved address range, so
/// that whether an address is a cell that is in use can be told for any address at all.
class HeapPages {
public:
    /// What a cell is; the collector moves cells between the last two.
    enum class CellState : std::uint8_t { free, used, marked };

    HeapPages() = default;
    HeapPages(const HeapPages&) = delete;
    HeapPages& operator=(const HeapPages&) = delete;

    /// A cell for `size` bytes whose first word is zero. Throws std::bad_alloc when the range is full or the
    /// size is above largest_cell.
    void* allocate(std::size_t size);
    /// Gives a cell in use back.
    void release(void* cell);

    /// The state of the cell that starts at an address; free when no cell does.
    CellState state(const void* address) const;
    void set_marked(void* cell) { *state_of(cell) = CellState::marked; }

    /// Ends a collection: calls `end_of_life(cell)` for every cell that is used but not marked, frees it when
    /// that returns true, and turns marked cells into used ones.
    template <typename EndOfLife>
    void sweep(EndOfLife end_of_life);

    std::size_t cells_in_use() const { return m_cells_in_use; }
    /// Bytes of the cells in use.
    std::size_t bytes_in_use() const { return m_bytes_in_use; }

    static constexpr std::size_t largest_cell = 8192;

private:
    struct Page {
        std::uint32_t cell_size;
        std::uint32_t cell_count;
        std::uint32_t used;
        /// No cell below this index is free.
        std::uint32_t cursor;
        std::uint32_t first_cell;

        CellState* states() { return reinterpret_cast<CellState*>(this + 1); }
        std::byte* cell(std::size_t index) {
            return reinterpret_cast<std::byte*>(this) + first_cell + index * cell_size;
        }
    };
    /// The pages of one cell size; those before `current` are full.
    struct SizeClass {
        std::vector<Page*> pages;
        std::size_t current = 0;
    };

    static constexpr std::size_t page_size = 65536;
    static constexpr std::size_t size_class_count = 13;

    static std::size_t size_class(std::size_t size);
    void reserve();
    Page* new_page(std::size_t cell_size);
    void* take_cell(Page& page);
    void free_cell(Page& page, std::size_t index);
    void drop_empty_pages(SizeClass& size_class);
    Page* page_of(const void* address) const;
    CellState* state_of(const void* cell) const;

    std::byte* m_base = nullptr;
    std::size_t m_reserved = 0;
    std::size_t m_pages_taken = 0;
    std::vector<Page*> m_spare_pages;
    SizeClass m_classes[size_class_count];
    std::size_t m_cells_in_use = 0;
    std::size_t m_bytes_in_use = 0;
};

template <typename EndOfLife>
void HeapPages::sweep(EndOfLife end_of_life) {
    for (SizeClass& size_class : m_classes) {
        for (Page* page : size_class.pages) {
            CellState* states = page->states();
            for (std::size_t i = 0; i < page->cell_count; ++i) {
                if (states[i] == CellState::marked) {
                    states[i] = CellState::used;
                } else if (states[i] == CellState::used && end_of_life(page->cell(i))) {
                    free_cell(*page, i);
                }
            }
        }
        drop_empty_pages(size_class);
        size_class.current = 0;
    }
}

}  // namespace corrivane::host
