#pragma once

#include "maxscript/machine/conversions.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/heap.h"
#include "maxscript/machine/script_value.h"

#include <max/maxscript/value.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corrivane::host {

extern const ValueMetaClass Integer_class;
extern const ValueMetaClass Float_class;
extern const ValueMetaClass Integer64_class;
extern const ValueMetaClass Double_class;
extern const ValueMetaClass Name_class;
extern const ValueMetaClass Array_class;
extern const ValueMetaClass Dictionary_class;
extern const ValueMetaClass Class_class;
extern const ValueMetaClass Unsupplied_class;
extern const ValueMetaClass FileStream_class;
extern const ValueMetaClass StringStream_class;
extern const ValueMetaClass Listener_class;
extern const ValueMetaClass Parser_class;
extern const ValueMetaClass Code_class;
extern const ValueMetaClass Function_class;
/// A function too for scripts, which tell classes by their names.
extern const ValueMetaClass BoundFunction_class;
extern const ValueMetaClass Primitive_class;
extern const ValueMetaClass StructDefinition_class;
extern const ValueMetaClass Struct_class;
extern const ValueMetaClass Interface_class;
extern const ValueMetaClass Namespace_class;

/// A value as the class that it belongs to, null when it belongs to another.
template <typename T>
T* value_as(Value* value) {
    return value->is(T::metaclass) ? static_cast<T*>(value) : nullptr;
}

/// A whole number of 32 bits.
class IntegerValue final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Integer_class;

    explicit IntegerValue(int number) : m_number(number) {}
    ~IntegerValue() override = default;

    int number() const { return m_number; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;

private:
    int m_number;
};

/// A number of single precision.
class FloatValue final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Float_class;

    explicit FloatValue(float number) : m_number(number) {}

    float number() const { return m_number; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;

private:
    float m_number;
};

/// A whole number of 64 bits.
class Integer64Value final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Integer64_class;

    explicit Integer64Value(std::int64_t number) : m_number(number) {}

    std::int64_t number() const { return m_number; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;

private:
    std::int64_t m_number;
};

/// A number of double precision.
class DoubleValue final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Double_class;

    explicit DoubleValue(double number) : m_number(number) {}

    double number() const { return m_number; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;

private:
    double m_number;
};

/// `#text`. There is one object for one text, whatever its case, so names are equal when they are the
/// same object.
class NameValue final : public Value {
public:
    static constexpr const ValueMetaClass& metaclass = Name_class;

    /// The name that there is, or a new one that keeps the case of `text`.
    static NameValue* intern(std::string_view text);

    const std::string& text() const { return m_text; }
    /// In lower case.
    const std::string& key() const { return m_key; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    const char* to_string() override { return m_text.c_str(); }
    void sprin1(CharStream* stream) override;

private:
    NameValue(std::string_view text, std::string key) : m_text(text), m_key(std::move(key)) {}
    ~NameValue() override;

    std::string m_text;
    std::string m_key;
};

/// `#(…)`, counted from 1.
class ArrayValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Array_class;

    const std::vector<Value*>& elements() const { return m_elements; }
    /// Values that are alive may be put in any order; their number stays.
    std::vector<Value*>& elements() { return m_elements; }

    /// Grows or shrinks; new elements are undefined.
    void resize(std::size_t count);
    void append(Value* element);
    /// `index` counts from 0 and is at most the number of elements.
    void insert(std::size_t index, Value* element);
    void remove(std::size_t index);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    Value* get_property(const std::string& name) override;
    void set_property(const std::string& name, Value* content) override;
    Value* get_element(Value* index) override;
    void set_element(Value* index, Value* content) override;
    bool is_collection() const override { return true; }
    Value* collection_element(std::size_t index) override {
        return index < m_elements.size() ? m_elements[index] : nullptr;
    }
    Value* copied() override;
    Value* converted(const ValueMetaClass& wanted) override;

private:
    void make_room(std::size_t count);

    std::vector<Value*> m_elements;
    HeldBytes m_held;
    bool m_printing = false;
};

/// Values by name or text, in the order in which they came.
class DictionaryValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Dictionary_class;

    void set(const std::string& key, Value* content);

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    void gc_trace() override;
    Value* get_property(const std::string& name) override;
    Value* get_element(Value* key) override;
    void set_element(Value* key, Value* content) override;

private:
    struct Entry {
        std::string key;
        Value* content;
    };
    Entry* find(std::string_view key);

    std::vector<Entry> m_entries;
};

/// A class as scripts see it: what classOf gives and `as` takes.
class ClassValue final : public ScriptValue {
public:
    static constexpr const ValueMetaClass& metaclass = Class_class;

    /// Called, a class makes a value, if there is a function that does.
    explicit ClassValue(const ValueMetaClass& described, HostFunction maker = {})
        : m_described(described), m_maker(std::move(maker)) {}

    const ValueMetaClass& described() const { return m_described; }

    const ValueMetaClass& value_class() const override { return metaclass; }
    void sprin1(CharStream* stream) override;
    bool equals(Value* other) override;
    Value* call(Arguments& arguments) override;

private:
    const ValueMetaClass& m_described;
    HostFunction m_maker;
};

/// The values `true` and `false`. Not on the heap.
extern Value& true_value;
extern Value& false_value;
/// What a keyword parameter holds that was neither given nor has a default. Not on the heap.
extern Value& unsupplied;

/// A text in lower case, as MAXScript compares identifiers: A to Z only.
std::string lower_case(std::string_view text);

/// Whether a value is a number of any kind.
bool is_number(Value* value);

/// A number's printed form: 6 significant digits, and a point or an exponent always.
std::string float_text(float number);

/// `left == right`: numbers by value, strings by text, names without case, everything else by identity.
bool values_equal(Value* left, Value* right);

/// A position in an array of what scripts give, counted from 0; a MAXScript error when it is not above 0.
std::size_t array_index(Value* index);

}  // namespace corrivane::host
