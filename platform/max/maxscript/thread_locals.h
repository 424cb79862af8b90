#pragma once

#include <max/maxscript/streams.h>
#include <windows.h>

/// A record on the native stack that keeps values alive: while it is linked into the chain that starts at
/// MAXScriptThreadLocals::current_locals_frame, the collector scans the `count` value slots behind it.
struct ValueLocalsFrame {
    std::intptr_t count;
    ValueLocalsFrame* previous;

    Value** slots() { return reinterpret_cast<Value**>(this + 1); }
};

/// What the runtime keeps for each thread that runs MAXScript.
struct MAXScriptThreadLocals {
    ValueLocalsFrame* current_locals_frame = nullptr;
    Value* current_result = nullptr;
    /// Where print, format and the compiler's messages go: the Listener, unless a script redirects it.
    CharStream* current_stdout = nullptr;
};

/// The TLS slot (TlsGetValue) that holds a thread's MAXScriptThreadLocals*; null for a thread without one.
extern DWORD thread_locals_index;

/// Gives the calling thread its block. Sets the last error to ERROR_SUCCESS, or to what went wrong.
void init_thread_locals();
