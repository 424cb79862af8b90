#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace corrivane::host {

/// A list that its copies share until one of them is changed: what makes a copy of a scene cheap. Reading is safe from
/// any number of threads.
template <typename T>
class SharedList {
public:
    using value_type = T;

    std::size_t size() const { return m_list->size(); }
    bool empty() const { return m_list->empty(); }
    const T& operator[](std::size_t index) const { return (*m_list)[index]; }
    const T& at(std::size_t index) const { return m_list->at(index); }
    auto begin() const { return m_list->cbegin(); }
    auto end() const { return m_list->cend(); }

    /// The list as this one's alone; a copy of it first where it is shared.
    std::vector<T>& own() {
        if (m_list.use_count() > 1) m_list = std::make_shared<std::vector<T>>(*m_list);
        return *m_list;
    }
    T& operator[](std::size_t index) { return own()[index]; }
    auto begin() { return own().begin(); }
    auto end() { return own().end(); }
    void push_back(T element) { own().push_back(std::move(element)); }
    void resize(std::size_t count) { own().resize(count); }

    /// Whether both are one list, which nobody has changed since.
    bool is_same_as(const SharedList& other) const { return m_list == other.m_list; }

private:
    std::shared_ptr<std::vector<T>> m_list = std::make_shared<std::vector<T>>();
};

}  // namespace corrivane::host
