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
void sort_elements(ArrayValue& array, std::size_t first, std::size_t end, Less less) {
    // The copy's values stay alive through this array, whatever the comparison does to the other.
    auto* copy = new ArrayValue;
    const Rooted root(copy);
    for (Value* element : array.elements())
        copy->append(element);
    const auto from = static_cast<std::ptrdiff_t>(first);
    std::vector<Value*> sorted(copy->elements().begin() + from,
                               copy->elements().begin() + static_cast<std::ptrdiff_t>(end));
    merge_sort(sorted, less);
    array.resize(copy->elements().size());
    std::copy(copy->elements().begin(), copy->elements().end(), array.elements().begin());
    std::copy(sorted.begin(), sorted.end(), array.elements().begin() + from);
}

Value* sort(ArrayValue& array) {
    sort_elements(array, 0, array.elements().size(), is_less);
    return &array;
}

/// What `qsort array compare start:2 end:5 key:#size` and bsearch have in common: the function, which gives a number
/// below 0 when its first argument comes first, the part of the array, and keywords that are the function's.
class Comparison {
public:
    Comparison(Value* function, const ArrayValue& array, const Arguments& arguments) : m_function(function) {
        const auto bound = [&](const char* keyword, std::size_t otherwise) {
            Value* given = arguments.keyword(keyword);
            return given == nullptr ? otherwise : std::min(array_index(given), array.elements().size());
        };
        m_first = bound("start", 0);
        m_end = arguments.keyword("end") == nullptr ? array.elements().size()
                                                    : std::min(bound("end", 0) + 1, array.elements().size());
        for (std::size_t i = 0; i < arguments.keyword_count(); ++i) {
            const KeywordArgument& keyword = arguments.keywords()[i];
            if (*keyword.name != "start" && *keyword.name != "end" && *keyword.name != "index")
                m_keywords.push_back(keyword);
        }
    }
    std::size_t first() const { return m_first; }
    std::size_t end() const { return std::max(m_first, m_end); }

    int operator()(Value* left, Value* right) const {
        static const std::string name = "the function that compares";
        Value* values[] = {left, right};
        Arguments compared(name, values, 2, m_keywords.data(), m_keywords.size());
        return to_integer(call_value(m_function, compared));
    }

private:
    Value* m_function;
    std::size_t m_first;
    std::size_t m_end;
    std::vector<KeywordArgument> m_keywords;
};

Value* sort_by_function(Arguments& arguments) {
    arguments.require(2);
    auto& array = FromScript<ArrayValue&>::from(arguments[0]);
    const Comparison compare(arguments[1], array, arguments);
    sort_elements(array, compare.first(), compare.end(),
                  [&](Value* left, Value* right) { return compare(left, right) < 0; });
    return &array;
}

/// `bsearch wanted array compare`: the element that the function finds equal, of a sorted array.
Value* search_sorted(Arguments& arguments) {
    arguments.require(3);
    auto& array = FromScript<ArrayValue&>::from(arguments[1]);
    const Comparison compare(arguments[2], array, arguments);
    std::size_t first = compare.first();
    std::size_t end = compare.end();
    while (first < end && end <= array.elements().size()) {
        const std::size_t middle = first + (end - first) / 2;
        const Rooted element(array.elements()[middle]);
        const int order = compare(arguments[0], element.get());
        if (order == 0) return element.get();
        (order < 0 ? end : first) = order < 0 ? middle : middle + 1;
    }
    return &undefined;
}

/// A new array of the elements, each once.
Value* make_unique(ArrayValue& array) {
    auto* unique = new ArrayValue;
    const Rooted root(unique);
    const std::vector<Value*> elements = array.elements();
    for (Value* element : elements)
        append_if_unique(*unique, element);
    return unique;
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
        {"bsearch", search_sorted},
        {"makeUniqueArray", make_unique},
    });
}

}  // namespace corrivane::host
