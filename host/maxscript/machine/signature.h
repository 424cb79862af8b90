#pragma once

#include "maxscript/machine/arguments.h"
#include "maxscript/machine/conversions.h"
#include "maxscript/machine/define.h"
#include "maxscript/machine/errors.h"
#include "maxscript/machine/rooted.h"
#include "maxscript/machine/values.h"

#include <algorithm>
#include <concepts>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

/// What C++ functions look like to scripts: the types of their parameters say what a call has to give, and what a
/// script gave is converted before the function is called.
///
///   int, float, double, bool        a number (without its fraction for int); true or false
///   std::string                     a string or a name
///   Value*                          anything
///   ArrayValue&, CharStream&, …     a value of that class
///   std::optional<T>, T*            the same, which may be left out; behind all others
///   Rest                            any number of further values
///   Keyword<"name", T>              `name:value`, which may be left out
///   Required<"name", T>             `name:value`
///   Arguments&                      the whole call, unchecked
///
/// A result is converted back; void gives `ok`, an empty optional or a null pointer `undefined`.
namespace corrivane::host {

/// All arguments behind those that have a parameter of their own.
using Rest = std::span<Value* const>;

template <std::size_t Size>
struct FixedText {
    char text[Size];
    consteval FixedText(const char (&from)[Size]) { std::copy_n(from, Size, text); }
};

/// How a value that belongs to a class of the host's is asked for: by reference where it must be there.
template <typename T>
concept ScriptClass = std::derived_from<std::remove_cvref_t<T>, Value>;

/// How T is read from a value.
template <typename T>
struct FromScript;

template <>
struct FromScript<int> {
    static bool accepts(Value* value) { return is_number(value); }
    static int from(Value* value) { return to_integer(value); }
};
template <>
struct FromScript<float> {
    static bool accepts(Value* value) { return FromScript<int>::accepts(value); }
    static float from(Value* value) { return to_float(value); }
};
template <>
struct FromScript<double> {
    static bool accepts(Value* value) { return FromScript<int>::accepts(value); }
    static double from(Value* value) { return to_double(value); }
};
template <>
struct FromScript<bool> {
    static bool accepts(Value* value) { return value->is(Boolean_class); }
    static bool from(Value* value) { return to_boolean(value); }
};
template <>
struct FromScript<std::string> {
    static bool accepts(Value* value) { return value->is(String_class) || value->is(Name_class); }
    static std::string from(Value* value) { return to_text(value); }
};
template <>
struct FromScript<Value*> {
    static bool accepts(Value*) { return true; }
    static Value* from(Value* value) { return value; }
};
template <ScriptClass T>
struct FromScript<T&> {
    static T* find(Value* value) {
        if constexpr (requires { T::metaclass; }) {
            return value_as<T>(value);
        } else {
            return dynamic_cast<T*>(value);
        }
    }
    static const char* name() {
        if constexpr (requires { T::metaclass; }) {
            return T::metaclass.name;
        } else {
            return "Stream";
        }
    }
    static bool accepts(Value* value) { return find(value) != nullptr; }
    static T& from(Value* value) {
        T* found = find(value);
        if (found == nullptr) raise_conversion_error(value, name());
        return *found;
    }
};
template <ScriptClass T>
struct FromScript<T*> {
    static bool accepts(Value* value) { return FromScript<T&>::accepts(value); }
    static T* from(Value* value) { return &FromScript<T&>::from(value); }
};

/// What `name:` has given, or nothing.
template <FixedText Name, typename T>
class Keyword {
public:
    static constexpr bool is_keyword_parameter = true;
    static constexpr const char* name = Name.text;

    explicit Keyword(const Arguments& arguments) : m_given(arguments.keyword(lower_case(name))) {
        if (m_given == &unsupplied) m_given = nullptr;
        if (m_given != nullptr) m_value.emplace(FromScript<T>::from(m_given));
    }
    explicit operator bool() const { return m_given != nullptr; }
    const T& operator*() const { return *m_value; }
    T value_or(T otherwise) const { return m_value.value_or(std::move(otherwise)); }

private:
    Value* m_given;
    std::optional<T> m_value;
};

/// What `name:` has given. A MAXScript error when it was left out.
template <FixedText Name, typename T>
class Required : public Keyword<Name, T> {
public:
    explicit Required(const Arguments& arguments) : Keyword<Name, T>(arguments) {
        if (!*this)
            raise_runtime_error(arguments.function() + " requires the keyword argument " + Name.text + ":");
    }
};

/// What kind of parameter a type makes.
template <typename P>
struct Parameter {
    static constexpr bool is_keyword = false;
    static constexpr bool is_optional = false;
    static constexpr bool is_rest = false;
    using Stored = std::conditional_t<ScriptClass<P> && std::is_reference_v<P>, P, std::remove_cvref_t<P>>;

    static bool accepts(Value* value) { return FromScript<Stored>::accepts(value); }
    /// `position` counts the arguments that have been read.
    static Stored read(const Arguments& arguments, std::size_t& position) {
        Value* value = arguments[position++];
        if constexpr (std::is_reference_v<Stored> || requires { FromScript<Stored>::is_object; }) {
            // Functions of a class are known for the text with which they refuse what is none of it.
            if (position == 1 && !accepts(value)) raise_no_function(arguments.function(), value);
        }
        return FromScript<Stored>::from(value);
    }
};
template <>
struct Parameter<std::string_view> : Parameter<std::string> {};
template <typename T>
struct Parameter<std::optional<T>> : Parameter<T> {
    static constexpr bool is_optional = true;
    using Stored = std::optional<T>;
    static Stored read(const Arguments& arguments, std::size_t& position) {
        if (position == arguments.count()) return std::nullopt;
        return FromScript<T>::from(arguments[position++]);
    }
};
template <ScriptClass T>
requires(!std::same_as<T, Value>) struct Parameter<T*> : Parameter<T&> {
    static constexpr bool is_optional = true;
    using Stored = T*;
    static Stored read(const Arguments& arguments, std::size_t& position) {
        if (position == arguments.count()) return nullptr;
        return FromScript<T*>::from(arguments[position++]);
    }
};
template <>
struct Parameter<Rest> {
    static constexpr bool is_keyword = false;
    static constexpr bool is_optional = false;
    static constexpr bool is_rest = true;
    using Stored = Rest;
    static bool accepts(Value*) { return true; }
    static Rest read(const Arguments& arguments, std::size_t& position) {
        const std::size_t first = std::exchange(position, arguments.count());
        return arguments.values().subspan(first);
    }
};
template <typename K>
requires requires {
    K::is_keyword_parameter;
}
struct Parameter<K> {
    static constexpr bool is_keyword = true;
    static constexpr bool is_optional = false;
    static constexpr bool is_rest = false;
    using Stored = K;
    static bool accepts(Value*) { return false; }
    static Stored read(const Arguments& arguments, std::size_t&) { return Stored(arguments); }
};

/// `static Value* value(const T&)`: what a result of a class of C++ becomes.
template <typename T>
struct ToScript;

/// A value of what a C++ function returns.
template <typename R>
Value* to_script(R&& result) {
    using Result = std::remove_cvref_t<R>;
    if constexpr (std::same_as<Result, bool>) {
        return make_boolean(result);
    } else if constexpr (std::same_as<Result, int>) {
        return make_integer(result);
    } else if constexpr (std::same_as<Result, float>) {
        return make_float(result);
    } else if constexpr (std::same_as<Result, double>) {
        return make_double(result);
    } else if constexpr (std::same_as<Result, std::int64_t>) {
        return make_integer64(result);
    } else if constexpr (std::convertible_to<Result, Value*>) {
        Value* value = result;
        return value != nullptr ? value : &undefined;
    } else if constexpr (std::same_as<Result, std::vector<std::string>>) {
        return make_array(result);
    } else if constexpr (std::convertible_to<Result, std::string_view>) {
        return make_string(result);
    } else if constexpr (requires { ToScript<Result>::value(result); }) {
        return ToScript<Result>::value(result);
    } else {
        return result ? to_script(*std::forward<R>(result)) : &undefined;
    }
}

/// Calls a function for its result as a value.
template <typename F, typename... Given>
Value* call_for_value(F& function, Given&&... given) {
    if constexpr (std::is_void_v<std::invoke_result_t<F&, Given...>>) {
        function(std::forward<Given>(given)...);
        return &ok;
    } else {
        return to_script(function(std::forward<Given>(given)...));
    }
}

template <typename Signature>
struct Binding;

template <typename R, typename... P>
struct Binding<std::function<R(P...)>> {
    template <typename T>
    using Kind = Parameter<std::conditional_t<ScriptClass<T>, T, std::remove_cvref_t<T>>>;

    static void check(const Arguments& arguments) {
        constexpr std::size_t positional = (std::size_t{0} + ... + (Kind<P>::is_keyword ? 0U : 1U));
        constexpr std::size_t spare =
            (std::size_t{0} + ... + (Kind<P>::is_optional || Kind<P>::is_rest ? 1U : 0U));
        constexpr bool endless = (false || ... || Kind<P>::is_rest);
        arguments.require(positional - spare, endless ? SIZE_MAX : positional);
        arguments.require_known({keyword_name<P>()...});
    }
    template <typename F>
    static Value* call(F& function, Arguments& arguments) {
        check(arguments);
        [[maybe_unused]] std::size_t position = 0;
        // In braces they are read from left to right.
        std::tuple<typename Kind<P>::Stored...> values{Kind<P>::read(arguments, position)...};
        return std::apply([&](auto&... given) { return call_for_value(function, given...); }, values);
    }
    /// Whether the first argument of a call is what the function is for.
    static bool accepts(Value* value) {
        if constexpr (sizeof...(P) == 0) {
            return false;
        } else {
            return Kind<std::tuple_element_t<0, std::tuple<P...>>>::accepts(value);
        }
    }

private:
    template <typename T>
    static const char* keyword_name() {
        if constexpr (Kind<T>::is_keyword) {
            return std::remove_cvref_t<T>::name;
        } else {
            return nullptr;
        }
    }
};

template <typename R>
struct Binding<std::function<R(Arguments&)>> {
    template <typename F>
    static Value* call(F& function, Arguments& arguments) {
        return call_for_value(function, arguments);
    }
    static bool accepts(Value*) { return true; }
};

/// A function with the name that scripts know it by. Rows of one name are for different classes of the first
/// argument; the first one that is for it is called.
struct Builtin {
    template <typename F>
    Builtin(const char* function_name, F callee)
        : name(function_name),
          function([callee](Arguments& arguments) mutable {
              return Binding<decltype(std::function(callee))>::call(callee, arguments);
          }),
          accepts(Binding<decltype(std::function(callee))>::accepts) {}

    const char* name;
    HostFunction function;
    bool (*accepts)(Value* first);
};

/// Defines a class of values under its name; calling it makes one.
void define_class(const ValueMetaClass& described, const Builtin& maker);

/// Defines what a table lists. A name with a dot is a member, as in define_function.
void define_functions(const std::vector<Builtin>& table);

}  // namespace corrivane::host
