// Jobs of the worker's program, from its start to its end: what hosts side by side gain, and what the worker itself
// costs.
#include "support/running_program.h"
#include "support/scene_file.h"
#include "support/temporary_folder.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace corrivane::test;

constexpr const char* frames = "1-48";

struct Job {
    std::chrono::duration<double> real{0};
    double own_cpu = 0;    // seconds, of the worker's process
    double hosts_cpu = 0;  // of all that it started
};

/// Processor time of a process that has ended and was not waited for yet.
void read_processor_time(pid_t process, Job& job) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text(std::istreambuf_iterator<char>(file), {});
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0;
    double system = 0;
    double user_of_children = 0;
    double system_of_children = 0;
    fields >> user >> system >> user_of_children >> system_of_children;
    const auto ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
    job.own_cpu = (user + system) / ticks;
    job.hosts_cpu = (user_of_children + system_of_children) / ticks;
}

/// The process inherits the processors that this one may use.
pid_t start(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int failure = posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw std::runtime_error("cannot start " + command[0]);
    return process;
}

/// Renders all frames into an empty folder.
Job run_job(const std::vector<std::string>& options) {
    const TemporaryFolder folder;
    nlohmann::json scene = small_scene();
    render_settings(scene)["width"] = 320;
    render_settings(scene)["height"] = 240;
    render_settings(scene)["samples"] = 48;
    std::filesystem::create_directory(folder.path() / "c");
    std::vector<std::string> command{built_program("corrivane-worker"),
                                     "render",
                                     save_scene(scene, folder.path()),
                                     "--frames",
                                     frames,
                                     "--drive",
                                     "C=" + (folder / "c")};
    command.insert(command.end(), options.begin(), options.end());
    Job job;
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = start(command);
    siginfo_t end{};
    waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOWAIT);
    job.real = std::chrono::steady_clock::now() - begin;
    read_processor_time(process, job);
    waitpid(process, nullptr, 0);
    if (end.si_code != CLD_EXITED || end.si_status != 0) throw std::runtime_error("the job failed");
    return job;
}

void measure(benchmark::State& state, const std::vector<std::string>& options) {
    for (auto round : state)
        state.SetIterationTime(run_job(options).real.count());
}

void one_host_of_one_thread_on_one_core(benchmark::State& state) {
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    cpu_set_t one;
    CPU_ZERO(&one);
    for (int core = 0; CPU_COUNT(&one) == 0; ++core)
        if (CPU_ISSET(core, &before)) CPU_SET(core, &one);
    sched_setaffinity(0, sizeof one, &one);
    measure(state, {"--hosts", "1", "--threads", "1"});
    sched_setaffinity(0, sizeof before, &before);
}

void two_hosts_of_one_thread(benchmark::State& state) {
    measure(state, {"--hosts", "2", "--threads", "1"});
}

void one_host(benchmark::State& state) {
    measure(state, {"--hosts", "1"});
}

void two_hosts(benchmark::State& state) {
    measure(state, {"--hosts", "2"});
}

/// The last job that was measured, so that both figures are of one.
Job& last_job() {
    static Job job = run_job({"--hosts", "2"});
    return job;
}

void own_processor_time(benchmark::State& state) {
    for (auto round : state)
        state.SetIterationTime(last_job().own_cpu);
}

void hosts_processor_time(benchmark::State& state) {
    for (auto round : state)
        state.SetIterationTime(last_job().hosts_cpu);
}

template <typename Function>
void add(const char* name, Function function) {
    benchmark::RegisterBenchmark(name, function)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
}

}  // namespace

int main(int argument_count, char** arguments) {
    add("worker/one_core", one_host_of_one_thread_on_one_core);
    add("worker/two_hosts_of_one_thread", two_hosts_of_one_thread);
    add("worker/one_host", one_host);
    add("worker/two_hosts", two_hosts);
    add("worker/own_processor_time", own_processor_time);
    add("worker/hosts_processor_time", hosts_processor_time);
    benchmark::Initialize(&argument_count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
