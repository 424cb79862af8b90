// The sanitizers' own fault handlers turn a death by a signal into an exit code, which the tests could not
// tell from a failure. Options of the environment still win.
#define FAULTS_ARE_NOT_HANDLED \
    "handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:handle_sigtrap=0"

extern "C" {
// The names are the sanitizers'. NOLINTBEGIN(bugprone-reserved-identifier)
const char* __asan_default_options() {
    return FAULTS_ARE_NOT_HANDLED;
}
const char* __ubsan_default_options() {
    return FAULTS_ARE_NOT_HANDLED;
}
// A fault abandons the exception that was under way, as it abandons whatever else the call owned.
const char* __lsan_default_suppressions() {
    return "leak:WhatIsTakenLeavesNoTrace";
}
const char* __tsan_default_options() {
    return FAULTS_ARE_NOT_HANDLED ":halt_on_error=1";
}
// NOLINTEND(bugprone-reserved-identifier)
}
