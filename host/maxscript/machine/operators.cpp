#include "maxscript/machine/operators.h"

#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/times.h"

#include <max/maxscript/streams.h>

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

namespace corrivane::host {

namespace {

constexpr auto symbols =
    std::to_array<const char*>({"+", "-", "*", "/", "^", "==", "!=", "<", "<=", ">", ">=", "as"});

const char* symbol(Operator operation) {
    return symbols[static_cast<std::size_t>(operation)];
}

template <typename Integer>
Integer whole_power(Integer base, Integer exponent) {
    if (exponent < 0) {
        if (base == 0) raise_runtime_error("Division by zero");
        // 1 / base ^ n, without its fraction.
        if (base == -1) return exponent % 2 == 0 ? 1 : -1;
        return base == 1 ? 1 : 0;
    }
    using Bits = std::make_unsigned_t<Integer>;
    Bits result = 1;
    auto factor = static_cast<Bits>(base);
    for (auto bits = static_cast<Bits>(exponent); bits != 0; bits >>= 1) {
        if ((bits & 1) != 0) result *= factor;
        factor *= factor;
    }
    return static_cast<Integer>(result);
}

template <typename Operand>
Value* comparison(Operator operation, const Operand& left, const Operand& right) {
    switch (operation) {
        case Operator::less:
            return make_boolean(left < right);
        case Operator::less_equal:
            return make_boolean(left <= right);
        case Operator::greater:
            return make_boolean(left > right);
        default:
            return make_boolean(left >= right);
    }
}

/// Of integers of 32 and of 64 bits, which wrap.
template <typename Integer>
Value* whole_result(Operator operation, Integer left, Integer right, Value* (*make)(Integer)) {
    using Bits = std::make_unsigned_t<Integer>;
    const auto left_bits = static_cast<Bits>(left);
    const auto right_bits = static_cast<Bits>(right);
    switch (operation) {
        case Operator::add:
            return make(static_cast<Integer>(left_bits + right_bits));
        case Operator::subtract:
            return make(static_cast<Integer>(left_bits - right_bits));
        case Operator::multiply:
            return make(static_cast<Integer>(left_bits * right_bits));
        case Operator::divide:
            if (right == 0) raise_runtime_error("Division by zero");
            // The smallest number has no positive counterpart.
            return make(right == -1 ? static_cast<Integer>(Bits{0} - left_bits) : left / right);
        case Operator::power:
            return make(whole_power(left, right));
        default:
            return comparison(operation, left, right);
    }
}

template <typename Real>
Value* real_result(Operator operation, Real left, Real right, Value* (*make)(Real)) {
    switch (operation) {
        case Operator::add:
            return make(left + right);
        case Operator::subtract:
            return make(left - right);
        case Operator::multiply:
            return make(left * right);
        case Operator::divide:
            if (right == 0) raise_runtime_error("Division by zero");
            return make(left / right);
        case Operator::power:
            return make(std::pow(left, right));
        default:
            return comparison(operation, left, right);
    }
}

/// Of two numbers, not both integers of 32 bits. The more exact kind of the two is the result's.
Value* number_result(Operator operation, Value* left, Value* right) {
    const auto either_is = [&](const ValueMetaClass& kind) { return left->is(kind) || right->is(kind); };
    if (either_is(Double_class))
        return real_result(operation, to_double(left), to_double(right), make_double);
    if (either_is(Float_class)) return real_result(operation, to_float(left), to_float(right), make_float);
    return whole_result(operation, to_integer64(left), to_integer64(right), make_integer64);
}

Value* text_result(Operator operation, const std::string& left, const std::string& right, Value* left_value) {
    switch (operation) {
        case Operator::add:
            return make_string(left + right);
        case Operator::less:
        case Operator::less_equal:
        case Operator::greater:
        case Operator::greater_equal:
            return comparison(operation, left, right);
        default:
            raise_no_function(symbol(operation), left_value);
    }
}

/// The number that a text begins with, as MAXScript reads it; undefined for none.
template <typename Number, typename Make>
Value* parse_number(const std::string& text, Make make) {
    const std::size_t start = text.find_first_not_of(" \t\r\n+");
    Number number{};
    if (start == std::string::npos) return &undefined;
    const auto [end, error] = std::from_chars(text.data() + start, text.data() + text.size(), number);
    return error == std::errc() ? make(number) : &undefined;
}

Value* text_as(const std::string& text, Value* value, const ValueMetaClass& wanted) {
    // By way of a float, so that "2.7" is 2; what a float cannot hold exactly is read as the integer that
    // it is.
    if (&wanted == &Integer_class) {
        if (text.find('.') == std::string::npos) return parse_number<int>(text, make_integer);
        Value* number = parse_number<float>(text, make_float);
        return number == &undefined ? number : make_integer(to_integer(number));
    }
    if (&wanted == &Float_class) return parse_number<float>(text, make_float);
    if (&wanted == &Double_class) return parse_number<double>(text, make_double);
    if (&wanted == &Integer64_class) return parse_number<std::int64_t>(text, make_integer64);
    if (&wanted == &Time_class) return text_as_time(text);
    if (&wanted == &Name_class) return make_name(text);
    raise_conversion_error(value, wanted.name);
}

/// A number as a value of another class; null where that is not possible.
Value* number_as(Value* value, const ValueMetaClass& wanted) {
    if (&wanted == &Integer_class) return make_integer(to_integer(value));
    if (&wanted == &Float_class) return make_float(to_float(value));
    if (&wanted == &Integer64_class) return make_integer64(to_integer64(value));
    if (&wanted == &Double_class) return make_double(to_double(value));
    if (&wanted == &Time_class) return new TimeScriptValue(to_ticks(value));
    return nullptr;
}

Value* converted(Value* value, Value* wanted) {
    auto* wanted_class = value_as<ClassValue>(wanted);
    if (wanted_class == nullptr) raise_type_error("as requires a class, got: " + excerpt(wanted));
    return convert(value, wanted_class->described());
}

}  // namespace

std::string plain_text(Value* value) {
    if (value->is(String_class) || value->is(Name_class)) return to_text(value);
    if (value->is(StringStream_class)) return value->to_string();
    return printed_form(value);
}

Value* convert(Value* value, const ValueMetaClass& wanted) {
    if (value->is(wanted)) return value;
    if (&wanted == &String_class) return make_string(plain_text(value));
    if (is_number(value)) {
        if (Value* number = number_as(value, wanted)) return number;
    }
    if (auto* own = dynamic_cast<ScriptValue*>(value)) {
        const Rooted source(value);
        if (Value* result = own->converted(wanted)) return result;
    }
    if (value->is(String_class)) return text_as(to_text(value), value, wanted);
    raise_conversion_error(value, wanted.name);
}

Value* apply(Operator operation, Value* left, Value* right) {
    if (operation == Operator::equal) return make_boolean(values_equal(left, right));
    if (operation == Operator::not_equal) return make_boolean(!values_equal(left, right));
    if (operation == Operator::convert) return converted(left, right);
    const auto* left_integer = value_as<IntegerValue>(left);
    if (const auto* right_integer = value_as<IntegerValue>(right);
        left_integer != nullptr && right_integer != nullptr)
        return whole_result(operation, left_integer->number(), right_integer->number(), make_integer);
    const bool left_is_number = is_number(left);
    if (left_is_number && is_number(right)) return number_result(operation, left, right);
    const Rooted first(left);
    const Rooted second(right);
    if (auto* value = dynamic_cast<ScriptValue*>(left)) {
        if (Value* result = value->operate(operation, right, false)) return result;
    }
    if (left_is_number) {
        auto* value = dynamic_cast<ScriptValue*>(right);
        Value* result = value == nullptr ? nullptr : value->operate(operation, left, true);
        if (result == nullptr) raise_conversion_error(right, left->value_class().name);
        return result;
    }
    if (left->is(String_class) || left->is(Name_class)) {
        if (!right->is(left->value_class())) raise_conversion_error(right, left->value_class().name);
        return text_result(operation, to_text(left), to_text(right), left);
    }
    raise_no_function(symbol(operation), left);
}

Value* negate(Value* value) {
    if (const auto* integer = value_as<IntegerValue>(value))
        return make_integer(static_cast<int>(0U - static_cast<unsigned>(integer->number())));
    if (const auto* number = value_as<FloatValue>(value)) return make_float(-number->number());
    if (value->is(Double_class)) return make_double(-to_double(value));
    if (value->is(Integer64_class))
        return make_integer64(
            static_cast<std::int64_t>(0U - static_cast<std::uint64_t>(to_integer64(value))));
    if (auto* own = dynamic_cast<ScriptValue*>(value)) {
        const Rooted operand(value);  // the result's memory is taken before the operand is read
        if (Value* result = own->negated()) return result;
    }
    raise_no_function("-", value);
}

bool is_less(Value* left, Value* right) {
    return apply(Operator::less, left, right) == &true_value;
}

}  // namespace corrivane::host
