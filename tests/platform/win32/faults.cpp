#include "faults.h"

#include "support/provoked_fault.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cfenv>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ostream>

namespace {

using corrivane::test::read_address;
using corrivane::test::write_address;

constexpr DWORD access_violation = EXCEPTION_ACCESS_VIOLATION;
constexpr DWORD privileged = EXCEPTION_PRIV_INSTRUCTION;
constexpr ULONG_PTR nowhere = ~ULONG_PTR{0};  // the address of what the processor gives none for
constexpr ULONG_PTR read_kind = 0;
constexpr ULONG_PTR write_kind = 1;
constexpr ULONG_PTR execute_kind = 8;
constexpr std::uintptr_t non_canonical = 0x8000'0000'0000'0000;

void jump_to(std::uintptr_t address) {
    asm volatile("call *%0" ::"r"(address) : "memory");
}

std::uintptr_t read_only_page() {
    static void* const page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return reinterpret_cast<std::uintptr_t>(page);
}

// Through the frame register, that is the stack segment: another trap, another signal.
void read_non_canonical_stack(void*) {
    asm volatile(
        "pushq %%rbp\n\t"
        "movq %0, %%rbp\n\t"
        "movl (%%rbp), %%eax\n\t"
        "popq %%rbp" ::"r"(non_canonical)
        : "eax", "memory");
}

void read_misaligned_vector(void*) {
    alignas(16) static const char bytes[32] = {};
    asm volatile("movaps (%0), %%xmm0" ::"r"(bytes + 1) : "xmm0", "memory");
}

void read_misaligned_with_checks_on(void*) {
    static const char bytes[8] = {};
    asm volatile(
        "pushfq\n\t"
        "orl $0x40000, (%%rsp)\n\t"
        "popfq\n\t"
        "movl (%0), %%eax" ::"r"(bytes + 1)
        : "eax", "memory", "cc");
}

void read_beyond_end_of_mapped_file(void*) {
    static void* const page = [] {
        std::FILE* file = std::tmpfile();
        const bool has_room = file != nullptr && ftruncate(fileno(file), 4096) == 0;
        void* mapped = has_room ? mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0) : nullptr;
        if (has_room && ftruncate(fileno(file), 0) != 0) mapped = nullptr;
        if (file != nullptr) std::fclose(file);
        return mapped;
    }();
    read_address(reinterpret_cast<std::uintptr_t>(page));
}

void read_machine_register(void*) {
    asm volatile("rdmsr" ::"c"(0x10) : "eax", "edx");
}

void step_once(void*) {
    asm volatile(
        "pushfq\n\t"
        "orl $0x100, (%%rsp)\n\t"
        "popfq\n\t"
        "nop" ::
            : "memory", "cc");
}

void divide_integer(int dividend, int divisor) {
    asm volatile("cltd\n\tidivl %1" : "+a"(dividend) : "r"(divisor) : "edx", "cc");
}

// The exceptions in the order of their mask bits, x87 and SSE alike.
constexpr unsigned invalid = 1, denormal = 2, zero_divide = 4, overflow = 8, underflow = 16, inexact = 32;

void sse_trap_on(unsigned exceptions) {
    const unsigned control = 0x1F80 & ~(exceptions << 7);
    asm volatile("ldmxcsr %0" ::"m"(control));
}

void sse_divide(unsigned exceptions, double dividend, double divisor) {
    sse_trap_on(exceptions);
    asm volatile("divsd %1, %0" : "+x"(dividend) : "x"(divisor));
}

// A denormal operand before, masked, leaves its flag behind; the underflow must not be taken for it.
void sse_underflow_after_masked_denormal(void*) {
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

void x87_divide(unsigned exceptions, double dividend, double divisor) {
    x87_trap_on(exceptions);
    asm volatile("fldl %0\n\tfdivl %1\n\tfwait\n\tfstp %%st(0)" ::"m"(dividend), "m"(divisor));
}

void x87_store_as_float(unsigned exceptions, double value) {
    float stored = 0;
    x87_trap_on(exceptions);
    asm volatile("fldl %1\n\tfstps %0\n\tfwait" : "=m"(stored) : "m"(value));
}

void x87_stack_check(void*) {
    x87_trap_on(invalid);
    asm volatile("fstp %st(0)\n\tfwait");
}

template <std::size_t FrameSize>
[[gnu::noinline]] int recurse(int depth) {
    volatile char frame[FrameSize];
    frame[0] = static_cast<char>(depth);
    frame[FrameSize - 1] = frame[0];
    return depth < 0 ? 0 : recurse<FrameSize>(depth + 1) + frame[0];
}

template <std::size_t FrameSize>
void overflow_stack(void*) {
    volatile int result = recurse<FrameSize>(1);
    static_cast<void>(result);
}

}  // namespace

void PrintTo(const Provocation& provocation, std::ostream* out) {
    *out << provocation.name;
}

void read_address_16(void*) {
    read_address(16);
}

std::string provocation_name(const testing::TestParamInfo<Provocation>& info) {
    return info.param.name;
}

const std::vector<Provocation>& provocations() {
    static const ULONG_PTR page = read_only_page();
    static const std::vector<Provocation> table = {
        {"Read", read_address_16, access_violation, SIGSEGV, {read_kind, 16}},
        {"Write", [](void*) { write_address(32); }, access_violation, SIGSEGV, {write_kind, 32}},
        {"Jump", [](void*) { jump_to(48); }, access_violation, SIGSEGV, {execute_kind, 48}},
        {"ReadOnlyPage",
         [](void*) { write_address(read_only_page()); },
         access_violation,
         SIGSEGV,
         {write_kind, page}},
        {"JumpToData",
         [](void*) { jump_to(read_only_page()); },
         access_violation,
         SIGSEGV,
         {execute_kind, page}},
        {"NonCanonical",
         [](void*) { read_address(non_canonical); },
         access_violation,
         SIGSEGV,
         {read_kind, nowhere}},
        {"NonCanonicalStack", read_non_canonical_stack, access_violation, SIGBUS, {read_kind, nowhere}},
        {"MisalignedVector", read_misaligned_vector, access_violation, SIGSEGV, {read_kind, nowhere}},
        {"UnknownInterrupt",
         [](void*) { asm volatile("int $0x21"); },
         access_violation,
         SIGSEGV,
         {read_kind, nowhere}},
        {"MisalignedRead", read_misaligned_with_checks_on, EXCEPTION_DATATYPE_MISALIGNMENT, SIGBUS},
        {"EndOfMappedFile", read_beyond_end_of_mapped_file, EXCEPTION_IN_PAGE_ERROR, SIGBUS},
        {"Halt", [](void*) { asm volatile("hlt"); }, privileged, SIGSEGV},
        {"ForbidInterrupts", [](void*) { asm volatile("cli"); }, privileged, SIGSEGV},
        {"MachineRegister", read_machine_register, privileged, SIGSEGV},
        {"TaskRegister", [](void*) { asm volatile("ltr %%ax" ::"a"(0)); }, privileged, SIGSEGV},
        {"Port", [](void*) { asm volatile("outb %%al, $0x80" ::"a"(0)); }, privileged, SIGSEGV},
        {"Undefined", [](void*) { asm volatile("ud2"); }, EXCEPTION_ILLEGAL_INSTRUCTION, SIGILL},
        {"IntegerByZero", [](void*) { divide_integer(1, 0); }, EXCEPTION_INT_DIVIDE_BY_ZERO, SIGFPE},
        {"IntegerOutOfRange", [](void*) { divide_integer(INT32_MIN, -1); }, EXCEPTION_INT_DIVIDE_BY_ZERO,
         SIGFPE},
        {"SseByZero", [](void*) { sse_divide(zero_divide, 1, 0); }, EXCEPTION_FLT_DIVIDE_BY_ZERO, SIGFPE},
        {"SseInvalid", [](void*) { sse_divide(invalid, 0, 0); }, EXCEPTION_FLT_INVALID_OPERATION, SIGFPE},
        {"SseOverflow", [](void*) { sse_divide(overflow, 1e300, 1e-300); }, EXCEPTION_FLT_OVERFLOW, SIGFPE},
        {"SseInexact", [](void*) { sse_divide(inexact, 1, 3); }, EXCEPTION_FLT_INEXACT_RESULT, SIGFPE},
        {"SseDenormal", [](void*) { sse_divide(denormal, 5e-324, 1); }, EXCEPTION_FLT_DENORMAL_OPERAND,
         SIGFPE},
        {"SseUnderflow", [](void*) { sse_divide(underflow, 1e-300, 1e300); }, EXCEPTION_FLT_UNDERFLOW,
         SIGFPE},
        {"SseUnderflowAfterDenormal", sse_underflow_after_masked_denormal, EXCEPTION_FLT_UNDERFLOW, SIGFPE},
        {"X87ByZero", [](void*) { x87_divide(zero_divide, 1, 0); }, EXCEPTION_FLT_DIVIDE_BY_ZERO, SIGFPE},
        {"X87Invalid", [](void*) { x87_divide(invalid, 0, 0); }, EXCEPTION_FLT_INVALID_OPERATION, SIGFPE},
        {"X87Overflow", [](void*) { x87_store_as_float(overflow, 1e300); }, EXCEPTION_FLT_OVERFLOW, SIGFPE},
        {"X87Inexact", [](void*) { x87_divide(inexact, 1, 3); }, EXCEPTION_FLT_INEXACT_RESULT, SIGFPE},
        {"X87Denormal", [](void*) { x87_divide(denormal, 5e-324, 1); }, EXCEPTION_FLT_DENORMAL_OPERAND,
         SIGFPE},
        {"X87Underflow", [](void*) { x87_store_as_float(underflow, 1e-300); }, EXCEPTION_FLT_UNDERFLOW,
         SIGFPE},
        {"X87StackCheck", x87_stack_check, EXCEPTION_FLT_STACK_CHECK, SIGFPE},
        {"Breakpoint", [](void*) { asm volatile("int3"); }, EXCEPTION_BREAKPOINT, SIGTRAP},
        {"SingleStep", step_once, EXCEPTION_SINGLE_STEP, SIGTRAP},
    };
    return table;
}

const std::vector<Provocation>& stack_overflows() {
    static const std::vector<Provocation> table = {
        {"SmallFrames", overflow_stack<200>, EXCEPTION_STACK_OVERFLOW, SIGSEGV},
        {"PageFrames", overflow_stack<20'000>, EXCEPTION_STACK_OVERFLOW, SIGSEGV},
        {"HugeFrames", overflow_stack<3'000'000>, EXCEPTION_STACK_OVERFLOW, SIGSEGV},
    };
    return table;
}
