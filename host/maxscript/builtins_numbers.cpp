#include "maxscript/builtins.h"
#include "maxscript/errors.h"
#include "maxscript/operators.h"
#include "maxscript/runtime.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <numbers>
#include <random>
#include <thread>

namespace corrivane::host {

namespace {

constexpr double degrees = 180.0 / std::numbers::pi;
// Longer pauses are no pauses but mistakes.
constexpr float longest_sleep = 86400.0F;

/// The same numbers in every run, as MAXScript has it, unless a script asks for others.
std::mt19937& generator() {
    static std::mt19937 numbers;
    return numbers;
}

bool all_integers(const Arguments& arguments) {
    for (std::size_t i = 0; i < arguments.count(); ++i)
        if (!arguments[i]->is(Integer_class)) return false;
    return true;
}

Value* absolute(Arguments& arguments) {
    arguments.require(1);
    if (!all_integers(arguments)) return make_float(std::fabs(arguments.number(0)));
    return arguments.integer(0) < 0 ? negate(arguments[0]) : arguments[0];
}

Value* modulo(Arguments& arguments) {
    arguments.require(2);
    if (arguments.number(1) == 0.0F) raise_runtime_error("Division by zero");
    if (!all_integers(arguments)) return make_float(std::fmod(arguments.number(0), arguments.number(1)));
    return make_integer(static_cast<int>(std::int64_t{arguments.integer(0)} % arguments.integer(1)));
}

Value* random_number(Arguments& arguments) {
    arguments.require(2);
    if (all_integers(arguments)) {
        const auto [least, most] = std::minmax({arguments.integer(0), arguments.integer(1)});
        return make_integer(std::uniform_int_distribution<int>(least, most)(generator()));
    }
    const float share = std::uniform_real_distribution<float>(0.0F, 1.0F)(generator());
    return make_float(arguments.number(0) + share * (arguments.number(1) - arguments.number(0)));
}

Value* seed(Arguments& arguments) {
    arguments.require(1);
    generator().seed(static_cast<unsigned>(arguments.integer(0)));
    return &ok;
}

/// The least or the greatest of numbers, which may also come as one array.
template <bool Greatest>
Value* extreme(Arguments& arguments) {
    arguments.require(1, SIZE_MAX);
    auto* array = arguments.count() == 1 ? value_as<ArrayValue>(arguments[0]) : nullptr;
    std::vector<Value*> numbers;
    for (std::size_t i = 0; array == nullptr && i < arguments.count(); ++i)
        numbers.push_back(arguments[i]);
    if (array != nullptr) numbers = array->elements();
    Value* found = numbers.empty() ? &undefined : numbers.front();
    for (Value* number : numbers)
        if (Greatest ? is_less(found, number) : is_less(number, found)) found = number;
    return found;
}

/// Milliseconds since midnight, local time.
Value* time_stamp(Arguments& arguments) {
    arguments.require(0);
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&seconds, &local);
    const auto part =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    return make_integer(((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec) * 1000 +
                        static_cast<int>(part));
}

Value* sleep_seconds(Arguments& arguments) {
    arguments.require(1);
    const float seconds = arguments.number(0);
    if (!(seconds >= 0.0F && seconds <= longest_sleep))
        raise_runtime_error("sleep takes 0 to 86400 seconds, got: " + excerpt(arguments[0]));
    std::this_thread::sleep_for(std::chrono::duration<float>(seconds));
    return &ok;
}

struct FloatFunction {
    const char* name;
    double (*function)(double);
};

// Angles are in degrees.
constexpr auto float_functions = std::to_array<FloatFunction>({
    {"sqrt", [](double x) { return std::sqrt(x); }},
    {"exp", [](double x) { return std::exp(x); }},
    {"log", [](double x) { return std::log(x); }},
    {"log10", [](double x) { return std::log10(x); }},
    {"floor", [](double x) { return std::floor(x); }},
    {"ceil", [](double x) { return std::ceil(x); }},
    {"sin", [](double x) { return std::sin(x / degrees); }},
    {"cos", [](double x) { return std::cos(x / degrees); }},
    {"tan", [](double x) { return std::tan(x / degrees); }},
    {"asin", [](double x) { return std::asin(x) * degrees; }},
    {"acos", [](double x) { return std::acos(x) * degrees; }},
    {"atan", [](double x) { return std::atan(x) * degrees; }},
    {"degToRad", [](double x) { return x / degrees; }},
    {"radToDeg", [](double x) { return x * degrees; }},
});

void define_float_function(const FloatFunction& entry) {
    define_function(entry.name, [function = entry.function](Arguments& arguments) {
        arguments.require(1);
        return make_float(static_cast<float>(function(static_cast<double>(arguments.number(0)))));
    });
}

}  // namespace

void define_number_functions() {
    for (const FloatFunction& entry : float_functions)
        define_float_function(entry);
    define_function("abs", absolute);
    define_function("mod", modulo);
    define_function("random", random_number);
    define_function("seed", seed);
    define_function("amin", extreme<false>);
    define_function("amax", extreme<true>);
    define_function("pow", [](Arguments& arguments) {
        arguments.require(2);
        return make_float(std::pow(arguments.number(0), arguments.number(1)));
    });
    define_function("atan2", [](Arguments& arguments) {
        arguments.require(2);
        const double angle =
            std::atan2(static_cast<double>(arguments.number(0)), static_cast<double>(arguments.number(1)));
        return make_float(static_cast<float>(angle * degrees));
    });
    define_function("timeStamp", time_stamp);
    define_function("sleep", sleep_seconds);
    define_constant("pi", make_float(std::numbers::pi_v<float>));
    define_constant("e", make_float(std::numbers::e_v<float>));
}

}  // namespace corrivane::host
