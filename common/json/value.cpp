#include "json/value.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace corrivane::json {

namespace {

template <typename Number>
std::string decimal(Number value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

}  // namespace

bool Value::boolean() const {
    if (kind() != Kind::boolean) refuse("true or false");
    return token().whole != 0;
}

std::string_view Value::text() const {
    if (!is_string()) refuse("a string");
    return m_document->string(m_token);
}

double Value::number() const {
    switch (kind()) {
        case Kind::negative:
            return static_cast<double>(token().negative);
        case Kind::whole:
            return static_cast<double>(token().whole);
        case Kind::real:
            return token().real;
        default:
            refuse("a number");
    }
}

double Value::number(double low, double high) const {
    if (!is_number() || !(number() >= low && number() <= high)) {
        refuse("a number from " + decimal(low) + " to " + decimal(high));
    }
    return number();
}

std::optional<std::int64_t> Value::as_whole() const {
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (kind() == Kind::negative) return token().negative;
    if (kind() == Kind::whole && token().whole <= largest) return static_cast<std::int64_t>(token().whole);
    // Beyond 2^53, a double no longer tells one whole number from the next.
    if (kind() == Kind::real && std::abs(token().real) < 0x1p53 && std::trunc(token().real) == token().real) {
        return static_cast<std::int64_t>(token().real);
    }
    return std::nullopt;
}

std::int64_t Value::whole(std::int64_t low, std::int64_t high) const {
    const auto value = as_whole();
    if (!value || *value < low || *value > high) {
        refuse("a whole number from " + decimal(low) + " to " + decimal(high));
    }
    return *value;
}

std::uint64_t Value::size() const {
    if (kind() == Kind::whole) return token().whole;
    const auto value = as_whole();
    if (!value || *value < 0) refuse("a whole number from 0");
    return static_cast<std::uint64_t>(*value);
}

std::string Value::number_text() const {
    switch (kind()) {
        case Kind::negative:
            return decimal(token().negative);
        case Kind::whole:
            return decimal(token().whole);
        default:
            return decimal(number());
    }
}

Elements Value::elements() const {
    if (!is_array()) refuse("an array");
    return {ElementIterator(inner(1)), ElementIterator(sibling())};
}

Members Value::members() const {
    if (!is_object()) refuse("an object");
    return {MemberIterator(inner(1)), MemberIterator(sibling())};
}

std::optional<Value> Value::find(std::string_view key) const {
    std::optional<Value> found;
    for (const auto& [name, value] : members()) {
        if (name == key) found = value;
    }
    return found;
}

Value Value::at(std::string_view key) const {
    const auto found = find(key);
    if (!found) throw Error(path(), std::string(" lacks \"").append(key).append("\""));
    return *found;
}

ElementTable::ElementTable(const Value& array) : m_document(array.m_document) {
    m_tokens.reserve(array.count());
    for (const Value element : array.elements())
        m_tokens.push_back(element.m_token);
}

void Value::refuse(const std::string& expected) const {
    throw Error(path(), " should be " + expected);
}

void Value::fail(const std::string& fault) const {
    throw Error(path(), ": " + fault);
}

}  // namespace corrivane::json
