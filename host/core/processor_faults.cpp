#include "core/processor_faults.h"

#include "os/system_faults.h"

#include <windows.h>

#include <xmmintrin.h>

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <stdexcept>
#include <string>

// Operands are volatile, and the faulting instruction is written out where a compiler or a sanitizer could
// replace it: what is wanted is the processor's fault, not a diagnosis in its place.
namespace corrivane::host {

namespace {

void read_address(std::uintptr_t address) {
    asm volatile("movb (%0), %%al" : : "r"(address) : "eax", "memory");
}

void read_null() {
    read_address(0);
}

void write_null() {
    asm volatile("movb $1, (%0)" : : "r"(std::uintptr_t{0}) : "memory");
}

void execute_undefined_instruction() {
    asm volatile("ud2");
}

void execute_privileged_instruction() {
    asm volatile("hlt");
}

void execute_breakpoint() {
    asm volatile("int3");
}

[[gnu::noinline]] int recurse(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    volatile int next = depth + 1;
    const int below = next < 0 ? 0 : recurse(next);
    return below + frame[0];
}

void overflow_stack() {
    volatile int start = 0;
    recurse(start);
}

void divide_integer_by_zero() {
    asm volatile("cltd\n\tidivl %0" : : "r"(0), "a"(1) : "edx", "cc");
}

enum class SseTrap : unsigned { invalid, denormal, divide_by_zero, overflow, underflow, inexact };

/// Lets the processor trap on one kind of floating-point exception. A flag that an earlier calculation left
/// would trap nothing, but would be reported with the fault, so the flags are cleared too.
void unmask(SseTrap trap) {
    constexpr unsigned flags = 0x3F;
    const unsigned mask = 0x80U << static_cast<unsigned>(trap);
    _mm_setcsr(_mm_getcsr() & ~flags & ~mask);
}

using Calculation = double (*)(double, double);

double divide(double a, double b) {
    double result = a;
    asm volatile("divsd %1, %0" : "+x"(result) : "x"(b));
    return result;
}

double multiply(double a, double b) {
    double result = a;
    asm volatile("mulsd %1, %0" : "+x"(result) : "x"(b));
    return result;
}

double add(double a, double b) {
    double result = a;
    asm volatile("addsd %1, %0" : "+x"(result) : "x"(b));
    return result;
}

template <SseTrap trap>
void calculate(Calculation calculation, double a, double b) {
    volatile double left = a;
    volatile double right = b;
    const double x = left;
    const double y = right;
    unmask(trap);
    volatile double result = calculation(x, y);
    static_cast<void>(result);
}

void float_denormal_operand() {
    calculate<SseTrap::denormal>(add, DBL_TRUE_MIN, 1.0);
}

void float_divide_by_zero() {
    calculate<SseTrap::divide_by_zero>(divide, 1.0, 0.0);
}

void float_inexact_result() {
    calculate<SseTrap::inexact>(divide, 1.0, 3.0);
}

void float_invalid_operation() {
    calculate<SseTrap::invalid>(divide, 0.0, 0.0);
}

void float_overflow() {
    calculate<SseTrap::overflow>(multiply, DBL_MAX, 2.0);
}

void float_underflow() {
    calculate<SseTrap::underflow>(multiply, DBL_MIN, 0.3);
}

/// The x87 unit has eight registers; the ninth value finds no place.
void float_stack_check() {
    std::uint16_t control = 0;
    asm volatile("fnstcw %0" : "=m"(control));
    control = static_cast<std::uint16_t>(control & ~1U);
    asm volatile(
        "fninit\n\tfldcw %0\n\t"
        "fld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfld1\n\tfwait"
        :
        : "m"(control)
        : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)", "memory");
}

/// Codes that no instruction of a 64-bit processor gives travel the way that software-raised exceptions do.
template <DWORD code>
void raise_code() {
    RaiseException(code, 0, 0, nullptr);
}

constexpr DWORD unlisted_code = 0xE0000001;

constexpr ProcessorFault faults[] = {
    {"Access Violation", read_null},
    {"Access Violation Write", write_null},
    {"Array Bounds Exceeded", raise_code<EXCEPTION_ARRAY_BOUNDS_EXCEEDED>},
    {"Breakpoint", execute_breakpoint},
    {"Datatype Misalignment", read_misaligned},
    {"Float Denormal Operand", float_denormal_operand},
    {"Float Divide By Zero", float_divide_by_zero},
    {"Float Inexact Result", float_inexact_result},
    {"Float Invalid Operation", float_invalid_operation},
    {"Float Overflow", float_overflow},
    {"Float Stack Check", float_stack_check},
    {"Float Underflow", float_underflow},
    {"Illegal Instruction", execute_undefined_instruction},
    {"In Page Error", read_behind_the_end_of_a_mapped_file},
    {"Integer Divide By Zero", divide_integer_by_zero},
    {"Integer Overflow", raise_code<EXCEPTION_INT_OVERFLOW>},
    {"Privileged Instruction", execute_privileged_instruction},
    {"Stack Overflow", overflow_stack},
    {"Unknown SEH Exception Code", raise_code<unlisted_code>},
};

std::string all_names() {
    std::string names;
    for (const ProcessorFault& fault : faults) {
        names += (names.empty() ? "\"" : ", \"") + std::string(fault.name) + "\"";
    }
    return names;
}

}  // namespace

const ProcessorFault& find_processor_fault(std::string_view name) {
    const auto found = std::ranges::find(faults, name, &ProcessorFault::name);
    if (found == std::end(faults)) {
        throw std::invalid_argument("no kind of fault is called \"" + std::string(name) +
                                    "\"; there are: " + all_names());
    }
    return *found;
}

}  // namespace corrivane::host
