#include "system/posix/fault_signals.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <new>

namespace system_detail {

namespace {

constexpr int fault_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
constexpr std::size_t signal_count = std::size(fault_signals);

std::mutex installation_mutex;
int installed_count = 0;                          // threads that want the handlers
struct sigaction previous_actions[signal_count];  // all zero: the default effect
std::atomic<FaultHandler> fault_handler{nullptr};

// The signal that this thread has handed to the handler that ruled before, or 0. Only constant
// initialisation: a handler reads it.
[[gnu::tls_model("initial-exec")]] thread_local int t_passed_on = 0;

struct sigaction previous_action(int signal) {
    std::size_t index = 0;
    while (index + 1 < signal_count && fault_signals[index] != signal)
        ++index;
    return previous_actions[index];
}

bool is_default(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL;
}

bool is_ignored(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
}

void give_default_effect(int signal, bool was_sent) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
    // A fault repeats itself on return, now without a handler. A trap and a sent signal would not.
    if (was_sent || signal == SIGTRAP) raise(signal);
}

// The effect that the signal would have without guards.
void pass_on(int signal, siginfo_t* information, void* machine) {
    const struct sigaction previous = previous_action(signal);
    const bool was_sent = information->si_code <= 0;
    if (is_ignored(previous) && was_sent) return;
    // Back already: that handler replaced ours after an earlier guard, and calls it in turn for what it won't
    // do itself. Before ours there was none.
    const bool is_back = t_passed_on == signal;
    if (is_back || is_ignored(previous) || is_default(previous)) return give_default_effect(signal, was_sent);
    t_passed_on = signal;
    if ((previous.sa_flags & SA_SIGINFO) != 0)
        previous.sa_sigaction(signal, information, machine);
    else
        previous.sa_handler(signal);
    t_passed_on = 0;
}

void handle(int signal, siginfo_t* information, void* machine) {
    const int saved_errno = errno;
    const bool is_fault = information->si_code > 0;
    if (is_fault && t_passed_on != signal)
        fault_handler.load()(signal, *information, *static_cast<const ucontext_t*>(machine));
    pass_on(signal, information, machine);
    errno = saved_errno;
}

// The faulting code may have switched alignment checks on, and the flag is still up here: until it is
// cleared, any unaligned access faults again, those in a sanitizer's checks of this function included. Hence
// no checks here.
__attribute__((no_sanitize("address", "undefined", "thread"))) void on_signal(int signal,
                                                                              siginfo_t* information,
                                                                              void* machine) {
    constexpr unsigned long long alignment_check = 1ULL << 18;
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() & ~alignment_check);
    handle(signal, information, machine);
}

// Not deferred: a filter may fault, and that fault belongs to the guard outside.
void install() {
    struct sigaction ours {};
    ours.sa_sigaction = on_signal;
    ours.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    for (std::size_t i = 0; i < signal_count; ++i) {
        struct sigaction found;
        sigaction(fault_signals[i], &ours, &found);
        if (found.sa_sigaction != on_signal) previous_actions[i] = found;
    }
}

void give_back() {
    for (std::size_t i = 0; i < signal_count; ++i) {
        if (is_default(previous_actions[i])) continue;
        struct sigaction current;
        sigaction(fault_signals[i], &previous_actions[i], &current);
        if (current.sa_sigaction != on_signal) sigaction(fault_signals[i], &current, nullptr);
        previous_actions[i] = {};
    }
}

// A filter with a report, and a second fault on top of it, use about 30 KiB under a sanitizer, 10
// KiB without.
struct SignalStack {
    alignas(16) std::byte memory[64 * 1024];
    stack_t previous;
};

void drop_signal_stack(void* of_ending_thread) {
    auto* own = static_cast<SignalStack*>(of_ending_thread);
    // Refused while the thread runs on it, which ends where it is then.
    if (sigaltstack(&own->previous, nullptr) == 0) delete own;
}

// Without memory for a stack the thread does without: it can't trap a stack overflow then, but all else.
void provide_signal_stack() {
    static pthread_key_t key;
    static const bool has_key = pthread_key_create(&key, drop_signal_stack) == 0;
    if (!has_key || pthread_getspecific(key) != nullptr) return;
    auto* own = new (std::nothrow) SignalStack;
    if (own == nullptr) return;
    stack_t stack{};
    stack.ss_sp = own->memory;
    stack.ss_size = sizeof own->memory;
    // Refused on a signal stack, where a handler of somebody else may run a guard.
    if (sigaltstack(&stack, &own->previous) != 0) {
        delete own;
    } else if (pthread_setspecific(key, own) != 0) {
        drop_signal_stack(own);
    }
}

}  // namespace

FaultSignals::FaultSignals(FaultHandler handler) {
    provide_signal_stack();
    t_passed_on = 0;  // a handler that ruled before may have left by a jump
    fault_handler = handler;
    const std::lock_guard lock(installation_mutex);
    if (installed_count++ == 0) install();
}

FaultSignals::~FaultSignals() {
    const std::lock_guard lock(installation_mutex);
    if (--installed_count == 0) give_back();
}

}  // namespace system_detail
