#pragma once

#include "maxscript/machine/properties.h"
#include "maxscript/machine/values.h"

#include <vector>

namespace corrivane::host {

extern const ValueMetaClass BitArray_class;

/// `#{1..3, 7}`: a set of numbers from 1 on.
class BitArrayValue final : public TabledValue<BitArrayValue> {
public:
    static constexpr const ValueMetaClass& metaclass = BitArray_class;
    static const PropertyTable<BitArrayValue>& properties();

    bool has(std::size_t number) const { return number <= m_bits.size() && number > 0 && m_bits[number - 1]; }
    /// Puts a number in or takes it out; numbers are 1 to 100 million.
    void set(std::size_t number, bool in);
    /// The greatest number that can be asked for; grows with what is put in.
    std::size_t count() const { return m_bits.size(); }
    void set_count(std::size_t count);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    Value* operate(Operator operation, Value* other, bool reversed) override;
    Value* negated() override;
    Value* converted(const ValueMetaClass& wanted) override;
    Value* get_element(Value* index) override;
    void set_element(Value* index, Value* content) override;
    bool equals(Value* other) override;
    bool is_collection() const override { return true; }
    Value* collection_element(std::size_t index) override;
    Value* copied() override;

private:
    HeldBytes m_held;
    std::vector<bool> m_bits;
    /// The element that was asked for last, so that the next one is found from there.
    std::size_t m_last_index = 0;
    std::size_t m_last_number = 0;
};

/// A bit array of an array's numbers.
BitArrayValue* make_bit_array(const ArrayValue& numbers);

}  // namespace corrivane::host
