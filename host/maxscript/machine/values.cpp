#include "maxscript/machine/values.h"

#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/steps.h"

#include <max/maxscript/streams.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unordered_map>

namespace corrivane::host {

const ValueMetaClass Integer_class{"Integer"};
const ValueMetaClass Float_class{"Float"};
const ValueMetaClass Integer64_class{"Integer64"};
const ValueMetaClass Double_class{"Double"};
const ValueMetaClass Name_class{"Name"};
const ValueMetaClass Array_class{"Array"};
const ValueMetaClass Dictionary_class{"Dictionary"};
const ValueMetaClass Class_class{"Value"};
const ValueMetaClass Unsupplied_class{"Unsupplied"};
const ValueMetaClass FileStream_class{"FileStream"};
const ValueMetaClass StringStream_class{"StringStream"};
const ValueMetaClass Listener_class{"WindowStream"};
const ValueMetaClass Parser_class{"Parser"};
const ValueMetaClass Code_class{"CodeBlock"};
const ValueMetaClass Function_class{"MAXScriptFunction"};
const ValueMetaClass BoundFunction_class{"MAXScriptFunction"};
const ValueMetaClass Primitive_class{"Primitive"};
const ValueMetaClass StructDefinition_class{"StructDef"};
const ValueMetaClass Struct_class{"Struct"};
const ValueMetaClass Interface_class{"Interface"};
const ValueMetaClass Namespace_class{"StructDef"};

namespace {

/// A value of a class of its own, with nothing but a printed form.
class SingleValue final : public Value {
public:
    constexpr SingleValue(const ValueMetaClass& value_class, const char* printed)
        : m_class(value_class), m_printed(printed) {}
    ~SingleValue() override = default;

    const ValueMetaClass& value_class() const override { return m_class; }
    bool to_bool() override { return is(Boolean_class) ? this == &true_value : Value::to_bool(); }
    void sprin1(CharStream* stream) override { stream->puts(m_printed); }

private:
    const ValueMetaClass& m_class;
    const char* m_printed;
};

/// Keeps a static object from being destroyed: a library may still use it while the program ends.
union Immortal {
    constexpr Immortal(const ValueMetaClass& value_class, const char* printed)
        : value(value_class, printed) {}
    ~Immortal() {}
    SingleValue value;
};

constinit Immortal true_single{Boolean_class, "true"};
constinit Immortal false_single{Boolean_class, "false"};
constinit Immortal ok_single{Ok_class, "OK"};
constinit Immortal undefined_single{Undefined_class, "undefined"};
constinit Immortal unsupplied_single{Unsupplied_class, "unsupplied"};

/// The names that are alive, by their text in lower case.
std::unordered_map<std::string_view, NameValue*>& name_table() {
    static auto* const table = new std::unordered_map<std::string_view, NameValue*>;
    return *table;
}

constexpr int least_cached = -128;
constexpr int cached_count = 1152;

/// The integers that loops and indices use most, which live outside the heap for ever.
IntegerValue* cached_integer(int number) {
    alignas(IntegerValue) static std::array<std::byte, cached_count * sizeof(IntegerValue)> storage;
    static auto* const first = [] {
        auto* values = reinterpret_cast<IntegerValue*>(storage.data());
        for (int i = 0; i < cached_count; ++i)
            ::new (static_cast<void*>(values + i)) IntegerValue(least_cached + i);
        return values;
    }();
    return first + (number - least_cached);
}

bool is_whole(Value* value) {
    return value->is(Integer_class) || value->is(Integer64_class);
}

bool numbers_equal(Value* left, Value* right) {
    if (is_whole(left) && is_whole(right)) return to_integer64(left) == to_integer64(right);
    if (left->is(Double_class) || right->is(Double_class)) return to_double(left) == to_double(right);
    return to_float(left) == to_float(right);
}

}  // namespace

constinit Value& true_value = true_single.value;
constinit Value& false_value = false_single.value;
constinit Value& unsupplied = unsupplied_single.value;

Value* make_integer(int number) {
    if (number >= least_cached && number < least_cached + cached_count) return cached_integer(number);
    return new IntegerValue(number);
}

Value* make_float(float number) {
    return new FloatValue(number);
}

Value* make_boolean(bool truth) {
    return truth ? &true_value : &false_value;
}

Value* make_string(std::string_view text) {
    return new String(text.data(), text.size());
}

Value* make_name(std::string_view text) {
    return NameValue::intern(text);
}

Value* make_integer64(std::int64_t number) {
    return new Integer64Value(number);
}

Value* make_double(double number) {
    return new DoubleValue(number);
}

bool is_number(Value* value) {
    return is_whole(value) || value->is(Float_class) || value->is(Double_class);
}

double to_double(Value* value) {
    if (const auto* number = value_as<FloatValue>(value)) return static_cast<double>(number->number());
    if (const auto* integer = value_as<IntegerValue>(value)) return integer->number();
    if (const auto* number = value_as<DoubleValue>(value)) return number->number();
    if (const auto* integer = value_as<Integer64Value>(value)) return static_cast<double>(integer->number());
    raise_conversion_error(value, Float_class.name);
}

std::int64_t to_integer64(Value* value) {
    if (const auto* integer = value_as<IntegerValue>(value)) return integer->number();
    if (const auto* integer = value_as<Integer64Value>(value)) return integer->number();
    if (value->is(Float_class) || value->is(Double_class)) {
        // The greatest double below 2^63.
        const double number = to_double(value);
        if (number >= -9223372036854775808.0 && number <= 9223372036854774784.0)
            return static_cast<std::int64_t>(number);
    }
    raise_conversion_error(value, Integer64_class.name);
}

int to_integer(Value* value) {
    if (const auto* integer = value_as<IntegerValue>(value)) return integer->number();
    if (is_number(value)) {
        const double number = to_double(value);
        // What lies outside has no whole number here.
        if (number > -2147483649.0 && number < 2147483648.0) return static_cast<int>(number);
    }
    raise_conversion_error(value, Integer_class.name);
}

float to_float(Value* value) {
    if (const auto* number = value_as<FloatValue>(value)) return number->number();
    if (is_number(value)) return static_cast<float>(to_double(value));
    raise_conversion_error(value, Float_class.name);
}

bool to_boolean(Value* value) {
    return value->to_bool();
}

std::string to_text(Value* value) {
    if (const auto* name = value_as<NameValue>(value)) return name->text();
    if (!value->is(String_class)) raise_conversion_error(value, String_class.name);
    return {value->to_string(), static_cast<String*>(value)->size()};
}

std::string lower_case(std::string_view text) {
    std::string lower(text);
    for (char& character : lower)
        if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
    return lower;
}

std::string float_text(float number) {
    std::array<char, 32> digits;
    std::snprintf(digits.data(), digits.size(), "%g", static_cast<double>(number));
    std::string text(digits.data());
    if (text.find_first_of(".en") == std::string::npos) text += ".0";
    return text;
}

bool values_equal(Value* left, Value* right) {
    if (left == right) return true;
    if (is_number(left) && is_number(right)) return numbers_equal(left, right);
    if (left->is(String_class) && right->is(String_class)) {
        return static_cast<String*>(left)->size() == static_cast<String*>(right)->size() &&
               to_text(left) == to_text(right);
    }
    auto* value = dynamic_cast<ScriptValue*>(left);
    if (value != nullptr && value->equals(right)) return true;
    // A number is equal to the time that it is the frame of.
    auto* other = is_number(left) ? dynamic_cast<ScriptValue*>(right) : nullptr;
    return other != nullptr && other->equals(left);
}

void IntegerValue::sprin1(CharStream* stream) {
    stream->puts(std::to_string(m_number).c_str());
}

void Integer64Value::sprin1(CharStream* stream) {
    stream->puts((std::to_string(m_number) + "L").c_str());
}

void DoubleValue::sprin1(CharStream* stream) {
    std::array<char, 40> digits;
    std::snprintf(digits.data(), digits.size(), "%.16g", m_number);
    std::string text(digits.data());
    const std::size_t exponent = text.find('e');
    if (exponent != std::string::npos) text[exponent] = 'd';
    if (text.find_first_of(".dn") == std::string::npos) text += ".0";
    stream->puts((exponent == std::string::npos ? text + "d0" : text).c_str());
}

void FloatValue::sprin1(CharStream* stream) {
    stream->puts(float_text(m_number).c_str());
}

NameValue* NameValue::intern(std::string_view text) {
    std::string key = lower_case(text);
    const auto found = name_table().find(key);
    if (found != name_table().end()) return found->second;
    // Making the object may collect names, but not this one: it is in the table only once it exists.
    auto* name = new NameValue(text, std::move(key));
    name_table().emplace(name->m_key, name);
    return name;
}

NameValue::~NameValue() {
    const auto found = name_table().find(m_key);
    if (found != name_table().end() && found->second == this) name_table().erase(found);
}

void NameValue::sprin1(CharStream* stream) {
    const bool plain =
        m_text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") ==
        std::string::npos;
    const std::string printed = plain && !m_text.empty() ? "#" + m_text : "#'" + m_text + "'";
    stream->write(printed.data(), printed.size());
}

void ClassValue::sprin1(CharStream* stream) {
    stream->puts(m_described.name);
}

Value* ClassValue::call(Arguments& arguments) {
    if (!m_maker) return ScriptValue::call(arguments);
    count_step();
    return call_host([&] { return m_maker(arguments); });
}

bool ClassValue::equals(Value* other) {
    const auto* other_class = value_as<ClassValue>(other);
    return other_class != nullptr && std::strcmp(other_class->m_described.name, m_described.name) == 0;
}

}  // namespace corrivane::host

const ValueMetaClass Boolean_class{"BooleanClass"};
const ValueMetaClass Ok_class{"Ok"};
const ValueMetaClass Undefined_class{"UndefinedClass"};
const ValueMetaClass String_class{"String"};

constinit Value& ok = corrivane::host::ok_single.value;
constinit Value& undefined = corrivane::host::undefined_single.value;

const char* Value::to_string() {
    corrivane::host::raise_conversion_error(this, String_class.name);
}

bool Value::to_bool() {
    corrivane::host::raise_conversion_error(this, Boolean_class.name);
}
