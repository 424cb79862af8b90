#include "maxscript/machine/bit_array.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/stack_check.h"
#include "maxscript/machine/values.h"

#include <max/maxscript/streams.h>

#include <algorithm>

namespace corrivane::host {

namespace {

// How many elements an array shows, unless `printAllElements` is on.
constexpr std::size_t most_shown = 20;

}  // namespace

std::size_t array_index(Value* index) {
    const int number = to_integer(index);
    if (number < 1) raise_runtime_error("array index must be +ve number, got: " + excerpt(index));
    return static_cast<std::size_t>(number) - 1;
}

Value* make_array() {
    return new ArrayValue;
}

Value* make_array(const std::vector<std::string>& texts) {
    Rooted array(new ArrayValue);
    for (const std::string& text : texts)
        append_to_array(array.get(), make_string(text));
    return array.get();
}

void append_to_array(Value* array, Value* element) {
    static_cast<ArrayValue*>(array)->append(element);
}

Value* make_dictionary() {
    return new DictionaryValue;
}

void set_in_dictionary(Value* dictionary, const std::string& key, Value* content) {
    static_cast<DictionaryValue*>(dictionary)->set(key, content);
}

void ArrayValue::make_room(std::size_t count) {
    if (count <= m_elements.capacity()) return;
    const std::size_t room = std::max(count, m_elements.capacity() * 2);
    m_held.update(room * sizeof(Value*));
    m_elements.reserve(room);
}

void ArrayValue::resize(std::size_t count) {
    make_room(count);
    m_elements.resize(count, &undefined);
}

void ArrayValue::append(Value* element) {
    make_room(m_elements.size() + 1);
    m_elements.push_back(element);
}

void ArrayValue::insert(std::size_t index, Value* element) {
    make_room(m_elements.size() + 1);
    m_elements.insert(m_elements.begin() + static_cast<std::ptrdiff_t>(index), element);
}

void ArrayValue::remove(std::size_t index) {
    m_elements.erase(m_elements.begin() + static_cast<std::ptrdiff_t>(index));
}

Value* ArrayValue::copied() {
    auto* copy = new ArrayValue;
    copy->make_room(m_elements.size());
    copy->m_elements = m_elements;
    return copy;
}

Value* ArrayValue::converted(const ValueMetaClass& wanted) {
    return &wanted == &BitArray_class ? make_bit_array(*this) : nullptr;
}

void ArrayValue::sprin1(CharStream* stream) {
    if (m_printing) {
        stream->puts("#(...)");
        return;
    }
    check_stack(thread_state());
    const PrintingScope printing(m_printing);
    stream->puts("#(");
    const std::size_t shown = thread_state().context.print_all_elements ? m_elements.size() : most_shown;
    for (std::size_t i = 0; i < m_elements.size(); ++i) {
        if (i > 0) stream->puts(", ");
        if (i == shown) {
            stream->puts("...");
            break;
        }
        m_elements[i]->sprin1(stream);
    }
    stream->puts(")");
}

void ArrayValue::gc_trace() {
    for (Value* element : m_elements)
        gc_mark(element);
}

Value* ArrayValue::get_property(const std::string& name) {
    if (name != "count") return ScriptValue::get_property(name);
    return make_integer(static_cast<int>(m_elements.size()));
}

void ArrayValue::set_property(const std::string& name, Value* content) {
    if (name != "count") return ScriptValue::set_property(name, content);
    const int count = to_integer(content);
    if (count < 0) raise_runtime_error("an array cannot have this count: " + excerpt(content));
    resize(static_cast<std::size_t>(count));
}

Value* ArrayValue::get_element(Value* index) {
    const std::size_t position = array_index(index);
    return position < m_elements.size() ? m_elements[position] : &undefined;
}

void ArrayValue::set_element(Value* index, Value* content) {
    const std::size_t position = array_index(index);
    if (position >= m_elements.size()) resize(position + 1);
    m_elements[position] = content;
}

DictionaryValue::Entry* DictionaryValue::find(std::string_view key) {
    const std::string wanted = lower_case(key);
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return lower_case(entry.key) == wanted; });
    return found == m_entries.end() ? nullptr : &*found;
}

void DictionaryValue::set(const std::string& key, Value* content) {
    if (Entry* entry = find(key)) {
        entry->content = content;
    } else {
        m_entries.push_back({key, content});
    }
}

void DictionaryValue::sprin1(CharStream* stream) {
    check_stack(thread_state());
    stream->puts("(Dictionary");
    for (const Entry& entry : m_entries) {
        stream->puts((" #" + entry.key + ":").c_str());
        entry.content->sprin1(stream);
    }
    stream->puts(")");
}

void DictionaryValue::gc_trace() {
    for (const Entry& entry : m_entries)
        gc_mark(entry.content);
}

Value* DictionaryValue::get_property(const std::string& name) {
    if (name == "count") return make_integer(static_cast<int>(m_entries.size()));
    if (name != "keys") return ScriptValue::get_property(name);
    Rooted keys(new ArrayValue);
    for (const Entry& entry : m_entries)
        append_to_array(keys.get(), make_name(entry.key));
    return keys.get();
}

Value* DictionaryValue::get_element(Value* key) {
    const Entry* entry = find(to_text(key));
    return entry == nullptr ? &undefined : entry->content;
}

void DictionaryValue::set_element(Value* key, Value* content) {
    set(to_text(key), content);
}

}  // namespace corrivane::host
