// A frame with a scope table, as compilers make it of __try and __except, written out because g++ knows no such words.
#include "system/windows/guard.h"

namespace system_detail {

extern "C" {

// 1 when the call returned, 0 when the filter took a fault.
int corrivane_call_in_scope(void (*call)(void*), void* argument, Guard* guard);

// The scope's filter. The system knows the frame by its lowest address.
int corrivane_scope_filter(const EXCEPTION_POINTERS* information, void* frame) {
    constexpr int guard_offset = 40;
    return decide(**reinterpret_cast<Guard**>(static_cast<char*>(frame) + guard_offset), *information);
}
}

// The lower 32 bytes of the frame are the callee's by convention.
asm(R"(
    .text
    .seh_proc corrivane_call_in_scope
corrivane_call_in_scope:
    pushq %rbp
    .seh_pushreg %rbp
    subq $48, %rsp
    .seh_stackalloc 48
    leaq 48(%rsp), %rbp
    .seh_setframe %rbp, 48
    .seh_endprologue
    movq %r8, 40(%rsp)
    movq %rcx, %rax
    movq %rdx, %rcx
.Lscope_begin:
    call *%rax
    nop
.Lscope_end:
    movl $1, %eax
.Lleave:
    leaq (%rbp), %rsp
    popq %rbp
    ret
.Ltaken:
    xorl %eax, %eax
    jmp .Lleave
    .seh_handler __C_specific_handler, @except
    .seh_handlerdata
    .long 1
    .rva .Lscope_begin, .Lscope_end, corrivane_scope_filter, .Ltaken
    .text
    .seh_endproc
)");

bool call_behind_guard(void (*call)(void*), void* argument, Guard& guard) {
    return corrivane_call_in_scope(call, argument, &guard) != 0;
}

}  // namespace system_detail
