#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/functions.h"
#include "maxscript/operators.h"
#include "maxscript/runtime.h"
#include "maxscript/values.h"

#include <algorithm>

namespace corrivane::host {

namespace {

ArrayValue& array_argument(const Arguments& arguments, std::size_t index) {
    auto* array = value_as<ArrayValue>(arguments[index]);
    if (array == nullptr) raise_no_function(arguments.function(), arguments[index]);
    return *array;
}

/// The position of an element, counted from 1; 0 when it is not there.
int find_position(const ArrayValue& array, Value* wanted) {
    const auto found = std::find_if(array.elements().begin(), array.elements().end(),
                                    [&](Value* element) { return values_equal(element, wanted); });
    return found == array.elements().end() ? 0 : static_cast<int>(found - array.elements().begin()) + 1;
}

Value* append(Arguments& arguments) {
    arguments.require(2);
    array_argument(arguments, 0).append(arguments[1]);
    return arguments[0];
}

Value* append_if_unique(Arguments& arguments) {
    arguments.require(2);
    ArrayValue& array = array_argument(arguments, 0);
    const bool is_new = find_position(array, arguments[1]) == 0;
    if (is_new) array.append(arguments[1]);
    return make_boolean(is_new);
}

Value* find_item(Arguments& arguments) {
    arguments.require(2);
    return make_integer(find_position(array_argument(arguments, 0), arguments[1]));
}

/// `insertItem element array position`.
Value* insert_item(Arguments& arguments) {
    arguments.require(3);
    ArrayValue& array = array_argument(arguments, 1);
    const std::size_t position = array_index(arguments[2]);
    if (position > array.elements().size()) array.resize(position);
    array.insert(position, arguments[0]);
    return arguments[1];
}

Value* delete_item(Arguments& arguments) {
    arguments.require(2);
    ArrayValue& array = array_argument(arguments, 0);
    const std::size_t position = array_index(arguments[1]);
    if (position >= array.elements().size())
        raise_runtime_error("array index out of range: " + excerpt(arguments[1]));
    array.remove(position);
    return arguments[0];
}

/// `join array other`: the other's elements behind the array's own.
Value* join(Arguments& arguments) {
    arguments.require(2);
    ArrayValue& array = array_argument(arguments, 0);
    const std::vector<Value*> added = array_argument(arguments, 1).elements();
    for (Value* element : added)
        array.append(element);
    return arguments[0];
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

Value* sort(Arguments& arguments) {
    arguments.require(1);
    sort_elements(array_argument(arguments, 0), is_less);
    return arguments[0];
}

/// `qsort array compare`: the function gives a number below 0 when its first argument comes first.
Value* sort_by_function(Arguments& arguments) {
    arguments.require(2);
    static const std::string name = "the function of qsort";
    sort_elements(array_argument(arguments, 0), [&](Value* left, Value* right) {
        Value* values[] = {left, right};
        Arguments compared(name, values, 2, nullptr, 0);
        return to_integer(call_value(arguments[1], compared)) < 0;
    });
    return arguments[0];
}

}  // namespace

void define_array_functions() {
    define_function("append", append);
    define_function("appendIfUnique", append_if_unique);
    define_function("findItem", find_item);
    define_function("insertItem", insert_item);
    define_function("deleteItem", delete_item);
    define_function("join", join);
    define_function("sort", sort);
    define_function("qsort", sort_by_function);
}

}  // namespace corrivane::host
