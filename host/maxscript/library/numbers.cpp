#include "maxscript/library/library.h"
#include "maxscript/machine/operators.h"
#include "maxscript/machine/signature.h"
#include "maxscript/machine/steps.h"
#include "os/local_time.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <numbers>
#include <random>

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

bool all_integers(std::initializer_list<Value*> values) {
    return std::all_of(values.begin(), values.end(), [](Value* value) { return value->is(Integer_class); });
}

Value* absolute(Value* number) {
    if (!number->is(Integer_class)) return make_float(std::fabs(to_float(number)));
    return to_integer(number) < 0 ? negate(number) : number;
}

Value* modulo(Value* left, Value* right) {
    if (to_float(right) == 0.0F) raise_runtime_error("Division by zero");
    if (!all_integers({left, right})) return make_float(std::fmod(to_float(left), to_float(right)));
    return make_integer(static_cast<int>(std::int64_t{to_integer(left)} % to_integer(right)));
}

Value* random_number(Value* from, Value* to) {
    if (all_integers({from, to})) {
        const auto [least, most] = std::minmax({to_integer(from), to_integer(to)});
        return make_integer(std::uniform_int_distribution<int>(least, most)(generator()));
    }
    const float share = std::uniform_real_distribution<float>(0.0F, 1.0F)(generator());
    return make_float(to_float(from) + share * (to_float(to) - to_float(from)));
}

void seed(int start) {
    generator().seed(static_cast<unsigned>(start));
}

/// The least or the greatest of numbers, which may also come as one array.
template <bool Greatest>
Value* extreme(Value* first, Rest others) {
    std::vector<Value*> numbers{first};
    numbers.insert(numbers.end(), others.begin(), others.end());
    if (auto* array = others.empty() ? value_as<ArrayValue>(first) : nullptr) numbers = array->elements();
    Value* found = numbers.empty() ? &undefined : numbers.front();
    for (Value* number : numbers)
        if (Greatest ? is_less(found, number) : is_less(number, found)) found = number;
    return found;
}

/// Milliseconds since midnight, local time.
int time_stamp() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const std::tm local = local_time(seconds);
    const auto part =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    return ((local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec) * 1000 + static_cast<int>(part);
}

void sleep_seconds(float seconds) {
    if (!(seconds >= 0.0F && seconds <= longest_sleep))
        raise_runtime_error("sleep takes 0 to 86400 seconds, got: " + float_text(seconds));
    wait_seconds(static_cast<double>(seconds));
}

float power(float base, float exponent) {
    return std::pow(base, exponent);
}

float angle_of(float y, float x) {
    return static_cast<float>(std::atan2(static_cast<double>(y), static_cast<double>(x)) * degrees);
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
    {"sinh", [](double x) { return std::sinh(x); }},
    {"cosh", [](double x) { return std::cosh(x); }},
    {"tanh", [](double x) { return std::tanh(x); }},
});

}  // namespace

void define_number_functions() {
    for (const FloatFunction& entry : float_functions)
        define_functions({{entry.name, [function = entry.function](float number) {
                               return static_cast<float>(function(static_cast<double>(number)));
                           }}});
    define_functions({
        {"abs", absolute},
        {"mod", modulo},
        {"random", random_number},
        {"seed", seed},
        {"amin", extreme<false>},
        {"amax", extreme<true>},
        {"pow", power},
        {"atan2", angle_of},
        {"timeStamp", time_stamp},
        {"sleep", sleep_seconds},
    });
    define_constant("pi", make_float(std::numbers::pi_v<float>));
    define_constant("e", make_float(std::numbers::e_v<float>));
}

}  // namespace corrivane::host
