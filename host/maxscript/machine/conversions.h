#pragma once

#include <max/maxscript/value.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Values from what C++ has, and back.
namespace corrivane::host {

Value* make_integer(int number);
Value* make_float(float number);
Value* make_integer64(std::int64_t number);
Value* make_double(double number);
Value* make_boolean(bool truth);
Value* make_string(std::string_view text);
/// `#text`.
Value* make_name(std::string_view text);
Value* make_array();
Value* make_array(const std::vector<std::string>& texts);
/// Appends to what make_array made; both are kept alive meanwhile.
void append_to_array(Value* array, Value* element);
/// An empty dictionary. Scripts read it as `value[#key]` or `value["key"]`, undefined for what it does not
/// hold, and as `value.keys` and `value.count`.
Value* make_dictionary();
void set_in_dictionary(Value* dictionary, const std::string& key, Value* content);

/// A value as C++ has it; throws "Unable to convert: … to type: …". to_integer takes a float without its
/// fraction, to_float takes an integer, to_text takes a string or a name.
int to_integer(Value* value);
float to_float(Value* value);
std::int64_t to_integer64(Value* value);
double to_double(Value* value);
bool to_boolean(Value* value);
std::string to_text(Value* value);

/// The printed form of a value, as the Listener shows it.
std::string printed_form(Value* value);

}  // namespace corrivane::host
