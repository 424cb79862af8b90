#include "maxscript/machine/operators.h"

#include "maxscript/machine/conversions.h"
#include "maxscript/machine/errors.h"

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

int wrap(std::int64_t number) {
    return static_cast<int>(static_cast<std::uint32_t>(number));
}

int integer_power(int base, int exponent) {
    if (exponent < 0) {
        if (base == 0) raise_runtime_error("Division by zero");
        // 1 / base ^ n, without its fraction.
        if (base == -1) return exponent % 2 == 0 ? 1 : -1;
        return base == 1 ? 1 : 0;
    }
    std::uint32_t result = 1;
    auto factor = static_cast<std::uint32_t>(base);
    for (auto bits = static_cast<unsigned>(exponent); bits != 0; bits >>= 1) {
        if ((bits & 1) != 0) result *= factor;
        factor *= factor;
    }
    return static_cast<int>(result);
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

Value* integer_result(Operator operation, int left_number, int right_number) {
    const std::int64_t left = left_number;
    const std::int64_t right = right_number;
    switch (operation) {
        case Operator::add:
            return make_integer(wrap(left + right));
        case Operator::subtract:
            return make_integer(wrap(left - right));
        case Operator::multiply:
            return make_integer(wrap(left * right));
        case Operator::divide:
            if (right == 0) raise_runtime_error("Division by zero");
            return make_integer(wrap(left / right));
        case Operator::power:
            return make_integer(integer_power(left_number, right_number));
        default:
            return comparison(operation, left, right);
    }
}

Value* float_result(Operator operation, float left, float right) {
    switch (operation) {
        case Operator::add:
            return make_float(left + right);
        case Operator::subtract:
            return make_float(left - right);
        case Operator::multiply:
            return make_float(left * right);
        case Operator::divide:
            if (right == 0.0F) raise_runtime_error("Division by zero");
            return make_float(left / right);
        case Operator::power:
            return make_float(std::pow(left, right));
        default:
            return comparison(operation, left, right);
    }
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

bool is_number(Value* value) {
    return value->is(Integer_class) || value->is(Float_class);
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
    if (&wanted == &Name_class) return make_name(text);
    raise_conversion_error(value, wanted.name);
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
    if (&wanted == &Integer_class && is_number(value)) return make_integer(to_integer(value));
    if (&wanted == &Float_class && is_number(value)) return make_float(to_float(value));
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
        return integer_result(operation, left_integer->number(), right_integer->number());
    if (is_number(left)) return float_result(operation, to_float(left), to_float(right));
    if (left->is(String_class)) {
        if (!right->is(String_class)) raise_conversion_error(right, String_class.name);
        return text_result(operation, to_text(left), to_text(right), left);
    }
    raise_no_function(symbol(operation), left);
}

Value* negate(Value* value) {
    if (const auto* integer = value_as<IntegerValue>(value))
        return make_integer(wrap(-std::int64_t{integer->number()}));
    if (const auto* number = value_as<FloatValue>(value)) return make_float(-number->number());
    raise_no_function("-", value);
}

bool is_less(Value* left, Value* right) {
    return apply(Operator::less, left, right) == &true_value;
}

}  // namespace corrivane::host
