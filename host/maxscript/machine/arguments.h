#pragma once

#include <max/maxscript/value.h>

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

namespace corrivane::host {

/// An argument given by name: `to:stream`.
struct KeywordArgument {
    /// In lower case.
    const std::string* name;
    Value* value;
};

/// The arguments of one call, counted from 0, rooted while the call lasts. What does not fit is a MAXScript
/// error that names the function and the argument.
class Arguments {
public:
    Arguments(const std::string& function, Value** values, std::size_t count, const KeywordArgument* keywords,
              std::size_t keyword_count)
        : m_function(function),
          m_values(values),
          m_count(count),
          m_keywords(keywords),
          m_keyword_count(keyword_count) {}

    /// The name of the function that was called.
    const std::string& function() const { return m_function; }
    std::size_t count() const { return m_count; }
    /// An argument by its position, which is below count().
    Value* operator[](std::size_t index) const { return m_values[index]; }
    std::span<Value* const> values() const { return {m_values, m_count}; }
    const KeywordArgument* keywords() const { return m_keywords; }
    std::size_t keyword_count() const { return m_keyword_count; }
    /// An argument by its name in lower case; null when it was not given.
    Value* keyword(std::string_view name) const;

    /// Throws unless there are exactly `wanted` arguments.
    void require(std::size_t wanted) const { require(wanted, wanted); }
    /// Throws unless there are at least `least` and at most `most` arguments.
    void require(std::size_t least, std::size_t most) const;
    /// Throws for an argument by name that is none of these; null stands for no name.
    void require_known(std::initializer_list<const char*> names) const;

    /// An argument as C++ has it; throws when it is missing or of another kind. integer() takes a float
    /// without its fraction, number() takes an integer, text() takes a string or a name.
    int integer(std::size_t index) const;
    float number(std::size_t index) const;
    bool boolean(std::size_t index) const;
    std::string text(std::size_t index) const;

private:
    Value* required(std::size_t index) const;

    const std::string& m_function;
    Value** m_values;
    std::size_t m_count;
    const KeywordArgument* m_keywords;
    std::size_t m_keyword_count;
};

}  // namespace corrivane::host
