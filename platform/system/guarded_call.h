// Guarded calls: structured exceptions for code that cannot say __try. The contract is the same on every
// system; posix/ implements it on signals.
#pragma once

#include <windows.h>

// The code under which a C++ exception reaches the filters.
inline constexpr DWORD CPP_EXCEPTION_CODE = 0xE06D7363;

// Decides about an exception: EXCEPTION_EXECUTE_HANDLER takes it, EXCEPTION_CONTINUE_SEARCH passes it on
// outward. Runs on the faulting thread, on top of the faulting frames, before anything is unwound. Whatever
// lock the faulting code held is still held, so a filter calls only what is marked filter-safe, and neither
// allocates nor throws. It runs on a small stack of its own (about 60 KiB). A fault inside a filter goes to
// the guard outside.
using SehFilter = int (*)(DWORD code, EXCEPTION_POINTERS* information, void* owner);

// Runs call(argument). Returns 0 when it returned, or the code of the exception that the filter took: then
// the call ended where it stood, without destructors, and the floating-point environment and the signal mask
// are those of the entry again.
//
// Processor faults (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP; not when sent by kill) ask the guards of the
// faulting thread, innermost first. What no guard takes keeps the effect that it would have without guards.
// A fault inside the allocator that leaves its lock held is taken, and then ends the process by its signal
// after five seconds, since the thread could never allocate again.
//
// A C++ exception that leaves the call runs the filter once with CPP_EXCEPTION_CODE, after the call's frames
// are unwound, the record and context describing the guard itself. If the filter does not take it, the same
// exception goes on. The end of a thread by pthread_exit passes without the filter.
DWORD seh_guarded_call(void (*call)(void*), void* argument, SehFilter filter, void* owner);
