#include "faults.h"

#include "core/processor_faults.h"
#include "support/provoked_fault.h"

#include <system/stack_walk.h>

#include <machine.h>

#include <algorithm>
#include <csignal>
#include <cstdint>

namespace {

using corrivane::test::read_address;
using corrivane::test::write_address;

constexpr DWORD access_violation = EXCEPTION_ACCESS_VIOLATION;
constexpr DWORD privileged = EXCEPTION_PRIV_INSTRUCTION;
constexpr ULONG_PTR nowhere = ~ULONG_PTR{0};  // the address of what the processor gives none for
constexpr ULONG_PTR read_kind = 0;
constexpr ULONG_PTR write_kind = 1;
constexpr ULONG_PTR execute_kind = 8;

void jump_to(std::uintptr_t address) {
    asm volatile("call *%0" ::"r"(address) : "memory");
}

std::uintptr_t read_only_page() {
    static void* const page = corrivane::test::read_only_memory(4096);
    return reinterpret_cast<std::uintptr_t>(page);
}

#ifdef __x86_64__
#define STACK_POINTER "rsp"

#ifndef _WIN32  // there it leaves the system nothing to find the handlers by
// Through the frame register, that is the stack segment: another trap, another signal.
void read_non_canonical_stack() {
    asm volatile(
        "pushq %%rbp\n\tmovq %0, %%rbp\n\tmovl (%%rbp), %%eax\n\tpopq %%rbp" ::"r"(std::uint64_t{1} << 63)
        : "eax", "memory");
}
#endif
#else
#define STACK_POINTER "esp"
#endif

// Mask bits, x87 and SSE alike.
constexpr unsigned denormal = 2, underflow = 16;

// A denormal operand before, masked, leaves its flag behind; the underflow must not be taken for it.
void sse_underflow_after_masked_denormal() {
    double tiny = 5e-324;
    asm volatile("divsd %1, %0" : "+x"(tiny) : "x"(1.0));
    unsigned control = 0;
    asm volatile("stmxcsr %0" : "=m"(control));
    control &= ~(underflow << 7);
    asm volatile("ldmxcsr %0" ::"m"(control));
    double value = 1e-300;
    asm volatile("divsd %1, %0" : "+x"(value) : "x"(1e300));
}

void x87_trap_on(unsigned exceptions) {
    const auto control = static_cast<std::uint16_t>(0x37F & ~exceptions);
    asm volatile("fninit\n\tfldcw %0" ::"m"(control));
}

void x87_divide_denormal() {
    const double tiny = 5e-324;
    x87_trap_on(denormal);
    asm volatile("fldl %0\n\tfld1\n\tfdivrp\n\tfwait\n\tfstp %%st(0)" ::"m"(tiny));
}

void x87_underflow() {
    const double value = 1e-300;
    float stored = 0;
    x87_trap_on(underflow);
    asm volatile("fldl %1\n\tfstps %0\n\tfwait" : "=m"(stored) : "m"(value));
}

template <std::size_t FrameSize>
[[gnu::noinline]] int recurse(int depth) {
    volatile char frame[FrameSize];
    frame[0] = static_cast<char>(depth);
    frame[FrameSize - 1] = frame[0];
    return depth < 0 ? 0 : recurse<FrameSize>(depth + 1) + frame[0];
}

Provocation of_the_host(std::string_view name, DWORD code, int signal) {
    return {name, code, signal, corrivane::host::find_processor_fault(name).provoke};
}

}  // namespace

void read_address_16() {
    read_address(16);
}

void write_address_32() {
    write_address(32);
}

bool find_module(const void* address, MODULEENTRY32& module) {
    const HANDLE modules = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0);
    module = {};
    module.dwSize = sizeof module;
    const auto holds = [&] {
        return reinterpret_cast<ULONG_PTR>(address) - reinterpret_cast<ULONG_PTR>(module.modBaseAddr) <
               module.modBaseSize;
    };
    BOOL is_there = Module32First(modules, &module);
    while (is_there && !holds())
        is_there = Module32Next(modules, &module);
    return CloseHandle(modules) && is_there;
}

bool walk_goes_on(const EXCEPTION_POINTERS& information) {
    StackWalk walk(information);
    StackFrame frame;
    return walk.next(frame) && walk.next(frame);
}

const std::vector<Provocation>& provocations() {
    static const ULONG_PTR page = read_only_page();
    static const std::vector<Provocation> table = {
        of_the_host("Datatype Misalignment", EXCEPTION_DATATYPE_MISALIGNMENT, SIGBUS),
        of_the_host("In Page Error", EXCEPTION_IN_PAGE_ERROR, SIGBUS),
        of_the_host("Privileged Instruction", privileged, SIGSEGV),
        of_the_host("Illegal Instruction", EXCEPTION_ILLEGAL_INSTRUCTION, SIGILL),
        of_the_host("Integer Divide By Zero", EXCEPTION_INT_DIVIDE_BY_ZERO, SIGFPE),
        of_the_host("Float Divide By Zero", EXCEPTION_FLT_DIVIDE_BY_ZERO, SIGFPE),
        of_the_host("Float Invalid Operation", EXCEPTION_FLT_INVALID_OPERATION, SIGFPE),
        of_the_host("Float Overflow", EXCEPTION_FLT_OVERFLOW, SIGFPE),
        of_the_host("Float Inexact Result", EXCEPTION_FLT_INEXACT_RESULT, SIGFPE),
        of_the_host("Float Denormal Operand", EXCEPTION_FLT_DENORMAL_OPERAND, SIGFPE),
        of_the_host("Float Underflow", EXCEPTION_FLT_UNDERFLOW, SIGFPE),
        of_the_host("Float Stack Check", EXCEPTION_FLT_STACK_CHECK, SIGFPE),
        of_the_host("Breakpoint", EXCEPTION_BREAKPOINT, SIGTRAP),
        {"Read", access_violation, SIGSEGV, read_address_16, {read_kind, 16}},
        {"Write", access_violation, SIGSEGV, write_address_32, {write_kind, 32}},
        {"Jump", access_violation, SIGSEGV, [] { jump_to(48); }, {execute_kind, 48}},
        {"ReadOnly", access_violation, SIGSEGV, [] { write_address(read_only_page()); }, {write_kind, page}},
#ifdef __x86_64__
        {"NonCanonical",
         access_violation,
         SIGSEGV,
         [] { read_address(std::uintptr_t{1} << 63); },
         {read_kind, nowhere}},
#ifndef _WIN32
        {"NonCanonicalStack", access_violation, SIGBUS, read_non_canonical_stack, {read_kind, nowhere}},
#endif
#endif
        {"Interrupt", access_violation, SIGSEGV, [] { asm volatile("int $0x21"); }, {read_kind, nowhere}},
        {"ForbidInterrupts", privileged, SIGSEGV, [] { asm volatile("cli"); }},
#ifndef _WIN32  // Wine takes these for access violations
        {"MachineRegister", privileged, SIGSEGV, [] { asm volatile("rdmsr" ::"c"(0x10)
                                                                   : "eax", "edx"); }},
        {"TaskRegister", privileged, SIGSEGV, [] { asm volatile("ltr %%ax" ::"a"(0)); }},
#endif
        {"Port", privileged, SIGSEGV, [] { asm volatile("outb %%al, $0x80" ::"a"(0)); }},
        {"IntegerOutOfRange", EXCEPTION_INT_DIVIDE_BY_ZERO, SIGFPE,
         [] {
             asm volatile("cltd\n\tidivl %0" : : "r"(-1), "a"(INT32_MIN) : "edx", "cc");
         }},
        {"AfterDenormal", EXCEPTION_FLT_UNDERFLOW, SIGFPE, sse_underflow_after_masked_denormal},
        {"X87Denormal", EXCEPTION_FLT_DENORMAL_OPERAND, SIGFPE, x87_divide_denormal},
        {"X87Underflow", EXCEPTION_FLT_UNDERFLOW, SIGFPE, x87_underflow},
        {"SingleStep", EXCEPTION_SINGLE_STEP, SIGTRAP,
         [] {
             asm volatile("pushf\n\torl $0x100, (%%" STACK_POINTER ")\n\tpopf\n\tnop" ::: "cc");
         }},
    };
    return table;
}

const std::vector<Provocation>& stack_overflows() {
    static const std::vector<Provocation> table = {
        {"SmallFrames", EXCEPTION_STACK_OVERFLOW, SIGSEGV, [] { recurse<200>(1); }},
        of_the_host("Stack Overflow", EXCEPTION_STACK_OVERFLOW, SIGSEGV),
        {"HugeFrames", EXCEPTION_STACK_OVERFLOW, SIGSEGV, [] { recurse<3'000'000>(1); }},
    };
    return table;
}

const Provocation& provocation(std::string_view name) {
    return *std::ranges::find(provocations(), name, &Provocation::name);
}
