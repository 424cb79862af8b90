#include "maxscript/machine/bit_array.h"

#include "maxscript/machine/operators.h"

#include <max/maxscript/streams.h>

#include <algorithm>

namespace corrivane::host {

const ValueMetaClass BitArray_class{"BitArray"};

namespace {

constexpr std::size_t most_bits = 100'000'000;

}  // namespace

void BitArrayValue::set_count(std::size_t count) {
    if (count > most_bits)
        raise_runtime_error("a bitArray cannot hold numbers beyond " + std::to_string(most_bits));
    m_held.update(count / 8);
    m_bits.resize(count);
    m_last_index = m_last_number = 0;
}

void BitArrayValue::set(std::size_t number, bool in) {
    if (number > m_bits.size()) {
        if (!in) return;
        set_count(number);
    }
    m_bits[number - 1] = in;
    m_last_index = m_last_number = 0;
}

const PropertyTable<BitArrayValue>& BitArrayValue::properties() {
    using B = BitArrayValue;
    static const auto set_bits = [](B& self) {
        return static_cast<int>(std::count(self.m_bits.begin(), self.m_bits.end(), true));
    };
    static const PropertyTable<B> table{
        property(
            "count", [](B& self) { return static_cast<int>(self.m_bits.size()); },
            [](B& self, int count) { self.set_count(static_cast<std::size_t>(std::max(count, 0))); }),
        read_only("numberSet", set_bits),
        read_only("isEmpty", [](B& self) { return set_bits(self) == 0; }),
    };
    return table;
}

void BitArrayValue::sprin1(CharStream* stream) {
    std::string text = "#{";
    for (std::size_t i = 1; i <= m_bits.size(); ++i) {
        if (!has(i)) continue;
        std::size_t last = i;
        while (has(last + 1))
            ++last;
        if (text.size() > 2) text += ", ";
        text += std::to_string(i) + (last > i ? ".." + std::to_string(last) : "");
        i = last;
    }
    stream->puts((text + "}").c_str());
}

Value* BitArrayValue::operate(Operator operation, Value* other, bool reversed) {
    const auto* others = value_as<BitArrayValue>(other);
    if (others == nullptr || reversed) return nullptr;
    if (operation != Operator::add && operation != Operator::subtract && operation != Operator::multiply)
        return nullptr;
    auto* result = new BitArrayValue;
    result->set_count(std::max(count(), others->count()));
    for (std::size_t i = 1; i <= result->count(); ++i) {
        const bool both = operation == Operator::add
                              ? has(i) || others->has(i)
                              : has(i) && others->has(i) == (operation == Operator::multiply);
        result->m_bits[i - 1] = both;
    }
    return result;
}

Value* BitArrayValue::negated() {
    auto* result = new BitArrayValue;
    result->set_count(count());
    std::transform(m_bits.begin(), m_bits.end(), result->m_bits.begin(), std::logical_not<bool>());
    return result;
}

Value* BitArrayValue::converted(const ValueMetaClass& wanted) {
    if (&wanted != &Array_class) return nullptr;
    auto* array = new ArrayValue;
    const Rooted root(array);
    for (std::size_t i = 1; i <= m_bits.size(); ++i)
        if (has(i)) array->append(make_integer(static_cast<int>(i)));
    return array;
}

Value* BitArrayValue::get_element(Value* index) {
    return make_boolean(has(array_index(index) + 1));
}

void BitArrayValue::set_element(Value* index, Value* content) {
    set(array_index(index) + 1, to_boolean(content));
}

bool BitArrayValue::equals(Value* other) {
    const auto* others = value_as<BitArrayValue>(other);
    if (others == nullptr) return false;
    for (std::size_t i = 1; i <= std::max(count(), others->count()); ++i)
        if (has(i) != others->has(i)) return false;
    return true;
}

Value* BitArrayValue::collection_element(std::size_t index) {
    std::size_t found = 0;
    std::size_t number = 0;
    if (m_last_number != 0 && index == m_last_index + 1) {
        found = m_last_index + 1;
        number = m_last_number;
    }
    for (++number; number <= m_bits.size(); ++number) {
        if (!has(number) || found++ != index) continue;
        m_last_index = index;
        m_last_number = number;
        return make_integer(static_cast<int>(number));
    }
    return nullptr;
}

Value* BitArrayValue::copied() {
    auto* copy = new BitArrayValue;
    copy->set_count(count());
    copy->m_bits = m_bits;
    return copy;
}

BitArrayValue* make_bit_array(const ArrayValue& numbers) {
    auto* bits = new BitArrayValue;
    for (Value* number : numbers.elements())
        bits->set(array_index(number) + 1, true);
    return bits;
}

}  // namespace corrivane::host
