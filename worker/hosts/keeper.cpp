#include "worker/hosts/keeper.h"

#include "worker/base/processes.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>

namespace corrivane::worker {
namespace {

// Between fork and exec, and in the keeper, which never calls exec: other threads of the worker may have held any
// lock at the fork, so there are only system calls here.

/// What the keeper says first.
struct Started {
    pid_t program = -1;
    int error = 0;  // of the call that failed
};

/// Signals as a program expects them at its start: the worker blocks some and ignores others.
void restore_signals() {
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
}

/// Returns the error number when it fails.
int become_program(const KeptProgram& program, pid_t keeper) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != keeper) ::_exit(1);  // it died before the kernel knew that it matters
    restore_signals();
    if (program.nice != 0) ::setpriority(PRIO_PROCESS, 0, ::getpriority(PRIO_PROCESS, 0) + program.nice);
    if (::dup2(program.input, STDIN_FILENO) == -1) return errno;
    if (::dup2(program.output, STDOUT_FILENO) == -1) return errno;
    if (::dup2(program.output, STDERR_FILENO) == -1) return errno;
    ::execv(program.arguments[0], program.arguments);
    return errno;
}

/// Starts the program and waits until it runs, which closes the pipe of its failure.
Started start_program(const KeptProgram& program) {
    int failure[2];
    if (::pipe2(failure, O_CLOEXEC) == -1) return {-1, errno};
    const pid_t keeper = ::getpid();
    const pid_t pid = ::_Fork();
    if (pid == -1) return {-1, errno};
    if (pid == 0) {
        const int error = become_program(program, keeper);
        [[maybe_unused]] const auto written = ::write(failure[1], &error, sizeof error);
        ::_exit(127);
    }
    ::setpgid(pid, pid);  // on both sides: whoever comes first, the group is there before it is signalled
    ::close(failure[1]);
    Started started{pid, 0};
    while (::read(failure[0], &started.error, sizeof started.error) == -1 && errno == EINTR) {
    }
    return started;
}

/// Waits for the program's end, taking in whoever else ended meanwhile; false where the worker lets go before.
bool wait_for_program(pid_t program, int leash, int signals, ProgramEnd& end) {
    for (;;) {
        pollfd entries[] = {{leash, POLLIN, 0}, {signals, POLLIN, 0}};
        if (::poll(entries, 2, -1) == -1) continue;
        if (entries[0].revents != 0) return false;
        signalfd_siginfo taken;
        [[maybe_unused]] const auto count = ::read(signals, &taken, sizeof taken);
        for (siginfo_t info{}; ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG) == 0 && info.si_pid != 0;
             info = {})
            if (info.si_pid == program) {
                end = {info.si_code, info.si_status};
                return true;
            }
    }
}

/// The children of those that are killed fall to the keeper, so this goes on until there are none.
void kill_descendants() {
    const pid_t self = ::getpid();
    for (;;) {
        const pid_t child = find_child(self);
        if (child != 0) ::kill(child, SIGKILL);
        if (::waitpid(-1, nullptr, child != 0 ? 0 : WNOHANG) == -1 && errno == ECHILD) return;
    }
}

[[noreturn]] void keep(const KeptProgram& program, int leash, int report) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    ::prctl(PR_SET_NAME, "corrivane-keep");
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_SETMASK, &all, nullptr);
    sigset_t child;
    ::sigemptyset(&child);
    ::sigaddset(&child, SIGCHLD);
    const int signals = ::signalfd(-1, &child, SFD_CLOEXEC);
    const Started started = start_program(program);
    // Without the output, whose reader waits for its end, and without the leashes of other keepers.
    const int kept[] = {leash, report, signals};
    int next = 0;
    for (;;) {
        int nearest = -1;
        for (const int fd : kept)
            if (fd >= next && (nearest == -1 || fd < nearest)) nearest = fd;
        if (nearest == -1) break;
        if (nearest > next) ::close_range(next, nearest - 1, 0);
        next = nearest + 1;
    }
    ::close_range(next, ~0U, 0);
    [[maybe_unused]] auto written = ::write(report, &started, sizeof started);
    ProgramEnd end;
    if (started.error == 0 && wait_for_program(started.program, leash, signals, end))
        written = ::write(report, &end, sizeof end);
    kill_descendants();
    ::_exit(0);
}

std::pair<FileDescriptor, FileDescriptor> make_pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == -1) throw std::system_error(errno, std::generic_category(), "pipe");
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace

Keeper start_kept(const KeptProgram& program) {
    auto [leash_held, leash] = make_pipe();
    auto [report, report_end] = make_pipe();
    Keeper keeper;
    keeper.pid = ::fork();
    if (keeper.pid == -1) throw std::system_error(errno, std::generic_category(), "fork");
    if (keeper.pid == 0) {
        // Its own end of the leash would keep it from noticing that the worker's is closed.
        leash.reset();
        keep(program, leash_held.get(), report_end.get());
    }
    report_end.reset();
    Started started{-1, ECHILD};
    while (::read(report.get(), &started, sizeof started) == -1 && errno == EINTR) {
    }
    if (started.error != 0) {
        leash.reset();
        while (::waitpid(keeper.pid, nullptr, 0) == -1 && errno == EINTR) {
        }
        throw std::system_error(started.error, std::generic_category(),
                                std::string("cannot start the host ") + program.arguments[0]);
    }
    keeper.program = started.program;
    keeper.leash = std::move(leash);
    keeper.report = std::move(report);
    return keeper;
}

}  // namespace corrivane::worker
