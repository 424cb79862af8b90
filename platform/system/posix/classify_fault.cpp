// x86-64 only: the kernel passes the processor's trap number, error code and floating-point state, and only
// these tell apart what one signal lumps together.
#include "system/posix/classify_fault.h"

#include "system/posix/safe_memory.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace system_detail {

namespace {

// Exception vectors of the processor (Intel SDM volume 3, table 6-1).
constexpr long long trap_debug = 1;
constexpr long long trap_breakpoint = 3;
constexpr long long trap_page_fault = 14;
constexpr long long trap_x87 = 16;

// Exception flags, in the same places in the x87 status word and in MXCSR.
constexpr unsigned flag_invalid = 0x01;
constexpr unsigned flag_denormal = 0x02;
constexpr unsigned flag_stack_fault = 0x40;  // x87 only

ULONG_PTR machine_register(const ucontext_t& machine, int index) {
    return static_cast<ULONG_PTR>(machine.uc_mcontext.gregs[index]);
}

long long trap_number(const ucontext_t& machine) {
    return machine.uc_mcontext.gregs[REG_TRAPNO];
}

bool is_prefix(BYTE byte) {
    constexpr BYTE legacy[] = {0x26, 0x2E, 0x36, 0x3E, 0x64, 0x65, 0x66, 0x67, 0xF0, 0xF2, 0xF3};
    const bool is_rex = byte >= 0x40 && byte <= 0x4F;
    return is_rex || std::find(std::begin(legacy), std::end(legacy), byte) != std::end(legacy);
}

// Two-byte instructions (after 0F) for the kernel only; `operand` is the byte that follows.
bool is_privileged_extended(BYTE opcode, BYTE operand) {
    const unsigned extension = operand >> 3 & 7;
    switch (opcode) {
        case 0x00:
            return extension == 2 || extension == 3;  // lldt, ltr
        case 0x01:                                    // lgdt, lidt, lmsw, invlpg, swapgs; xsetbv
            return operand == 0xD1 || extension == 2 || extension == 3 || extension == 6 || extension == 7;
        case 0x06:  // clts
        case 0x07:  // sysret
        case 0x08:  // invd
        case 0x09:  // wbinvd
        case 0x20:  // mov from and to control and debug registers
        case 0x21:
        case 0x22:
        case 0x23:
        case 0x30:  // wrmsr
        case 0x31:  // rdtsc, rdmsr, rdpmc
        case 0x32:
        case 0x33:
        case 0x35:
            return true;  // sysexit
        default:
            return false;
    }
}

bool is_privileged(const BYTE* code, std::size_t count) {
    const BYTE* const end = code + count;
    const BYTE* opcode = std::find_if_not(code, end, is_prefix);
    if (opcode == end) return false;
    if (*opcode == 0x0F) return end - opcode >= 3 && is_privileged_extended(opcode[1], opcode[2]);
    const bool is_string_io = *opcode >= 0x6C && *opcode <= 0x6F;
    const bool is_io = (*opcode & 0xF4) == 0xE4;  // E4 to E7 and EC to EF
    return *opcode == 0xF4 || *opcode == 0xFA || *opcode == 0xFB || is_string_io || is_io;  // hlt, cli, sti
}

bool stands_at_privileged_instruction(ULONG_PTR instruction) {
    constexpr std::size_t longest_instruction = 15;
    BYTE code[longest_instruction];
    return is_privileged(code, copy_readable(code, reinterpret_cast<const void*>(instruction), sizeof(code)));
}

// 0 read, 1 write, 8 execution: bits 1 and 4 of the page fault's error code.
ULONG_PTR access_kind(const ucontext_t& machine) {
    return static_cast<ULONG_PTR>(machine.uc_mcontext.gregs[REG_ERR]) >> 1 & 9;
}

// A frame may be larger than the guard page, so the stack pointer can be anywhere below the stack; the access
// is then near it.
bool is_stack_overflow(ULONG_PTR stack_pointer, ULONG_PTR address, std::uintptr_t stack_low) {
    constexpr ULONG_PTR margin = 65'536;
    if (stack_low < margin || stack_pointer >= stack_low + margin || address >= stack_low + margin)
        return false;
    const ULONG_PTR lowest = std::min(stack_pointer, stack_low);
    return lowest < margin || address >= lowest - margin;
}

void set_access(EXCEPTION_RECORD& record, DWORD code, ULONG_PTR kind, ULONG_PTR address) {
    record.ExceptionCode = code;
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = kind;
    record.ExceptionInformation[1] = address;
}

// The processor names no address for a non-canonical one and for instructions that it forbids.
void classify_protection_fault(const CONTEXT& context, EXCEPTION_RECORD& record) {
    if (stands_at_privileged_instruction(context.Rip))
        record.ExceptionCode = EXCEPTION_PRIV_INSTRUCTION;
    else
        set_access(record, EXCEPTION_ACCESS_VIOLATION, 0, ~ULONG_PTR{0});
}

void classify_segv(const siginfo_t& information, const ucontext_t& machine, std::uintptr_t stack_low,
                   const CONTEXT& context, EXCEPTION_RECORD& record) {
    if (trap_number(machine) != trap_page_fault) return classify_protection_fault(context, record);
    const auto address = reinterpret_cast<ULONG_PTR>(information.si_addr);
    const bool overflow = is_stack_overflow(context.Rsp, address, stack_low);
    set_access(record, overflow ? EXCEPTION_STACK_OVERFLOW : EXCEPTION_ACCESS_VIOLATION, access_kind(machine),
               address);
}

void classify_bus(const siginfo_t& information, const ucontext_t& machine, const CONTEXT& context,
                  EXCEPTION_RECORD& record) {
    if (information.si_code == BUS_ADRALN)
        record.ExceptionCode = EXCEPTION_DATATYPE_MISALIGNMENT;
    else if (trap_number(machine) !=
             trap_page_fault)  // a non-canonical address reached through the stack segment
        classify_protection_fault(context, record);
    else
        set_access(record, EXCEPTION_IN_PAGE_ERROR, access_kind(machine),
                   reinterpret_cast<ULONG_PTR>(information.si_addr));
}

// The exceptions that the trapping unit reports and does not mask. Flags of masked ones may have been there
// for long.
unsigned float_flags(const ucontext_t& machine) {
    const auto* state = machine.uc_mcontext.fpregs;
    if (state == nullptr) return 0;
    if (trap_number(machine) != trap_x87) return state->mxcsr & ~(state->mxcsr >> 7);
    return state->swd & (~static_cast<unsigned>(state->cwd) | flag_stack_fault);
}

DWORD float_code(const siginfo_t& information, const ucontext_t& machine) {
    const unsigned flags = float_flags(machine);
    switch (information.si_code) {
        case FPE_INTDIV:
            return EXCEPTION_INT_DIVIDE_BY_ZERO;
        case FPE_INTOVF:
            return EXCEPTION_INT_OVERFLOW;
        case FPE_FLTDIV:
            return EXCEPTION_FLT_DIVIDE_BY_ZERO;
        case FPE_FLTOVF:
            return EXCEPTION_FLT_OVERFLOW;
        case FPE_FLTRES:
            return EXCEPTION_FLT_INEXACT_RESULT;
        case FPE_FLTUND:  // the kernel's name for a denormal operand too
            return (flags & flag_denormal) != 0 ? EXCEPTION_FLT_DENORMAL_OPERAND : EXCEPTION_FLT_UNDERFLOW;
        default:
            if (trap_number(machine) == trap_x87 && (flags & flag_stack_fault) != 0 &&
                (flags & flag_invalid) != 0)
                return EXCEPTION_FLT_STACK_CHECK;
            return EXCEPTION_FLT_INVALID_OPERATION;
    }
}

// As on Windows, a breakpoint's address is that of its instruction; the processor stands behind it.
void classify_trap(const ucontext_t& machine, CONTEXT& context, EXCEPTION_RECORD& record) {
    record.ExceptionCode = EXCEPTION_SINGLE_STEP;
    if (trap_number(machine) == trap_debug) return;
    record.ExceptionCode = EXCEPTION_BREAKPOINT;
    if (trap_number(machine) == trap_breakpoint) --context.Rip;
}

}  // namespace

Fault classify_fault(int signal, const siginfo_t& information, const ucontext_t& machine,
                     std::uintptr_t stack_low) {
    Fault fault;
    CONTEXT& context = fault.context;
    EXCEPTION_RECORD& record = fault.record;
    context = {machine_register(machine, REG_RSP), machine_register(machine, REG_RBP),
               machine_register(machine, REG_RIP)};
    switch (signal) {
        case SIGSEGV:
            classify_segv(information, machine, stack_low, context, record);
            break;
        case SIGBUS:
            classify_bus(information, machine, context, record);
            break;
        case SIGFPE:
            record.ExceptionCode = float_code(information, machine);
            break;
        case SIGTRAP:
            classify_trap(machine, context, record);
            break;
        default:
            record.ExceptionCode = EXCEPTION_ILLEGAL_INSTRUCTION;
            break;
    }
    record.ExceptionAddress = reinterpret_cast<PVOID>(context.Rip);
    return fault;
}

int signal_of_exception(DWORD code) {
    switch (code) {
        case EXCEPTION_ACCESS_VIOLATION:
        case EXCEPTION_STACK_OVERFLOW:
        case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
        case EXCEPTION_PRIV_INSTRUCTION:
        case EXCEPTION_GUARD_PAGE:
            return SIGSEGV;
        case EXCEPTION_IN_PAGE_ERROR:
        case EXCEPTION_DATATYPE_MISALIGNMENT:
            return SIGBUS;
        case EXCEPTION_ILLEGAL_INSTRUCTION:
            return SIGILL;
        case EXCEPTION_BREAKPOINT:
        case EXCEPTION_SINGLE_STEP:
            return SIGTRAP;
        case EXCEPTION_FLT_DENORMAL_OPERAND:
        case EXCEPTION_FLT_DIVIDE_BY_ZERO:
        case EXCEPTION_FLT_INEXACT_RESULT:
        case EXCEPTION_FLT_INVALID_OPERATION:
        case EXCEPTION_FLT_OVERFLOW:
        case EXCEPTION_FLT_STACK_CHECK:
        case EXCEPTION_FLT_UNDERFLOW:
        case EXCEPTION_INT_DIVIDE_BY_ZERO:
        case EXCEPTION_INT_OVERFLOW:
            return SIGFPE;
        default:
            return SIGABRT;
    }
}

}  // namespace system_detail
