#include "detail/fault_signals.h"

#include <atomic>
#include <cerrno>
#include <iterator>
#include <mutex>

namespace win32_detail {

namespace {

constexpr int fault_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
constexpr std::size_t signal_count = std::size(fault_signals);

std::mutex installation_mutex;
int installed_count = 0;  // threads that want the handlers
struct sigaction previous_actions[signal_count];
std::atomic<FaultHandler> fault_handler{nullptr};

const struct sigaction& previous_action(int signal) {
    std::size_t index = 0;
    while (index + 1 < signal_count && fault_signals[index] != signal)
        ++index;
    return previous_actions[index];
}

void set_default(int signal) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

// The effect that the signal would have without guards.
void pass_on(int signal, siginfo_t* information, void* machine) {
    const struct sigaction& previous = previous_action(signal);
    if ((previous.sa_flags & SA_SIGINFO) != 0) return previous.sa_sigaction(signal, information, machine);
    const bool was_sent = information->si_code <= 0;
    if (previous.sa_handler == SIG_IGN && was_sent) return;
    if (previous.sa_handler != SIG_IGN && previous.sa_handler != SIG_DFL) return previous.sa_handler(signal);
    set_default(signal);
    // A fault repeats itself on return, now without a handler. A trap and a sent signal would not.
    if (was_sent || signal == SIGTRAP) raise(signal);
}

void handle(int signal, siginfo_t* information, void* machine) {
    const int saved_errno = errno;
    const bool is_fault = information->si_code > 0;
    if (is_fault) fault_handler.load()(signal, *information, *static_cast<const ucontext_t*>(machine));
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
    struct sigaction action {};
    action.sa_sigaction = on_signal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    for (std::size_t i = 0; i < signal_count; ++i)
        sigaction(fault_signals[i], &action, &previous_actions[i]);
}

void uninstall() {
    for (std::size_t i = 0; i < signal_count; ++i) {
        struct sigaction current;
        sigaction(fault_signals[i], &previous_actions[i], &current);
        if (current.sa_sigaction != on_signal) sigaction(fault_signals[i], &current, nullptr);
    }
}

}  // namespace

FaultSignals::FaultSignals(FaultHandler handler) {
    fault_handler = handler;
    stack_t own{};
    own.ss_sp = m_stack;
    own.ss_size = sizeof(m_stack);
    m_has_stack =
        sigaltstack(&own, &m_previous_stack) == 0;  // refused to a guard inside a filter: it runs on one
    const std::lock_guard lock(installation_mutex);
    if (installed_count++ == 0) install();
}

FaultSignals::~FaultSignals() {
    {
        const std::lock_guard lock(installation_mutex);
        if (--installed_count == 0) uninstall();
    }
    if (m_has_stack) sigaltstack(&m_previous_stack, nullptr);
}

}  // namespace win32_detail
