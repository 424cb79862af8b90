#include "maxscript/library/library.h"
#include "maxscript/machine/functions.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/signature.h"

#include <algorithm>

namespace corrivane::host {

namespace {

/// The position of an element, counted from 1; 0 when it is not there.
int find_position(const ArrayValue& array, Value* wanted) {
    const auto found = std::find_if(array.elements().begin(), array.elements().end(),
                                    [&](Value* element) { return values_equal(element, wanted); });
    return found == array.elements().end() ? 0 : static_cast<int>(found - array.elements().begin()) + 1;
}

Value* append(ArrayValue& array, Value* element) {
    array.append(element);
    return &array;
}

bool append_if_unique(ArrayValue& array, Value* element) {
    const bool is_new = find_position(array, element) == 0;
    if (is_new) array.append(element);
    return is_new;
}

/// `insertItem element array position`.
Value* insert_item(Value* element, ArrayValue& array, Value* index) {
    const std::size_t position = array_index(index);
    if (position > array.elements().size()) array.resize(position);
    array.insert(position, element);
    return &array;
}

Value* delete_item(ArrayValue& array, Value* index) {
    const std::size_t position = array_index(index);
    if (position >= array.elements().size())
        raise_runtime_error("array index out of range: " + excerpt(index));
    array.remove(position);
    return &array;
}

/// `join array other`: the other's elements behind the array's own.
Value* join(ArrayValue& array, ArrayValue& other) {
    const std::vector<Value*> added = other.elements();
    for (Value* element : added)
        array.append(element);
    return &array;
}

/// Merges runs of twice the length until one is left; equal values keep their order. The standard library's
/// sorts leave the range when a comparison contradicts itself, as a script's may.
template <typename Less>
void merge_sort(std::vector<Value*>& values, Less less) {
    const std::size_t count = values.size();
    std::vector<Value*> merged(count);
    for (std::size_t length = 1; length < count; length *= 2) {
        for (std::size_t begin = 0; begin < count; begin += 2 * length) {
            const std::size_t middle = std::min(begin + length, count);
            const std::size_t end = std::min(middle + length, count);
            std::size_t left = begin;
            std::size_t right = middle;
            for (std::size_t position = begin; position < end; ++position) {
                const bool from_right = left == middle || (right < end && less(values[right], values[left]));
                merged[position] = values[from_right ? right++ : left++];
            }
        }
        values.swap(merged);
    }
}

/// Sorts a copy, since a comparison may fail half-way, and may be a script that uses the array.
template <typename Less>
void sort_elements(ArrayValue& array, Less less) {
    // The copy's values stay alive through this array, whatever the comparison does to the other.
    auto* copy = new ArrayValue;
    const Rooted root(copy);
    for (Value* element : array.elements())
        copy->append(element);
    std::vector<Value*> sorted = copy->elements();
    merge_sort(sorted, less);
    array.resize(sorted.size());
    std::copy(sorted.begin(), sorted.end(), array.elements().begin());
}

Value* sort(ArrayValue& array) {
    sort_elements(array, is_less);
    return &array;
}

/// `qsort array compare`: the function gives a number below 0 when its first argument comes first.
Value* sort_by_function(ArrayValue& array, Value* compare) {
    static const std::string name = "the function of qsort";
    sort_elements(array, [&](Value* left, Value* right) {
        Value* values[] = {left, right};
        Arguments compared(name, values, 2, nullptr, 0);
        return to_integer(call_value(compare, compared)) < 0;
    });
    return &array;
}

}  // namespace

void define_array_functions() {
    define_functions({
        {"append", append},
        {"appendIfUnique", append_if_unique},
        {"findItem", find_position},
        {"insertItem", insert_item},
        {"deleteItem", delete_item},
        {"join", join},
        {"sort", sort},
        {"qsort", sort_by_function},
    });
}

}  // namespace corrivane::host
