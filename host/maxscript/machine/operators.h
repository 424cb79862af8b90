#pragma once

#include "maxscript/machine/values.h"

#include <string>

namespace corrivane::host {

/// The operators that evaluate both sides.
enum class Operator {
    add,
    subtract,
    multiply,
    divide,
    power,
    equal,
    not_equal,
    less,
    less_equal,
    greater,
    greater_equal,
    /// `as`
    convert
};

/// The result of an operation, a MAXScript error where there is none. Integers stay integers and wrap at 32
/// bits; one float makes the result a float. The operands need no root.
Value* apply(Operator operation, Value* left, Value* right);

/// `-value`.
Value* negate(Value* value);

/// `value as class`.
Value* convert(Value* value, const ValueMetaClass& wanted);

/// `left < right` for numbers and for strings; a MAXScript error for anything else.
bool is_less(Value* left, Value* right);

/// The text that `value as string` gives: a string's or name's characters, otherwise the printed form.
std::string plain_text(Value* value);

}  // namespace corrivane::host
